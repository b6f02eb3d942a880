// SPDX-License-Identifier: BSL-1.0
// Searching in files: which are found, in which order, what is reported of them.

#include <algorithm>

#include <gtest/gtest.h>

#include "OperationTestHelpers.hpp"

namespace RegexClass::test {
namespace {

/// Each test has a directory of its own.
class FilesTest : public testing::Test, protected Scratch {
 protected:
  static void Write(const Texts& names, const std::string& text = "x") {
    for (const std::string& name : names) WriteFile(name, text);
  }
};

TEST_F(FilesTest, AreReadToTheirEndOrListed) {
  const std::string zeros(1 << 20, '\0');
  const std::string choices = std::string(1 << 20, 'a') + 'c';
  Write({"empty", "3"}, "");
  Write({"zeros"}, zeros);
  Write({"lines"}, "a\nb\r\n\n(x");
  Write({"choices"}, choices);
  Write({"2"}, std::string(60, 'a'));
  fs::resize_file("3", std::uintmax_t{1} << 31);
  Write({"4"}, "xaab last x");
  const std::tuple<const char*, std::string, Texts> cases[] = {
      {"x", "empty;lines;zeros", {"lines:4:7:x"}},
      {"", "lines", {}},
      {"^$|\\0{1048576}", "empty;lines;zeros", {"empty:1:0:", "lines:3:5:", "zeros:1:0:" + zeros}},
      {"last|x", "4;lines", {"4:1:0:x", "4:1:5:last", "lines:4:7:x"}},
      {"(a|b|ab)*c", "choices", {"choices:1:0:" + choices + ":1048575:a"}},
      {"(a)|(b)", "lines", {"lines:1:0:a:0:a:-1:", "lines:2:2:b:-1::2:b"}},
      {"(?:a+)+(?=b)b",
       "[23];4",
       {"4:1:1:aab", "2: search: 0", "3: search: " + std::to_string(kTooLarge)}},
      {"(?=ab\\K)", "4", {"4: search: 0"}}};  // ends before it begins
  for (const auto& [expression, files, log] : cases) {
    EXPECT_EQ(Grepped(Walker(expression, files)), log);
  }

  RE re = Walker("(?:a+)+(?=b)b", "4;2;3");
  re.SetContinueFiles(false);
  EXPECT_EQ(Log(re, false), (Texts{"4", "2: search: 0"}));
  EXPECT_EQ(re.GetGrepFilesErrors(), nullptr);
  EXPECT_EQ(Log(re, true), (Texts{"4:1:1:aab", "2: search: 0"}));
  EXPECT_EQ(RE(re).GetGrepFilesErrors(), nullptr);  // a copy has none
  RE limited = Walker("(a+)\\1b", "2");
  EXPECT_EQ(Log(limited, true), Texts());
  limited.SetStepLimit(30);
  EXPECT_EQ(Log(limited, true), Texts{"2: search: 0"});
  re.SetFilesToMatch("");
  EXPECT_EQ(Log(re, false), Texts());
  EXPECT_NE(re.GetGrepFilesErrors(), nullptr);
  EXPECT_EQ(Log(re, true), Texts());
}

TEST_F(FilesTest, AreSearchedUnderTheSettingsThatCount) {
  Write({"f"}, "Ab\nab,\xe4");
  const std::tuple<const char*, RE::Options, RE::Matches, unsigned int> cases[] = {
      {"ab", RE::Icase, RE::MatchDefault, 2},
      {"ab", RE::NormalSyntax, RE::MatchDefault, 1},
      {"(?i:ab)", RE::Literal, RE::MatchDefault, 2},
      {"(?i:ab)", RE::ExtendedSyntax, RE::MatchDefault, 2},  // under which it is no good
      {"(ab", RE::BasicSyntax, RE::MatchDefault, 0},
      {"b.a", RE::NormalSyntax, RE::MatchNotDotNewline, 0},
      {"zz|\xe4z", RE::NormalSyntax, RE::MatchPartial, 0}};
  RE re;  // lasts, with what it has compiled
  for (const auto& [expression, option, match, count] : cases) {
    const RE fresh = Walker(expression, "f");
    re = fresh;
    re.AddExpressionOption(option);
    re.AddMatchOption(match);
    EXPECT_EQ(re.GrepFiles(), count) << expression;
    EXPECT_EQ(re.GetExpressionError().empty(), option != RE::ExtendedSyntax) << expression;
    EXPECT_EQ(re.FindFiles(), count > 0 ? 1U : 0U) << expression;
  }
}

TEST_F(FilesTest, AreTakenAsTheSubscriberWants) {
  Write({"a", "b.x", "d.x/a", "d.x/e/b.x", "f/g/a"});
  const std::tuple<const char*, bool, Texts, Texts, std::size_t> cases[] = {
      {"a;*/?", false, {}, {"a", "d.x/a"}, 5},
      {"*", true, {"d.x/e", "f"}, {"a", "b.x", "d.x/a"}, 6},
      {"*.x", false, {"a", "d.x", "d.x/e"}, {"a", "b.x", "d.x/e/b.x"}, 7},
      {"*/*/a", false, {"d.x", "f/g"}, {}, 3}};
  for (const auto& [pattern, recursion, changed, found, count] : cases) {
    RE re = Walker("x", pattern, recursion);
    Texts asked;
    re.SetOnSelectingFilesClosure(
        [&, &flipped = changed](RE*, const std::string& name, RE::EntryKinds kind, bool& take) {
          asked.push_back(fs::path(name).generic_string());
          EXPECT_EQ(kind, fs::is_directory(name) ? RE::DirectoryEntry : RE::FileEntry);
          take ^= std::count(flipped.begin(), flipped.end(), asked.back()) != 0;
        });
    Texts files = Found(std::move(re));
    for (std::string& file : files) file = fs::path(file).generic_string();
    EXPECT_EQ(found, files) << pattern;
    EXPECT_EQ(asked.size(), count) << pattern << testing::PrintToString(asked);
  }
}

TEST_F(FilesTest, CanBeWalkedFromWithinAWalk) {
  Write({"a", "b"}, "xyx");
  RE thrower = Walker("y", "?");
  thrower.SetOnFindFilesClosure([](auto, auto, auto&) { throw std::runtime_error("away"); });
  RE outer = Walker("x", "a;b");
  Texts trace;
  outer.SetOnGreppingFilesClosure([&](RE* object, auto file, auto& match, auto, auto&) {
    EXPECT_EQ(object, &outer);
    trace.push_back(file + std::to_string(match[0].position));
    EXPECT_EQ(Found(Walker("y", "?")), (Texts{"a", "b"}));
    EXPECT_THROW(thrower.FindFiles(), std::runtime_error);
    // A walk on the object itself, which finds nothing, then settings that count for later.
    outer.SetExpression("[");
    EXPECT_EQ(outer.GrepFiles(), 0U);
    outer.SetFilesToMatch("none, at such length that the old text's memory is gone");
    outer.SetLocaleModel(RE::CLocale);
    if (trace.size() == 4) throw std::runtime_error("away");
  });
  EXPECT_THROW(outer.GrepFiles(), std::runtime_error);
  EXPECT_EQ(trace, (Texts{"a0", "a2", "b0", "b2"}));
  EXPECT_EQ(Found(Walker("y", "?")), (Texts{"a", "b"}));
}

}  // namespace
}  // namespace RegexClass::test
