// ChangeFiles: what is found, what is asked, what is changed, in which order.

#include <cstdlib>
#include <cstring>
#include <filesystem>
#include <stdexcept>
#include <sys/stat.h>

#include <boost/regex/pattern_except.hpp>
#include <gtest/gtest.h>

#include "FileTestHelpers.hpp"
#include "TestHelpers.hpp"

namespace RegexClass::test {
namespace {

namespace fs = std::filesystem;

/// An object that changes files of a scratch directory.
struct Changer {
  ScratchDirectory scratch;
  RE re;

  Changer(const std::string& expression, const std::string& format) {
    re.SetExpression(expression);
    re.SetFormatString(format);
    re.SetFilesToMatch(scratch / "*");
  }
  void Write(const std::string& name, const std::string& text) { WriteFile(scratch / name, text); }
  std::string Read(const std::string& name) const { return ReadFile(scratch / name); }
  std::size_t Problems() const {
    return re.GetChangeFilesErrors() == nullptr ? 0 : re.GetChangeFilesErrors()->size();
  }
  template <class Notification>
  void OnMatch(Notification notification) {
    re.SetOnChangingFilesClosure([notification](RE*, const std::string& file,
                                                const std::vector<REMatch>& match, unsigned line,
                                                bool& change) {
      notification(fs::path(file).filename().string(), match, line, change);
    });
  }
};

TEST(ChangeFiles, ChangesFileAfterFile) {
  Changer c("(x)|(y)(?=z)", "<$1>");
  c.Write("a", "x\n.x");
  c.Write("b", "..yz");
  c.Write("c", "nothing");
  c.re.SetLocaleModel(RE::CLocale);
  std::vector<std::string> events;
  std::vector<std::vector<REMatch>> matches;
  c.OnMatch([&](const std::string& file, const auto& match, unsigned line, bool&) {
    c.re.SetLocaleModel(RE::CppLocale);  // comes too early
    events.push_back(file + std::to_string(line) + " " + c.Read("a") + " " + c.Read("b"));
    matches.push_back(match);
  });
  // What the second expression looks for behind its match isn't in the match: it stays.
  EXPECT_EQ(3U, c.re.ChangeFiles());
  EXPECT_EQ((std::vector<std::string>{"a1 x\n.x ..yz", "a2 x\n.x ..yz", "b1 <x>\n.<x> ..yz"}),
            events);
  EXPECT_EQ((std::vector<std::vector<REMatch>>{{{"x", 0}, {"x", 0}, {"", -1}},
                                               {{"x", 3}, {"x", 3}, {"", -1}},
                                               {{"y", 2}, {"", -1}, {"y", 2}}}),
            matches);
  EXPECT_EQ("..yz", c.Read("b"));
  EXPECT_EQ(0U, c.Problems());
  EXPECT_EQ(RE::CLocale, c.re.GetLocaleModel());
  c.re.SetLocaleModel(RE::CppLocale);
  EXPECT_EQ(RE::CppLocale, c.re.GetLocaleModel());
}

TEST(ChangeFiles, MakesTheReplacementOfTheMatchAlone) {
  struct Case {
    const char *expression, *format, *before, *after;
    unsigned int count;
  };
  const Case cases[] = {
      {"b", "", "abbc", "ac", 2},
      {"(a)|b", "(?1A:B)", "ab", "AB", 2},  // whatever the format type
      {"(\\w+) (\\w+)", "$2 $1\\n", "one two", "two one\n", 1},
      {"x*", "-", "axb", "-a--b-", 4},
      {"a\\b", "!", "a ab", "! ab", 1},
      {"\\bb|aa\\B", "!", "b aab", "! aab", 2},
      {"a", "aa", "aba", "aabaa", 2},
      {R"((?<=\Kx)x)", "<$0>", "xxxx", "<xx>xx", 1},  // the second would overlap the first
  };
  for (const Case& row : cases) {
    SCOPED_TRACE(row.expression);
    Changer c(row.expression, row.format);
    c.Write("file", row.before);
    c.re.SetFormatType(RE::FormatSed);
    c.re.SetMergeOnlyFirst(true);
    c.re.AddMatchOption(RE::MatchPartial);
    EXPECT_EQ(row.count, c.re.ChangeFiles());
    EXPECT_EQ(row.after, c.Read("file"));
  }
}

TEST(ChangeFiles, PassesOverWhatIsNotToBeChanged) {
  Changer c("x", "y");
  c.re.SetSaveExtension("bak");
  for (const char* name : {"copy.BAK", "copy.bak", "readonly", "without.txt", "with.txt"}) {
    c.Write(name, fs::path(name) == "without.txt" ? "nothing" : "x");
  }
  fs::permissions(c.scratch / "readonly", fs::perms(0444));
  struct stat before = {};
  ASSERT_EQ(0, stat((c.scratch / "without.txt").c_str(), &before));
  std::string events;
  c.OnMatch([&](const std::string& file, auto&&...) { events += file + " "; });
  EXPECT_EQ(1U, c.re.ChangeFiles());
  EXPECT_EQ("with.txt ", events);
  EXPECT_EQ(0U, c.Problems());
  EXPECT_EQ("xxx", c.Read("readonly") + c.Read("copy.BAK") + c.Read("copy.bak"));
  EXPECT_EQ("x", c.Read("with.bak"));
  EXPECT_FALSE(fs::exists(c.scratch / "without.bak"));
  struct stat after = {};
  ASSERT_EQ(0, stat((c.scratch / "without.txt").c_str(), &after));
  EXPECT_EQ(0, memcmp(&before.st_ctim, &after.st_ctim, sizeof before.st_ctim));
}

TEST(ChangeFiles, LeavesWhatIsVetoed) {
  for (const int veto : {1, 3}) {
    Changer c("x", "y");
    c.Write("a", "xxxx");
    c.Write("b", "x");
    int match = 0;
    c.OnMatch([&](auto&&, auto&&, unsigned, bool& change) { change = ++match != veto; });
    EXPECT_EQ(static_cast<unsigned int>(veto), c.re.ChangeFiles());
    EXPECT_EQ(veto == 1 ? "xxxx" : "yyxx", c.Read("a"));
    EXPECT_EQ("y", c.Read("b"));
  }
}

TEST(ChangeFiles, GoesOnOrStopsAfterAFailure) {
  for (const bool goOn : {true, false}) {
    Changer c("x", "y");
    c.Write("a", "xx");
    c.Write("b", "x");
    c.Write("c", "x");
    c.re.SetContinueFiles(goOn);
    c.OnMatch([&](const std::string&, const auto& match, auto&&...) {
      if (match[0].position == 1) c.Write("a", "zx");
    });
    EXPECT_EQ(goOn ? 2U : 0U, c.re.ChangeFiles());
    ASSERT_EQ(1U, c.Problems());
    const RE::FileChangeProblem& problem = c.re.GetChangeFilesErrors()->front();
    EXPECT_EQ(RE::TextChanged, problem.kind);
    EXPECT_EQ(c.scratch / "a", problem.file);
    EXPECT_EQ("x", problem.text);
    EXPECT_EQ(goOn ? "zx y y" : "zx x x", c.Read("a") + ' ' + c.Read("b") + ' ' + c.Read("c"));

    EXPECT_EQ(nullptr, RE(c.re).GetChangeFilesErrors());
    c.re.SetFilesToMatch("");
    EXPECT_EQ(0U, c.re.ChangeFiles());
    EXPECT_EQ(0U, c.Problems());
  }
}

TEST(ChangeFiles, ThrowsWhenTheObjectCannotReadTheExpression) {
  Changer c("(?:x)", "y");
  c.Write("a", "x");
  c.re.AddExpressionOption(RE::ExtendedSyntax);
  try {
    c.re.ChangeFiles();
    ADD_FAILURE() << "nothing thrown";
  } catch (const boost::regex_error& error) {
    EXPECT_EQ(c.re.GetExpressionError(), error.what());
  }
  EXPECT_EQ("x", c.Read("a"));
  c.re.AddExpressionOption(RE::NormalSyntax);
  EXPECT_EQ(1U, c.re.ChangeFiles());
  c.re.SetExpression("(");
  EXPECT_EQ(0U, c.re.ChangeFiles());
}

TEST(ChangeFiles, SurvivesANotificationThatThrows) {
  Changer c("x", "y");
  c.Write("a", "x");
  c.Write("b", "xx");
  const auto descriptors = OpenDescriptors();
  c.OnMatch([](const std::string& file, const auto& match, auto&&...) {
    if (file == "b" && match[0].position == 1) throw std::runtime_error("mine");
  });
  EXPECT_THROW(c.re.ChangeFiles(), std::runtime_error);
  EXPECT_EQ("y xx", c.Read("a") + ' ' + c.Read("b"));
  EXPECT_EQ(descriptors, OpenDescriptors());
  c.re.SetLocaleModel(RE::CLocale);
  EXPECT_EQ(RE::CLocale, c.re.GetLocaleModel());
  c.re.SetOnChangingFilesClosure({});
  EXPECT_EQ(2U, c.re.ChangeFiles());
  EXPECT_EQ("yy", c.Read("b"));
}

TEST(ChangeFiles, RunsInsideItself) {
  for (const bool same : {true, false}) {
    Changer outer("x", "y");
    Changer inner("p", "q");
    RE& running = same ? outer.re : inner.re;
    outer.Write("a", "x");
    outer.Write("b", "xx");
    inner.Write("c", "p.px");
    inner.Write("d", "p");
    outer.OnMatch([&](const std::string& file, const auto& match, auto&&...) {
      if (file == "a") outer.Write("a", "z");
      if (file != "b" || match[0].position != 1) return;
      RE settings = outer.re;
      running.SetOnChangingFilesClosure({});
      running.SetExpression("p");
      running.SetFormatString("q");
      running.SetFilesToMatch(inner.scratch / "*");
      EXPECT_EQ(3U, running.ChangeFiles());
      if (same) outer.re = settings;
    });
    EXPECT_EQ(2U, outer.re.ChangeFiles());
    EXPECT_EQ(1U, outer.Problems());
    EXPECT_EQ("z yy q.qx q", outer.Read("a") + ' ' + outer.Read("b") + ' ' + inner.Read("c") + ' ' +
                                 inner.Read("d"));
  }
}

/// Has Perl change all headers below `tree`, and gives the number of changes that it counts.
std::size_t ChangeByPerl(const std::string& tree, const std::string& substitution) {
  const std::string command = "cd '" + tree +
                              "' && find . -name '*.hpp' -print0 | xargs -0 -n 100000 "
                              "perl -0777 -i.saved -pe '$n += " +
                              substitution + "; END { print STDERR $n }' 2>count";
  EXPECT_EQ(0, std::system(command.c_str())) << command;
  return std::stoul(ReadFile(tree + "/count"));
}

TEST(ChangeFiles, ChangesARealTreeAsPerlDoes) {
  struct Case {
    const char *expression, *format, *substitution;
    bool icase;
  };
  const Case cases[] = {
      {R"(\b(include|define)\b)", "<$1>", R"(s/\b(include|define)\b/<$1>/g)", false},
      {R"([ \t]*//[^\n]*\n)", "\\n", R"(s~[ \t]*//[^\n]*\n~\n~g)", false},
      {R"(/\*.*?\*/)", "", R"(s~/\*.*?\*/~~gs)", false},
      {R"((boost|mpl)::(\w+))", "$2\\t$1$1", R"(s/(boost|mpl)::(\w+)/$2\t$1$1/gi)", true},
  };
  Changer c("", "");
  const ScratchDirectory memory(fs::is_directory("/dev/shm") ? "/dev/shm"
                                                             : fs::temp_directory_path());
  const std::string ours = memory / "ours";
  const std::string perls = memory / "perls";
  for (const std::string& tree : {ours, perls}) {
    fs::create_directory(tree);
    for (const char* part : {"mpl", "spirit"}) {
      fs::copy(fs::path(BOOST_INCLUDE_DIRECTORY) / "boost" / part, tree + '/' + part,
               fs::copy_options::recursive);
    }
  }
  c.re.SetFilesToMatch(ours + "/*.hpp");
  c.re.SetDirectoryRecursion(true);
  c.re.SetSaveExtension("bak");
  for (const Case& row : cases) {  // each changes what the one before has left
    SCOPED_TRACE(row.expression);
    c.re.SetExpression(row.expression);
    c.re.SetFormatString(row.format);
    if (row.icase) c.re.AddExpressionOption(RE::Icase);
    EXPECT_EQ(ChangeByPerl(perls, row.substitution), c.re.ChangeFiles());
    EXPECT_EQ(0U, c.Problems());

    std::size_t files = 0;
    std::size_t changed = 0;
    for (const fs::directory_entry& entry : fs::recursive_directory_iterator(perls)) {
      if (entry.path().extension() != ".hpp") continue;
      ++files;
      const fs::path file = ours / entry.path().lexically_relative(perls);
      const std::string before = ReadFile(entry.path().string() + ".saved");
      const std::string after = ReadFile(entry.path());
      EXPECT_TRUE(ReadFile(file) == after) << file;
      const fs::path saved = fs::path(file).replace_extension(".bak");
      EXPECT_EQ(before != after, fs::exists(saved)) << file;
      if (before == after) continue;
      ++changed;
      EXPECT_TRUE(ReadFile(saved) == before) << file;
      fs::remove(saved);
    }
    EXPECT_LT(2000U, files);
    EXPECT_LT(100U, changed);
  }
}

}  // namespace
}  // namespace RegexClass::test
