// ChangeFiles: what is found, what is asked, what is changed, in which order.

#include <atomic>
#include <chrono>
#include <csignal>
#include <cstdlib>
#include <map>
#include <sstream>
#include <sys/wait.h>
#include <thread>
#include <unistd.h>

#include <boost/regex/pattern_except.hpp>
#include <gtest/gtest.h>

#include "FileTestHelpers.hpp"
#include "TestHelpers.hpp"

namespace RegexClass::test {
namespace {

namespace fs = std::filesystem;
using Contents = std::map<std::string, std::string>;

/// An object that changes files of a scratch directory.
struct Changer {
  ScratchDirectory scratch;
  RE re;

  Changer(const std::string& expression, const std::string& format, const Contents& contents) {
    re.SetExpression(expression);
    re.SetFormatString(format);
    re.SetFilesToMatch(scratch / "*");
    for (const auto& [name, text] : contents) WriteFile(scratch / name, text);
  }
  Contents Read() const {
    Contents contents;
    for (const auto& entry : fs::directory_iterator(scratch.path)) {
      contents[entry.path().filename()] = ReadFile(entry.path());
    }
    return contents;
  }
};

TEST(ChangeFiles, ChangesFileAfterFile) {
  Changer c("(x)|(y)(?=z)", "<$1>", {{"a", "x\n.x"}, {"b", "..yz"}, {"c", "nothing"}});
  c.re.SetLocaleModel(RE::CLocale);
  std::ostringstream events;
  c.re.SetOnChangingFilesClosure([&](RE*, const auto& file, auto& match, unsigned line, bool&) {
    c.re.SetLocaleModel(RE::CppLocale);  // comes too early
    events << file.back() << line << match[0] << match[1] << match[2] << c.Read()["a"]
           << c.Read()["b"];
  });
  // What the second expression looks for behind its match isn't in the match: it stays.
  EXPECT_EQ(3U, c.re.ChangeFiles());
  EXPECT_EQ(
      "a1(x, 0)(x, 0)(, -1)x\n.x..yza2(x, 3)(x, 3)(, -1)x\n.x..yz"
      "b1(y, 2)(, -1)(y, 2)<x>\n.<x>..yz",
      events.str());
  EXPECT_EQ((Contents{{"a", "<x>\n.<x>"}, {"b", "..yz"}, {"c", "nothing"}}), c.Read());
  EXPECT_EQ(nullptr, c.re.GetChangeFilesErrors());
  EXPECT_EQ(RE::CLocale, c.re.GetLocaleModel());
}

TEST(ChangeFiles, MakesTheReplacementOfTheMatchAlone) {
  const std::tuple<const char*, const char*, const char*, const char*, unsigned> cases[] = {
      {"b", "", "abbc", "ac", 2},
      {"(a)|b", "(?1A:B)", "ab", "AB", 2},  // whatever the format type
      {"(\\w+) (\\w+)", "$2 $1\\n", "one two", "two one\n", 1},
      {"x*", "-", "axb", "-a--b-", 4},
      {"\\bb|aa\\B", "!", "b aab", "! aab", 2},
      {R"((?<=\Kx)x)", "<$0>", "xxxx", "<xx>xx", 1},  // the second would overlap the first
  };
  for (const auto& [expression, format, before, after, count] : cases) {
    SCOPED_TRACE(expression);
    Changer c(expression, format, {{"file", before}});
    c.re.SetFormatType(RE::FormatSed);
    c.re.SetMergeOnlyFirst(true);
    c.re.AddMatchOption(RE::MatchPartial);
    EXPECT_EQ(count, c.re.ChangeFiles());
    EXPECT_EQ((Contents{{"file", after}}), c.Read());
  }
}

TEST(ChangeFiles, PassesOverWhatIsNotToBeChanged) {
  Contents files = {{"a.BAK", "x"}, {"b.bak", "x"}, {"d", "nothing"}, {"e", "x"}, {"f", "x"}};
  Changer c("x", "y", files);
  c.re.SetSaveExtension("bak");
  fs::permissions(c.scratch / "f", fs::perms(0444));
  std::string events;
  c.re.SetOnChangingFilesClosure([&](RE*, const auto& file, auto&&...) { events += file.back(); });
  EXPECT_EQ(1U, c.re.ChangeFiles());
  EXPECT_EQ("e", events);
  EXPECT_EQ(nullptr, c.re.GetChangeFilesErrors());
  files["e"] = "y";
  files["e.bak"] = "x";
  EXPECT_EQ(files, c.Read());
}

TEST(ChangeFiles, DoesWithAFileWhatANotificationBringsAbout) {
  enum Act { kVeto, kEdit, kThrow };
  // The act and its match, ContinueFiles; the number of changes, and what the files have then.
  const std::tuple<Act, unsigned, bool, unsigned, Contents> cases[] = {
      {kVeto, 1, false, 2, {{"a", "xxx"}, {"b", "y"}, {"c", "y"}}},
      {kVeto, 3, false, 4, {{"a", "yyx"}, {"b", "y"}, {"c", "y"}}},
      {kEdit, 2, true, 2, {{"a", "xzx"}, {"b", "y"}, {"c", "y"}}},
      {kEdit, 2, false, 0, {{"a", "xzx"}, {"b", "x"}, {"c", "x"}}},
      {kThrow, 4, true, 9, {{"a", "yyy"}, {"b", "x"}, {"c", "x"}}},
  };
  for (const auto& [act, at, goOn, count, after] : cases) {
    SCOPED_TRACE(testing::Message() << act << " at " << at);
    Changer c("x", "y", {{"a", "xxx"}, {"b", "x"}, {"c", "x"}});
    c.re.SetContinueFiles(goOn);
    unsigned match = 0;
    c.re.SetOnChangingFilesClosure(
        [&, act = act, at = at](auto&&, auto&&, auto&&, auto&&, bool& change) {
          if (++match != at) return;
          change = act != kVeto;
          if (act == kEdit) WriteFile(c.scratch / "a", "xzx");
          if (act == kThrow) throw std::runtime_error("mine");
        });
    const auto descriptors = OpenDescriptors();
    unsigned changes = 9;
    try {
      changes = c.re.ChangeFiles();
    } catch (const std::runtime_error&) {
    }
    EXPECT_EQ(count, changes);
    EXPECT_EQ(after, c.Read());
    EXPECT_EQ(descriptors, OpenDescriptors());
    const auto* const problems = c.re.GetChangeFilesErrors();
    EXPECT_EQ(act == kEdit ? 1U : 0U, problems == nullptr ? 0U : problems->size());
    EXPECT_EQ(nullptr, RE(c.re).GetChangeFilesErrors());
    c.re.SetFilesToMatch("");  // the object is free again, and forgets the problems
    EXPECT_EQ(0U, c.re.ChangeFiles());
    EXPECT_EQ(nullptr, c.re.GetChangeFilesErrors());
    c.re.SetLocaleModel(RE::CLocale);
    EXPECT_EQ(RE::CLocale, c.re.GetLocaleModel());
  }
}

TEST(ChangeFiles, ThrowsWhenTheObjectCannotReadTheExpression) {
  Changer c("(?:x)", "y", {{"a", "x"}});
  c.re.AddExpressionOption(RE::ExtendedSyntax);
  EXPECT_THROW(c.re.ChangeFiles(), boost::regex_error);
  c.re.AddExpressionOption(RE::NormalSyntax);
  EXPECT_EQ(1U, c.re.ChangeFiles());
  c.re.SetExpression("(");
  EXPECT_EQ(0U, c.re.ChangeFiles());
}

TEST(ChangeFiles, RunsInsideItself) {
  for (const bool same : {true, false}) {
    Changer outer("x", "y", {{"a", "x"}, {"b", "xx"}});
    Changer inner("p", "q", {{"c", "p.px"}, {"d", "p"}});
    RE& running = same ? outer.re : inner.re;
    outer.re.SetOnChangingFilesClosure([&](RE*, const auto& file, auto& match, auto&&...) {
      if (file.back() == 'a') WriteFile(outer.scratch / "a", "z");
      if (file.back() != 'b' || match[0].position != 1) return;
      const RE settings = outer.re;
      running = inner.re;
      EXPECT_EQ(3U, running.ChangeFiles());
      outer.re = settings;
    });
    EXPECT_EQ(2U, outer.re.ChangeFiles());
    ASSERT_NE(nullptr, outer.re.GetChangeFilesErrors());
    EXPECT_EQ(outer.scratch / "a", outer.re.GetChangeFilesErrors()->at(0).file);
    EXPECT_EQ((Contents{{"a", "z"}, {"b", "yy"}}), outer.Read());
    EXPECT_EQ((Contents{{"c", "q.qx"}, {"d", "q"}}), inner.Read());
  }
}

TEST(ChangeFiles, NoNeighbourTurnsItOnAnotherFile) {
  for (const bool swapsDirectory : {false, true}) {
    Changer c("x", "y", {});
    fs::create_directories(c.scratch / "tree/sub");
    fs::create_directories(c.scratch / "other");
    const std::string victim = c.scratch / "other/file", file = c.scratch / "tree/sub/file";
    const std::string link = c.scratch / "link", aside = c.scratch / "aside";
    WriteFile(victim, "x");
    fs::permissions(victim, fs::perms(0600));
    c.re.SetFilesToMatch(c.scratch / "tree/*");
    c.re.SetDirectoryRecursion(true);
    c.re.SetSaveExtension("bak");
    std::atomic<bool> stop{false};
    std::thread neighbour([&] {
      std::error_code error;  // the object's own files may come in the way
      const auto renew = [&] {
        WriteFile(link, "x");
        fs::permissions(link, fs::perms(04777), error);
        fs::rename(link, file, error);
      };
      for (unsigned pause = 0; !stop; pause = (pause + 1) % 32) {
        renew();
        usleep(100 * pause);  // so that a rewriting has its chance too, on any machine
        if (swapsDirectory) {
          fs::create_symlink(c.scratch / "other", link, error);
          fs::rename(c.scratch / "tree/sub", aside, error);
          fs::rename(link, c.scratch / "tree/sub", error);
          fs::remove(c.scratch / "tree/sub", error);
          fs::rename(aside, c.scratch / "tree/sub", error);
        } else {
          fs::create_symlink(victim, link, error);
          fs::rename(link, file, error);
        }
      }
    });
    unsigned changed = 0, patience = 0;
    const auto end = std::chrono::steady_clock::now() + std::chrono::seconds(2);
    while (std::chrono::steady_clock::now() < end || (changed == 0 && ++patience < 10000)) {
      changed += c.re.ChangeFiles();
    }
    stop = true;
    neighbour.join();
    EXPECT_LT(0U, changed);
    EXPECT_EQ("x", ReadFile(victim)) << "turned by a directory: " << swapsDirectory;
    EXPECT_EQ(fs::perms(0600), fs::status(victim).permissions());
    EXPECT_FALSE(fs::exists(c.scratch / "other/file.bak"));
  }
}

TEST(ChangeFiles, ReplacesWhatHasTheNameOfTheCopy) {
  Changer c("x", "y", {{"a", "x"}, {"b", "x"}, {"c", "x"}, {"victim", "-"}, {"c.bak", "-"}});
  fs::create_symlink("victim", c.scratch / "a.bak");
  fs::create_hard_link(c.scratch / "victim", c.scratch / "b.bak");
  for (const char* const name : {"a", "b", "c"}) {
    fs::permissions(c.scratch / name, fs::perms(0640));
  }
  c.re.SetSaveExtension("bak");
  EXPECT_EQ(3U, c.re.ChangeFiles());
  EXPECT_EQ("-", c.Read()["victim"]);
  for (const char* const name : {"a.bak", "b.bak", "c.bak"}) {
    EXPECT_EQ("x", c.Read()[name]);
    EXPECT_FALSE(fs::is_symlink(c.scratch / name));
    EXPECT_EQ(fs::perms(0640), fs::status(c.scratch / name).permissions());
  }
}

TEST(ChangeFiles, RewritesNoLinkThatNobodyNamed) {
  for (const bool named : {false, true}) {
    Changer c("x", "y", {{"target", "x"}});
    fs::create_directory(c.scratch / "links");
    fs::create_symlink("../target", c.scratch / "links/link");
    c.re.SetFilesToMatch(c.scratch / (named ? "links/link" : "links/*"));
    EXPECT_EQ(named ? 1U : 0U, c.re.ChangeFiles());
    EXPECT_EQ(named ? "y" : "x", ReadFile(c.scratch / "target"));
    EXPECT_EQ(nullptr, c.re.GetChangeFilesErrors());
    EXPECT_TRUE(fs::is_symlink(c.scratch / "links/link"));
  }
}

TEST(ChangeFiles, LeavesTheOldContentOrTheNewWhenItIsKilled) {
  const std::string before = 'x' + std::string(1 << 20, '-') + 'x';
  const std::string after = 'y' + std::string(1 << 20, '-') + 'y';
  Changer c("x", "y", {});
  c.re.SetFilesToMatch(c.scratch / "file");
  unsigned changed = 0;
  for (unsigned round = 0; round < 50; ++round) {
    WriteFile(c.scratch / "file", before);
    const pid_t child = fork();
    if (child == 0) _exit(c.re.ChangeFiles() == 2 ? 0 : 1);
    if (round < 49) {  // the last one lives
      usleep(round * 400);
      kill(child, SIGKILL);
    }
    waitpid(child, nullptr, 0);
    const std::string now = ReadFile(c.scratch / "file");
    EXPECT_TRUE(now == before || now == after) << "in round " << round;
    changed += now == after;
  }
  EXPECT_LT(0U, changed);
}

/// Changes the headers below the current directory, and gives the number of changes.
const std::string kPerlScript = R"(
  sub Write { open OUT, '>', $_[0]; print OUT $_[1]; close OUT }
  for my $file (split /\n/, `find . -name "*.hpp"`) {
    open IN, $file; undef $/; $_ = my $old = <IN>;
    my $changes = s~EXPRESSION~FORMAT~gs or next;
    $all += $changes; Write($file =~ s/hpp$/bak/r, $old); Write($file, $_);
  }
  Write("../count", $all))";

TEST(ChangeFiles, ChangesARealTreeAsPerlDoes) {
  const char* const cases[][2] = {{R"(\b(include|define)\b)", "<$1>"},
                                  {R"([ \t]*//[^\n]*\n)", "\\n"},
                                  {R"(/\*.*?\*/)", ""},
                                  {R"((?i)(boost|mpl)::(\w+))", "$2\\t$1$1"}};
  Changer c("", "", {});
  const auto run = [&](const std::string& command) {
    EXPECT_EQ(0, std::system(("cd '" + c.scratch.path + "' && " + command).c_str()));
  };
  run("mkdir ours && cp -r " BOOST_INCLUDE_DIRECTORY "/boost/mpl " BOOST_INCLUDE_DIRECTORY
      "/boost/spirit ours && cp -r ours perls");
  c.re.SetFilesToMatch(c.scratch / "ours/*.hpp");
  c.re.SetDirectoryRecursion(true);
  c.re.SetSaveExtension("bak");
  for (const auto& [expression, format] : cases) {  // each changes what the one before has left
    SCOPED_TRACE(expression);
    c.re.SetExpression(expression);
    c.re.SetFormatString(format);
    std::string script = kPerlScript;
    script.replace(script.find("EXPRESSION"), 10, expression);
    WriteFile(c.scratch / "script", script.replace(script.find("FORMAT"), 6, format));
    run("cd perls && perl ../script");
    const unsigned int changes = c.re.ChangeFiles();
    EXPECT_LT(1000U, changes);
    EXPECT_EQ(ReadFile(c.scratch / "count"), std::to_string(changes));
    run("diff -r ours perls");
  }
}

}  // namespace
}  // namespace RegexClass::test
