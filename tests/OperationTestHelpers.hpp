// SPDX-License-Identifier: BSL-1.0
// Operations on files, and what comes of them as text.
#ifndef REGEXCLASS_TESTS_OPERATIONTESTHELPERS_HPP
#define REGEXCLASS_TESTS_OPERATIONTESTHELPERS_HPP

#include <map>
#include <string>
#include <utility>
#include <vector>

#include <gtest/gtest.h>

#include "FileTestHelpers.hpp"
#include "TestHelpers.hpp"

namespace RegexClass::test {

using Files = std::map<std::string, std::string>;
using Problem = RE::FileChangeProblem;

inline RE Walker(const std::string& expression, const std::string& files, bool recursion = false) {
  RE re = Make(expression, "");
  re.SetFilesToMatch(files);
  re.SetDirectoryRecursion(recursion);
  return re;
}

/// What an operation reports, and behind it what it failed on. A file is told as its name, a match
/// in one as name:line:offset:text with further :offset:text for the groups.
inline Texts Log(RE& re, bool grep) {
  Texts log;
  re.SetOnFindFilesClosure([&](RE* object, const std::string& file, bool& more) {
    EXPECT_EQ(object, &re);
    EXPECT_TRUE(std::exchange(more, false));  // asks for no more of this file, and there are none
    log.push_back(file);
  });
  re.SetOnGreppingFilesClosure([&](RE* object, const std::string& file,
                                   const std::vector<REMatch>& match, unsigned int line,
                                   bool& more) {
    EXPECT_EQ(object, &re);
    EXPECT_TRUE(std::exchange(more, match[0].text != "last"));
    const auto begin = static_cast<std::size_t>(match[0].position);
    EXPECT_EQ(object->GetFileContent().substr(begin, match[0].text.size()), match[0].text);
    log.push_back(file + ':' + std::to_string(line));
    for (const REMatch& m : match) log.back() += ':' + std::to_string(m.position) + ':' + m.text;
  });
  const std::size_t count = grep ? re.GrepFiles() : re.FindFiles();
  EXPECT_EQ(count, log.size());
  EXPECT_EQ(re.GetFileContent(), "");
  const auto* const problems = grep ? re.GetGrepFilesErrors() : re.GetFindFilesErrors();
  if (problems == nullptr) return log;
  static const char* const kKinds[] = {": open: ", ": read: ", ": search: "};
  for (const auto& [file, kind, code] : *problems) {
    log.push_back(file + kKinds[kind] + std::to_string(code));
  }
  return log;
}
inline Texts Found(RE&& re) { return Log(re, false); }
inline Texts Grepped(RE&& re) { return Log(re, true); }

/// An object that changes the files of a directory, which is the current one. Temporary files go
/// into one of their own.
struct Changer : Scratch {
  RE re;

  Changer(const std::string& expression, const std::string& format, const Files& files) {
    re.SetExpression(expression);
    re.SetFormatString(format);
    re.SetFilesToMatch("*");
    for (const auto& [name, text] : files) WriteFile(name, text);
    fs::create_directory("../tmp");
    fs::permissions("../tmp", fs::perms(0777));
    SetVariable(kVariable, path + "/tmp");
  }
  ~Changer() { SetVariable(kVariable, before); }

  std::vector<Problem> Problems() const {
    const auto* const problems = re.GetChangeFilesErrors();
    return problems != nullptr ? *problems : std::vector<Problem>();
  }

  static constexpr const char* kVariable = kIsPosix ? "TMPDIR" : "TMP";
  const std::string before = std::getenv(kVariable) != nullptr ? std::getenv(kVariable) : "";
};

/// Of a temporary file's name only what isn't random.
inline std::string Line(const Problem& p) {
  const std::string temporary = std::getenv(Changer::kVariable) + std::string("/Regex");
  return (p.file.rfind(temporary, 0) == 0 ? "temporary" : p.file) + " kind " +
         std::to_string(p.kind) + " at " + std::to_string(p.position) + ' ' + p.text + " error " +
         std::to_string(p.lastError);
}

}  // namespace RegexClass::test

#endif  // REGEXCLASS_TESTS_OPERATIONTESTHELPERS_HPP
