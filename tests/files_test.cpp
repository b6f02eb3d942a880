// SPDX-License-Identifier: BSL-1.0
// Searching in files: which are found, in which order, what is reported of them.

#include <algorithm>
#include <cstring>
#include <fcntl.h>
#include <glob.h>
#include <set>
#include <sys/resource.h>
#include <sys/stat.h>

#include <gtest/gtest.h>

#include "FileTestHelpers.hpp"
#include "TestHelpers.hpp"

namespace RegexClass::test {
namespace {

/// Each test has a directory of its own.
class Files : public testing::Test, protected Scratch {
 protected:
  static void Write(const Texts& names, const std::string& text = "x") {
    for (const std::string& name : names) WriteFile(name, text);
  }
};

RE Walker(const std::string& expression, const std::string& files, bool recursion = false) {
  RE re = Make(expression, "");
  re.SetFilesToMatch(files);
  re.SetDirectoryRecursion(recursion);
  return re;
}

/// What an operation reports, and behind it what it failed on. A file is told as its name, a match
/// in one as name:line:offset:text with further :offset:text for the groups.
Texts Log(RE& re, bool grep) {
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
    log.push_back(file + ':' + std::to_string(line));
    for (const REMatch& m : match) log.back() += ':' + std::to_string(m.position) + ':' + m.text;
  });
  const std::size_t count = grep ? re.GrepFiles() : re.FindFiles();
  EXPECT_EQ(count, log.size());
  const auto* const problems = grep ? re.GetGrepFilesErrors() : re.GetFindFilesErrors();
  if (problems == nullptr) return log;
  static const char* const kKinds[] = {": open: ", ": read: ", ": search: "};
  for (const auto& [file, kind, code] : *problems) {
    log.push_back(file + kKinds[kind] + std::strerror(static_cast<int>(code)));
  }
  return log;
}
Texts Found(RE&& re) { return Log(re, false); }
Texts Grepped(RE&& re) { return Log(re, true); }

TEST_F(Files, HoldWhatGrepFindsInThem) {
  for (const std::string expression : {"[a-z_]{9,}", "\"[^\"\\n]*\"(?=[ ,;)])"}) {
    const std::string command =
        "LC_ALL=C grep -robanP '" + expression + "' /usr/include/c++/*/bits | sort >grepped";
    ASSERT_EQ(std::system(command.c_str()), 0);
    RE re = Make("\n", ReadFile("grepped"));
    Texts expected = Pieces(re);
    std::sort(expected.begin(), expected.end());
    Texts grepped = Grepped(Walker(expression, "/usr/include/c++/*/bits/*", true));
    std::sort(grepped.begin(), grepped.end());
    EXPECT_EQ(grepped, expected);
  }
}

TEST_F(Files, AreSelectedAsGlobSelectsThem) {
  Write({"a", "b", "ab", "aa/a", "aa/.b", "b.a", ".a", ".b/a", "ba/aa/b", "ba/a", "ba/.a/a",
         "bb/ab", "a-/b", "*", "[a]", "ba/a]"});
  for (const std::string& pattern : AllStrings("ab*?./[]", 4)) {
    // glob matches `.` and `..` with the first two, and takes a name with a slash for the file.
    if (pattern.find(".*") != pattern.npos || pattern.find(".?") != pattern.npos) continue;
    if (!pattern.empty() && (pattern.front() == '/' || pattern.back() == '/')) continue;
    glob_t all = {};
    ::glob(pattern.c_str(), GLOB_NOSORT, nullptr, &all);
    std::set<fs::path> expected;  // which are ordered name by name
    std::copy_if(all.gl_pathv, all.gl_pathv + all.gl_pathc, std::inserter(expected, expected.end()),
                 [](const char* name) { return fs::is_regular_file(name); });
    ::globfree(&all);
    EXPECT_EQ(Found(Walker("x", pattern)), Texts(expected.begin(), expected.end())) << pattern;
  }
}

TEST_F(Files, AreReadToTheirEndOrListed) {
  const std::string zeros(1 << 20, '\0');
  const std::string choices = std::string(1 << 20, 'a') + 'c';
  Write({"empty", "3"}, "");
  Write({"zeros"}, zeros);
  Write({"lines"}, "a\nb\r\n\n(x");
  Write({"choices"}, choices);
  Write({"2"}, std::string(60, 'a'));
  fs::resize_file("3", std::uintmax_t{1} << 31);
  Write({"4"}, "xaab last x");
  const std::string online = "/sys/devices/system/cpu/online";  // tells too large a size
  const std::tuple<const char*, std::string, Texts> cases[] = {
      {"x", "empty;lines;zeros", {"lines:4:7:x"}},
      {"", "lines", {}},
      {"^$|\\0{1048576}", "empty;lines;zeros", {"empty:1:0:", "lines:3:5:", "zeros:1:0:" + zeros}},
      {"last|x", "4;lines", {"4:1:0:x", "4:1:5:last", "lines:4:7:x"}},
      {"(a|b|ab)*c", "choices", {"choices:1:0:" + choices + ":1048575:a"}},
      {"(a)|(b)", "lines", {"lines:1:0:a:0:a:-1:", "lines:2:2:b:-1::2:b"}},
      {".+", online, {online + ":1:0:" + ReadFile(online)}},
      {"(?:a+)+b",
       "[23];/proc/self/mem;4",
       {"4:1:1:aab", "2: search: Success", "3: search: File too large",
        "/proc/self/mem: read: Input/output error"}},
      {"(?=ab\\K)", "4", {"4: search: Success"}}};  // ends before it begins
  for (const auto& [expression, files, log] : cases) {
    EXPECT_EQ(Grepped(Walker(expression, files)), log);
  }
  // Tells the size 0.
  EXPECT_EQ(Found(Walker(".{99999}", "/proc/kallsyms")).empty(),
            ReadFile("/proc/kallsyms").size() < 99999);

  RE re = Walker("(?:a+)+b", "4;2;3");
  re.SetContinueFiles(false);
  EXPECT_EQ(Log(re, false), (Texts{"4", "2: search: Success"}));
  EXPECT_EQ(re.GetGrepFilesErrors(), nullptr);
  EXPECT_EQ(Log(re, true), (Texts{"4:1:1:aab", "2: search: Success"}));
  EXPECT_EQ(RE(re).GetGrepFilesErrors(), nullptr);  // a copy has none
  re.SetFilesToMatch("");
  EXPECT_EQ(Log(re, false), Texts());
  EXPECT_NE(re.GetGrepFilesErrors(), nullptr);
  EXPECT_EQ(Log(re, true), Texts());
}

TEST_F(Files, LieAtAnyDepth) {
  constexpr int kLevels = 3000;
  int here = ::open(".", O_RDONLY);
  for (int level = 0; level < kLevels; ++level) {  // beside each directory below there is a file
    for (const char* const name : {"b", "c", "a"}) ASSERT_EQ(0, ::mkdirat(here, name, 0700));
    for (const char* const name : {"c", "a"}) {
      const int below = ::openat(here, name, O_RDONLY);
      if (*name == 'c') ::close(::openat(below, "x", O_CREAT, 0600));
      if (*name == 'a') ::dup2(below, here);
      ::close(below);
    }
  }
  ::close(here);
  EXPECT_EQ(std::to_string(kLevels) + " c/x", InChild([] {
              const rlimit few = {64, 64};
              ::setrlimit(RLIMIT_NOFILE, &few);
              const Texts log = Found(Walker("$", "*/x;x", true));
              return std::to_string(log.size()) + ' ' + log.back();
            }));
  EXPECT_EQ(0, std::system("rm -r a"));
}

TEST_F(Files, WithoutPermissionAreListed) {
  Write({"closed", "d/open", "d/secret", "d/listed/f", "d/shut/f", "last/f", "passable/f"});
  fs::create_symlink("f", "d/listed/l");
  ASSERT_EQ(std::system("chmod 0 closed d/s*; chmod 444 d/listed; chmod 111 passable"), 0);
  const std::string log = InChild([] {
    if (::geteuid() == 0 && (::setgid(65534) != 0 || ::setuid(65534) != 0)) return std::string();
    std::string text;
    for (const bool goOn : {true, false}) {
      RE re = Walker("x", "d/shut/*;*;closed", true);
      re.SetContinueFiles(goOn);
      for (const std::string& line : Log(re, false))
        text += line.substr(0, line.rfind("Permission denied")) + '\n';
    }
    return text;
  });
  EXPECT_EQ(log,
            "d/open\nlast/f\nd/shut: open: \nclosed: open: \nd/secret: open: \n"
            "d/listed/f: open: \nd/listed/l: open: \npassable: open: \nd/shut: open: \n");
  EXPECT_EQ(std::system("chmod -R u+rwx ."), 0);
}

TEST_F(Files, AreSearchedUnderTheSettingsThatCount) {
  Write({"f"}, "Ab\nab,\xe4");
  const std::tuple<const char*, RE::Options, RE::Matches, unsigned int> cases[] = {
      {"ab", RE::Icase, RE::MatchDefault, 2},
      {"(?i:ab)", RE::Literal, RE::MatchDefault, 2},
      {"(?i:ab)", RE::ExtendedSyntax, RE::MatchDefault, 2},  // under which it is no good
      {"(ab", RE::BasicSyntax, RE::MatchDefault, 0},
      {"b.a", RE::NormalSyntax, RE::MatchNotDotNewline, 0},
      {"zz|\xe4z", RE::NormalSyntax, RE::MatchPartial, 0}};
  for (const auto& [expression, option, match, count] : cases) {
    RE re = Walker(expression, "f");
    re.AddExpressionOption(option);
    re.AddMatchOption(match);
    EXPECT_EQ(re.GrepFiles(), count) << expression;
    EXPECT_EQ(re.GetExpressionError().empty(), option != RE::ExtendedSyntax) << expression;
    EXPECT_EQ(re.FindFiles(), count > 0 ? 1U : 0U) << expression;
  }
}

TEST_F(Files, CanBeWalkedFromWithinAWalk) {
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
