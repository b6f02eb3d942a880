// The tests run on real files: a tree made for the test, and what every machine with a compiler
// has under /usr/include.

#include <algorithm>
#include <atomic>
#include <cerrno>
#include <clocale>
#include <cstdio>
#include <cstdlib>
#include <filesystem>
#include <fstream>
#include <functional>
#include <glob.h>
#include <map>
#include <stdexcept>
#include <sys/stat.h>
#include <thread>
#include <unistd.h>

#include <gtest/gtest.h>

#include "TestHelpers.hpp"

namespace RegexClass::test {
namespace {

namespace fs = std::filesystem;
using Names = std::vector<std::string>;

/// A directory for one test, which is the current one meanwhile; beside it there is nothing.
class Files : public ::testing::Test {
 public:
  Files() {
    std::string name = (fs::temp_directory_path() / "files-XXXXXX").string();
    if (::mkdtemp(name.data()) == nullptr) throw std::runtime_error("mkdtemp");
    tree_ = name;
    fs::permissions(tree_, fs::perms(0755));
    fs::create_directory(tree_ / "here");
    fs::current_path(tree_ / "here");
  }
  ~Files() override {
    fs::current_path("/");
    fs::remove_all(tree_);
  }

 protected:
  static void Write(const std::string& name, const std::string& text = "x") {
    if (name.find('/') != std::string::npos) fs::create_directories(fs::path(name).parent_path());
    std::ofstream(name, std::ios::binary) << text;
  }

  fs::path tree_;
};

RE Walker(const std::string& expression, const std::string& files, bool recursion = false) {
  RE re;
  re.SetExpression(expression);
  re.SetFilesToMatch(files);
  re.SetDirectoryRecursion(recursion);
  return re;
}

/// Runs FindFiles, and gives the names that it reports.
Names Found(RE& re) {
  Names names;
  re.SetOnFindFilesClosure([&](RE* object, const std::string& file, bool& more) {
    EXPECT_EQ(object, &re);
    EXPECT_TRUE(more);
    names.push_back(file);
    more = false;  // asks for no more of this file, and there are none
  });
  const unsigned int count = re.FindFiles();
  EXPECT_EQ(count, names.size());
  return names;
}

/// One match in a file.
struct Hit {
  unsigned int line;
  int position;
  std::string text;
  bool operator==(const Hit& other) const {
    return std::tie(line, position, text) == std::tie(other.line, other.position, other.text);
  }
};
std::ostream& operator<<(std::ostream& out, const Hit& hit) {
  return out << hit.line << ':' << hit.position << ':' << hit.text;
}
using Hits = std::map<std::string, std::vector<Hit>>;

/// Runs GrepFiles, and gives what it reports.
Hits Grepped(RE& re) {
  Hits hits;
  unsigned int count = 0;
  re.SetOnGreppingFilesClosure([&](RE* object, const std::string& file,
                                   const std::vector<REMatch>& match, unsigned int line, bool&) {
    EXPECT_EQ(object, &re);
    hits[file].push_back({line, match[0].position, match[0].text});
    ++count;
  });
  const unsigned int result = re.GrepFiles();
  EXPECT_EQ(result, count);
  return hits;
}

using Problem = std::tuple<std::string, int, unsigned int>;
std::vector<Problem> Problems(const std::vector<RE::FileSearchProblem>* list) {
  std::vector<Problem> problems;
  if (list == nullptr) return problems;
  EXPECT_FALSE(list->empty());
  for (const auto& problem : *list) {
    problems.emplace_back(problem.file, problem.kind, problem.code);
  }
  return problems;
}

/// What GNU grep prints for the same search: name, zero, line:offset:match, line feed.
Hits GnuGrep(const std::string& options, const std::string& expression, const std::string& files) {
  const std::string command =
      "LC_ALL=C grep -robanPZ " + options + " -e '" + expression + "' " + files + "; [ $? -lt 2 ]";
  std::unique_ptr<std::FILE, int (*)(std::FILE*)> pipe(::popen(command.c_str(), "r"), &::pclose);
  std::string out;
  char block[65536];
  while (const std::size_t count = std::fread(block, 1, sizeof block, pipe.get())) {
    out.append(block, count);
  }
  EXPECT_EQ(::pclose(pipe.release()), 0) << command;
  Hits hits;
  for (std::size_t at = 0; at < out.size();) {
    const std::string file = out.c_str() + at;
    const std::size_t line = at + file.size() + 1;
    const std::size_t offset = out.find(':', line) + 1;
    const std::size_t text = out.find(':', offset) + 1;
    at = out.find('\n', text) + 1;
    hits[file].push_back({static_cast<unsigned int>(std::strtoul(&out[line], nullptr, 10)),
                          static_cast<int>(std::strtol(&out[offset], nullptr, 10)),
                          out.substr(text, at - 1 - text)});
  }
  return hits;
}

TEST(FilesOfThisMachine, HoldWhatGrepFindsInThem) {
  struct {
    const char* expression;
    bool icase;
  } const searches[] = {
      {"[a-z_]{9,}", false},
      {"std::\\w+", false},
      {"template[ \\t]*<[^<>\\n]*>", true},
      {"\"[^\"\\n]*\"(?=[ ,;)])", false},
      {"0x[0-9a-f]+(?:ul|l|u)?", true},
      {"\\xe2[\\x80-\\xff]+", false},
  };
  const std::string trees = "/usr/include/c++ /usr/include/linux";
  for (const auto& search : searches) {
    const Hits expected = GnuGrep(search.icase ? "-i" : "", search.expression, trees);
    ASSERT_FALSE(expected.empty()) << search.expression;
    if (&search == searches) {
      ASSERT_GT(expected.size(), 1000U);
    }

    RE re = Walker(search.expression, "/usr/include/c++/*;/usr/include/linux/*", true);
    if (search.icase) re.AddExpressionOption(RE::Icase);
    const Hits hits = Grepped(re);
    EXPECT_EQ(re.GetGrepFilesErrors(), nullptr);
    // Not compared whole, since a difference would be printed whole.
    ASSERT_EQ(hits.size(), expected.size()) << search.expression;
    for (const auto& [file, list] : expected) {
      const auto found = hits.find(file);
      ASSERT_NE(found, hits.end()) << file;
      ASSERT_EQ(found->second, list) << search.expression << " in " << file;
    }
    Names names = Found(re);
    std::sort(names.begin(), names.end());
    EXPECT_TRUE(std::equal(names.begin(), names.end(), expected.begin(), expected.end(),
                           [](const auto& name, const auto& hit) { return name == hit.first; }));
  }
}

TEST_F(Files, AreSelectedAsGlobSelectsThem) {
  for (const char* const name : {"a", "b", "ab", "aa/a", "aa/.b", "b.a", ".a", ".b/a", "ba/aa/b",
                                 "ba/a", "ba/.a/a", "bb/ab", "a-/b", "*", "[a]", "ba/a]"}) {
    Write(name);
  }
  fs::create_directory_symlink("ba", "l");
  std::size_t selected = 0;
  for (const std::string& pattern : AllStrings("ab*?./[]", 4)) {
    // glob matches `.` and `..` with the first two, and takes a name with a slash for the file.
    if (pattern.find(".*") != pattern.npos || pattern.find(".?") != pattern.npos) continue;
    if (!pattern.empty() && (pattern.front() == '/' || pattern.back() == '/')) continue;
    glob_t all = {};
    ::glob(pattern.c_str(), GLOB_NOSORT, nullptr, &all);
    std::vector<fs::path> expected;  // which are ordered name by name
    std::set<fs::path> seen;
    for (std::size_t i = 0; i < all.gl_pathc; ++i) {
      const fs::path path = all.gl_pathv[i];
      if (fs::is_regular_file(path) && seen.insert(fs::canonical(path)).second) {
        expected.push_back(path);
      }
    }
    ::globfree(&all);
    std::sort(expected.begin(), expected.end());
    RE re = Walker("x", pattern);
    const Names names = Found(re);
    EXPECT_EQ(names, Names(expected.begin(), expected.end())) << pattern;
    EXPECT_EQ(re.GetFindFilesErrors(), nullptr) << pattern;
    selected += names.size();
  }
  EXPECT_GT(selected, 500U);
}

TEST_F(Files, ComeInOrderAndOnce) {
  for (const char* const name : {"b", "a/z", "a/b/c", "a/b/.h", "a-/z", ".d/c", "B", "a b", "a\nb",
                                 "\xff\xfe", "s;t", "a/b/q/c"}) {
    Write(name);
  }
  fs::create_symlink("b", "to-b");
  fs::create_hard_link("a/z", "hard");
  fs::create_directory_symlink("..", "a/up");
  fs::create_symlink("nowhere", "dangling");
  fs::create_symlink("loop", "loop");
  ASSERT_EQ(::mkfifo("pipe", 0600), 0);

  const Names top = {"B", "a\nb", "a b", "b", "hard", "s;t", "\xff\xfe"};
  Names all = top;
  all.insert(all.end(), {".d/c", "a/b/c", "a/b/q/c", "a-/z"});
  all.insert(std::find(all.begin(), all.end(), "a/b/c"), "a/z");
  struct {
    const char* pattern;
    bool recursion;
    Names names;
  } const cases[] = {
      {"*", false, top},
      {"*", true, all},
      {"./*b", true, {"./a\nb", "./a b", "./b"}},
      {"c", true, {".d/c", "a/b/c", "a/b/q/c"}},
      {"*/c", true, {"a/b/c", "a/b/q/c"}},
      {"a/up/b", false, {"a/up/b"}},
      {";b;;a/../b;to-b;B;?", false, {"b", "B"}},
      {"to-b;b", false, {"to-b"}},
      {"s\\;?", false, {"s;t"}},
      {"a\\ b", false, {"a b"}},
      {".*", true, {"a/b/.h"}},
      {"pipe;dangling;loop;loop/x;nowhere/x;b/x;a;a/;/dev/null;/dev/zero", false, {}},
  };
  for (const char* const locale : {"C", "C.UTF-8"}) {
    ASSERT_NE(std::setlocale(LC_CTYPE, locale), nullptr);
    for (const auto& c : cases) {
      RE re = Walker("x", c.pattern, c.recursion);
      EXPECT_EQ(Found(re), c.names) << c.pattern << " under " << locale;
      EXPECT_EQ(re.GetFindFilesErrors(), nullptr) << c.pattern;
    }
  }
  std::setlocale(LC_CTYPE, "C");
}

TEST_F(Files, AreReadToTheirEndWhateverTheyHold) {
  Write("empty", "");
  Write("zeros", std::string(1 << 20, '\0'));
  Write("line", std::string(50 << 20, '-') + "x");
  Write("lines", "a\nb\r\n\n(x");
  const Hits expected = {{"line", {{1, 50 << 20, "x"}}}, {"lines", {{4, 7, "x"}}}};
  RE re = Walker("x", "*");
  EXPECT_EQ(Grepped(re), expected);
  re.SetFilesToMatch("[!l]*;lines");
  re.SetExpression("^$|\\0{1048576}");
  EXPECT_EQ(Grepped(re), (Hits{{"empty", {{1, 0, ""}}},
                               {"lines", {{3, 5, ""}}},
                               {"zeros", {{1, 0, std::string(1 << 20, '\0')}}}}));

  RE proc = Walker("^Pid:\\t(\\d+)$", "/proc/self/status");
  std::string pid;
  proc.SetOnGreppingFilesClosure([&](RE*, const std::string&, const std::vector<REMatch>& match,
                                     unsigned int, bool&) { pid = match.at(1).text; });
  EXPECT_EQ(proc.GrepFiles(), 1U);
  EXPECT_EQ(pid, std::to_string(::getpid()));
}

TEST_F(Files, MayChangeWhileTheyAreRead) {
  Write("f");
  std::atomic<bool> done = false;
  std::thread writer([&] {
    for (std::uintmax_t size = 1; !done; size = size * 7919 % 400009) fs::resize_file("f", size);
  });
  RE re = Walker("x|\\0{1000}", "f");
  for (int i = 0; i < 200; ++i) {
    int end = 0;
    const Hits hits = Grepped(re);
    for (const Hit& hit : hits.count("f") != 0 ? hits.at("f") : std::vector<Hit>()) {
      ASSERT_GE(hit.position, end);
      end = hit.position + static_cast<int>(hit.text.size());
    }
    EXPECT_EQ(re.GetGrepFilesErrors(), nullptr);
  }
  done = true;
  writer.join();
}

/// Checks as a user who may not do everything; true when all is well.
bool CheckPermissions() {
  if (::geteuid() == 0 && (::setgid(65534) != 0 || ::setuid(65534) != 0)) return false;
  RE re = Walker("x", "*;dir/shut/*;closed", true);
  EXPECT_EQ(Found(re), (Names{"dir/open", "last/f"}));
  std::vector<Problem> problems;
  for (const char* const name :
       {"closed", "dir/secret", "dir/listed/f", "dir/listed/l", "dir/shut", "passable"}) {
    problems.emplace_back(name, RE::FileNotOpened, EACCES);
  }
  EXPECT_EQ(Problems(re.GetFindFilesErrors()), problems);

  re.SetContinueFiles(false);
  EXPECT_EQ(Found(re), Names());
  problems.resize(1);
  EXPECT_EQ(Problems(re.GetFindFilesErrors()), problems);

  re.SetFilesToMatch("passable/f");  // needs no reading of the directory
  re.SetDirectoryRecursion(false);
  EXPECT_EQ(Found(re), Names{"passable/f"});
  return !::testing::Test::HasFailure();
}

TEST_F(Files, WithoutPermissionAreListed) {
  for (const char* const name :
       {"closed", "dir/open", "dir/secret", "dir/listed/f", "dir/shut/f", "last/f", "passable/f"}) {
    Write(name);
  }
  fs::create_symlink("f", "dir/listed/l");
  for (const char* const name : {"closed", "dir/secret", "dir/shut"}) {
    fs::permissions(name, fs::perms::none);
  }
  fs::permissions("dir/listed", fs::perms(0444));
  fs::permissions("passable", fs::perms(0111));
  EXPECT_EXIT(std::_Exit(CheckPermissions() ? 0 : 1), ::testing::ExitedWithCode(0), "");
  for (const char* const name : {"dir/shut", "dir/listed", "passable"}) {
    fs::permissions(name, fs::perms::owner_all);
  }
}

TEST_F(Files, ThatCannotBeSearchedAreListed) {
  Write("1", "ab");
  Write("2", std::string(60, 'a'));
  Write("3");
  fs::resize_file("3", std::uintmax_t{1} << 31);
  Write("4", "xaab");
  const std::vector<Problem> problems = {{"2", RE::FileNotSearched, 0},
                                         {"3", RE::FileNotSearched, EFBIG},
                                         {"/proc/self/mem", RE::FileNotRead, EIO}};
  for (const bool goOn : {true, false}) {
    RE re = Walker("(?:a+)+b", "?;/proc/self/mem;4");
    re.SetContinueFiles(goOn);
    const Hits all = {{"1", {{1, 0, "ab"}}}, {"4", {{1, 1, "aab"}}}};
    EXPECT_EQ(Grepped(re), goOn ? all : Hits{*all.begin()});
    const std::vector<Problem> expected(problems.begin(),
                                        goOn ? problems.end() : problems.begin() + 1);
    EXPECT_EQ(Problems(re.GetGrepFilesErrors()), expected);
    EXPECT_EQ(re.GetFindFilesErrors(), nullptr);
    EXPECT_EQ(Found(re), goOn ? (Names{"1", "4"}) : Names{"1"});
    EXPECT_EQ(Problems(re.GetFindFilesErrors()), expected);

    EXPECT_EQ(RE(re).GetGrepFilesErrors(), nullptr);  // a copy has none
    re.SetFilesToMatch("");
    EXPECT_EQ(re.GrepFiles(), 0U);
    EXPECT_EQ(re.GetGrepFilesErrors(), nullptr);
    EXPECT_EQ(Problems(re.GetFindFilesErrors()), expected);
  }
  RE re = Walker("(?=ab\\K)", "1");  // a match that ends before it begins
  EXPECT_EQ(re.GrepFiles(), 0U);
  EXPECT_EQ(Problems(re.GetGrepFilesErrors()),
            (std::vector<Problem>{{"1", RE::FileNotSearched, 0}}));
}

TEST_F(Files, MayLeaveTheEngineManyChoices) {
  std::string text;
  while (text.size() < 1 << 20) text += "ab";
  Write("f", text + 'c');
  RE re = Walker("(a|b|ab)*c", "f");
  EXPECT_EQ(Grepped(re), (Hits{{"f", {{1, 0, text + 'c'}}}}));
}

TEST_F(Files, AreSearchedUnderTheSettingsThatCount) {
  Write("f", "Ab\nab,\xe4");
  using Set = void (*)(RE&);
  struct {
    const char* expression;
    Set set;
    unsigned int count;
  } const cases[] = {
      {"ab", [](RE&) {}, 1},
      {"ab", [](RE& re) { re.AddExpressionOption(RE::Icase); }, 2},
      {"(?i:ab)", [](RE& re) { re.AddExpressionOption(RE::Literal); }, 2},
      {"\\(ab\\)", [](RE& re) { re.AddExpressionOption(RE::BasicSyntax); }, 0},
      {"(ab", [](RE& re) { re.AddExpressionOption(RE::BasicSyntax); }, 0},
      {"b.a", [](RE&) {}, 1},
      {"b.a", [](RE& re) { re.AddMatchOption(RE::MatchNotDotNewline); }, 0},
      {"^a", [](RE& re) { re.AddMatchOption(RE::MatchNotBol); }, 1},
      {"^A", [](RE& re) { re.AddMatchOption(RE::MatchNotBol); }, 0},
      {"zz", [](RE& re) { re.AddMatchOption(RE::MatchPartial); }, 0},
      {"\xe4z", [](RE& re) { re.AddMatchOption(RE::MatchPartial); }, 0},
      {"x*", [](RE& re) { re.AddMatchOption(RE::MatchNotNull); }, 0},
      {"\\w", [](RE& re) { re.SetLocaleModel(RE::W32Locale); }, 4},
      {"\\w", [](RE& re) { re.SetLocaleModel(RE::CLocale); }, 4},
      {"", [](RE&) {}, 0},
  };
  for (const auto& c : cases) {
    RE re = Walker(c.expression, "f");
    c.set(re);
    EXPECT_EQ(re.GrepFiles(), c.count) << c.expression;
    EXPECT_EQ(re.FindFiles(), c.count > 0 ? 1U : 0U) << c.expression;
  }
  RE re = Walker("(?i:ab)", "f");
  re.AddExpressionOption(RE::ExtendedSyntax);  // under which the expression is no good
  EXPECT_EQ(re.GrepFiles(), 2U);
  EXPECT_NE(re.GetExpressionError(), "");
}

TEST_F(Files, ReportTheMarksAndStopWhenTold) {
  Write("f", "-b\na");
  Write("g", "b");
  RE re = Walker("(a)|(b)", "*");
  std::vector<std::tuple<std::string, std::vector<REMatch>, unsigned int>> reports;
  bool stop = false;
  re.SetOnGreppingFilesClosure([&](RE*, const std::string& file, const std::vector<REMatch>& match,
                                   unsigned int line, bool& more) {
    EXPECT_TRUE(more);
    reports.emplace_back(file, match, line);
    more = !stop;
  });
  const REMatch none;
  EXPECT_EQ(re.GrepFiles(), 3U);
  const decltype(reports) all = {{"f", {{"b", 1}, none, {"b", 1}}, 1},
                                 {"f", {{"a", 3}, {"a", 3}, none}, 2},
                                 {"g", {{"b", 0}, none, {"b", 0}}, 1}};
  EXPECT_EQ(reports, all);
  reports.clear();
  stop = true;
  EXPECT_EQ(re.GrepFiles(), 2U);
  EXPECT_EQ(reports, (decltype(reports){all[0], all[2]}));
}

TEST_F(Files, CanBeWalkedFromWithinAWalk) {
  for (const char* const name : {"a", "b", "c"}) Write(name, "xyx");
  RE inner = Walker("y", "?");
  RE outer = Walker("x", "?");
  std::string trace;
  int throwAt = -1;
  outer.SetOnGreppingFilesClosure([&](RE* object, const std::string& file,
                                      const std::vector<REMatch>& match, unsigned int, bool&) {
    EXPECT_EQ(object, &outer);
    trace += file + std::to_string(match[0].position);
    EXPECT_EQ(Found(inner), (Names{"a", "b", "c"}));
    const RE passing = Walker("x", "?");
    if (--throwAt == 0) throw std::runtime_error("from a notification");
    if (match[0].position == 0) {
      // A walk on the object itself, which finds nothing, then settings that count for later.
      outer.SetExpression("[");
      EXPECT_EQ(outer.GrepFiles(), 0U);
      outer.SetFilesToMatch("none, at such length that the old text's memory is gone");
      outer.SetLocaleModel(RE::CLocale);
    }
  });
  EXPECT_EQ(outer.GrepFiles(), 6U);
  EXPECT_EQ(trace, "a0a2b0b2c0c2");

  // What a notification throws passes through both walks, and leaves the thread fit for others.
  outer.SetExpression("x");
  outer.SetFilesToMatch("?");
  RE around = Walker("y", "?");
  int reports = 0;
  around.SetOnFindFilesClosure([&](RE* object, const std::string&, bool&) {
    EXPECT_EQ(object, &around);
    ++reports;
    outer.SetExpression("x");
    outer.SetFilesToMatch("?");
    throwAt = 3;
    EXPECT_THROW(outer.GrepFiles(), std::runtime_error);
  });
  EXPECT_EQ(around.FindFiles(), 3U);
  EXPECT_EQ(reports, 3);
}

TEST_F(Files, CanBeWalkedByManyThreads) {
  for (int i = 0; i < 40; ++i) Write("d/" + std::to_string(i % 7) + "/" + std::to_string(i), "axb");
  RE one = Walker("x", "*", true);
  const Hits expected = Grepped(one);
  ASSERT_EQ(expected.size(), 40U);
  std::vector<std::thread> threads;
  threads.reserve(4);
  for (int i = 0; i < 4; ++i) {
    threads.emplace_back([&expected] {
      for (int round = 0; round < 10; ++round) {
        RE re = Walker("x", "*", true);
        re.SetLocaleModel(static_cast<RE::LocaleModels>(round % 3));
        EXPECT_EQ(Grepped(re), expected);
      }
    });
  }
  for (std::thread& thread : threads) thread.join();
}

}  // namespace
}  // namespace RegexClass::test
