// SPDX-License-Identifier: BSL-1.0
// What the test of unloading loads: a module that brings the library with it.

#include <memory>
#include <mutex>

#include "RegularExpression.hpp"

namespace {
// Stays when a thread or the module ends, so that the thread's record is there still.
std::unique_ptr<RegexClass::RegularExpression> lasting;
std::mutex mutex;
}  // namespace

/// Searches `files`, and returns the number of matches. The object lasts until the next call if
/// asked to.
extern "C" [[gnu::visibility("default")]] unsigned SearchFiles(const char* files, bool last) {
  auto re = std::make_unique<RegexClass::RegularExpression>();
  re->SetExpression("(a|b|ab)*c");
  re->SetLocaleDll("./texts.cat");  // for which a thread has a record
  re->SetFilesToMatch(files);
  const unsigned matches = re->GrepFiles();
  const std::lock_guard lock(mutex);
  lasting = last ? std::move(re) : nullptr;
  return matches;
}
