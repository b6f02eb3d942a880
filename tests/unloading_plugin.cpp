// What the test of unloading loads: a module that brings the library with it.

#include <cstdlib>
#include <memory>
#include <stdexcept>
#include <string>

#include "RegularExpression.hpp"

namespace {
// Stays when a thread or the module ends, so that the thread's record is there still.
std::unique_ptr<RegexClass::RegularExpression> lasting;
}  // namespace

/// Searches `files`, and gives the number of matches as seen by a notification; -1 when the
/// notification's exception didn't come through. The object lasts if asked to.
extern "C" __attribute__((visibility("default"))) int SearchFiles(const char* files, bool last) {
  auto re = std::make_unique<RegexClass::RegularExpression>();
  re->SetExpression("(a|b|ab)*c");
  re->SetFilesToMatch(files);
  int matches = 0;
  re->SetOnGreppingFilesClosure([&](RegexClass::RegularExpression*, const std::string&,
                                    const std::vector<RegexClass::REMatch>&, unsigned int,
                                    bool&) { ++matches; });
  re->GrepFiles();
  re->SetOnFindFilesClosure([](RegexClass::RegularExpression*, const std::string&, bool&) {
    throw std::runtime_error("from a notification");
  });
  try {
    re->FindFiles();
    return -1;
  } catch (const std::runtime_error&) {
  }
  if (last) lasting = std::move(re);
  return matches;
}
