// SPDX-License-Identifier: BSL-1.0
// ChangeFiles: what is asked and what is changed; and what is left of a file whichever call of the
// system fails, whatever ends the process and whoever meddles, at each of the calls.

#include <functional>
#include <sstream>

#include <boost/regex/pattern_except.hpp>
#include <gtest/gtest.h>

#include "OperationTestHelpers.hpp"
#include "SystemCalls.hpp"

namespace RegexClass::test {
namespace {

TEST(ChangeFiles, ChangesFileAfterFile) {
  Changer c("(x)|(y)(?=z)", "<$1>", {{"a", "x\n.x"}, {"b", "..yz"}, {"c", "nothing"}});
  c.re.SetLocaleModel(RE::CLocale);
  std::ostringstream events;
  c.re.SetOnChangingFilesClosure([&](RE*, const auto& file, auto& match, unsigned line, bool&) {
    c.re.SetLocaleModel(RE::CppLocale);  // comes too early
    c.re.SetSaveExtension("bak");        // and these just in time
    c.re.SetFormatString(match[0].position == 0 ? "<$1>" : "[$1]");
    events << file << line << match[0] << match[1] << match[2] << Contents()["a"] << '\n';
  });
  // What the second expression looks for behind its match isn't in the match: it stays.
  EXPECT_EQ(3U, c.re.ChangeFiles());
  EXPECT_EQ("a1(x, 0)(x, 0)(, -1)x\n.x\na2(x, 3)(x, 3)(, -1)x\n.x\nb1(y, 2)(, -1)(y, 2)<x>\n.[x]\n",
            events.str());
  // And b, in which all stays, isn't written, nor a copy of it.
  EXPECT_EQ((Files{{"a", "<x>\n.[x]"}, {"a.bak", "x\n.x"}, {"b", "..yz"}, {"c", "nothing"}}),
            Contents());
  EXPECT_TRUE(c.Problems().empty());
  EXPECT_EQ(RE::CLocale, c.re.GetLocaleModel());
}

TEST(ChangeFiles, PassesOverWhatIsNotToBeChanged) {
  Files files = {{"a.BAK", "x"}, {"b.bak", "x"}, {"d", "nothing"}, {"e", "x"}, {"f", "x"}};
  Changer c("x", "y", files);
  c.re.SetSaveExtension("bak");
  fs::permissions("f", fs::perms(0444));
  std::string events;
  c.re.SetOnChangingFilesClosure([&](RE*, const auto& file, auto&&...) { events += file; });
  EXPECT_EQ(1U, c.re.ChangeFiles());
  EXPECT_EQ("e", events);
  files["e"] = "y";
  files["e.bak"] = "x";
  EXPECT_EQ(files, Contents());
  fs::permissions("f", fs::perms(0666));
  c.re.SetExpression("(?:y)");  // which the object can't read
  c.re.AddExpressionOption(RE::ExtendedSyntax);
  EXPECT_THROW(c.re.ChangeFiles(), boost::regex_error);
  c.re.SetExpression("(");
  EXPECT_EQ(0U, c.re.ChangeFiles());
}

TEST(ChangeFiles, DoesWithAFileWhatANotificationBringsAbout) {
  enum Act { kVeto, kEdit, kThrow };
  // The act and its match, ContinueFiles; the number of changes, and what the files have then.
  const std::tuple<Act, int, bool, unsigned, Files> cases[] = {
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
    c.re.SetOnChangingFilesClosure(
        [what = act, left = at](RE*, auto&&, auto&&, auto&&, bool& change) mutable {
          if (--left != 0) return;
          change = what != kVeto;
          if (what == kEdit) WriteFile("a", "xzx");
          if (what == kThrow) throw std::runtime_error("mine");
        });
    unsigned changes = 9;
    try {
      changes = c.re.ChangeFiles();
    } catch (const std::runtime_error&) {
    }
    EXPECT_EQ(count, changes);
    EXPECT_EQ(after, Contents());
    EXPECT_EQ(act == kEdit ? 1U : 0U, c.Problems().size());
    c.re.SetFilesToMatch("");  // the object is free again, and forgets the problems
    EXPECT_EQ(0U, c.re.ChangeFiles());
    EXPECT_TRUE(c.Problems().empty());
    c.re.SetLocaleModel(RE::CLocale);
    EXPECT_EQ(RE::CLocale, c.re.GetLocaleModel());
  }
}

TEST(ChangeFiles, DoesTheSameToFilesTogether) {
  std::pair<Texts, Files> outcomes[2];
  for (const bool throws : {false, true}) {
    for (const bool together : {false, true}) {
      Files files;
      for (int i = 100; i < 300; ++i) files["f" + std::to_string(i)] = "x";
      Changer c("x", "y", files);
      for (int i = 100; i < 300; i += 9) fs::create_directory("f" + std::to_string(i) + ".bak");
      c.re.SetSaveExtension("bak");
      c.re.SetSyncTogether(together);
      c.re.SetOnChangingFilesClosure([&](RE*, const std::string& file, auto&&...) {
        if (std::stoi(file.substr(1)) % 7 == 0) WriteFile(file, "edited");
        if (throws && file == "f280") throw std::runtime_error("mine");
      });
      const auto open = OpenFiles();
      try {
        c.re.ChangeFiles();
      } catch (const std::runtime_error&) {
      }
      EXPECT_EQ(open, OpenFiles());
      Texts problems;
      for (const Problem& problem : c.Problems()) problems.push_back(Line(problem));
      outcomes[together] = {problems, Contents()};
    }
    EXPECT_EQ(outcomes[0], outcomes[1]);
  }
}

TEST(ChangeFiles, KeepsAFileThatCannotBeSearchedToItsEnd) {
  Changer c("(?:a+)+(?=b)b|x", "y", {{"a", "x"}, {"b", 'x' + std::string(60, 'a')}, {"c", "x"}});
  EXPECT_EQ(2U, c.re.ChangeFiles());
  ASSERT_EQ(1U, c.Problems().size());
  EXPECT_EQ("b kind 0 at 0  error 0", Line(c.Problems()[0]));
  EXPECT_EQ((Files{{"a", "y"}, {"b", 'x' + std::string(60, 'a')}, {"c", "y"}}), Contents());
}

TEST(ChangeFiles, RunsInsideItself) {
  for (const bool same : {true, false}) {
    Changer c("x", "y", {{"a", "x"}, {"b", "xx"}, {"in/c", "p.px"}, {"in/d", "p"}});
    RE inner = Make("p", "");
    inner.SetFormatString("q");
    inner.SetFilesToMatch("in/*");
    RE& running = same ? c.re : inner;
    c.re.SetOnChangingFilesClosure([&](RE*, const auto& file, auto& match, auto&&...) {
      if (file == "a") WriteFile("a", "z");
      if (file != "b" || match[0].position != 1) return;
      const RE settings = c.re;
      running = inner;
      EXPECT_EQ(3U, running.ChangeFiles());
      EXPECT_EQ("xx", c.re.GetFileContent());
      c.re = settings;
    });
    EXPECT_EQ(2U, c.re.ChangeFiles());
    ASSERT_EQ(1U, c.Problems().size());
    EXPECT_EQ("a", c.Problems()[0].file);
    EXPECT_EQ((Files{{"a", "z"}, {"b", "yy"}, {"in/c", "q.qx"}, {"in/d", "q"}}), Contents());
  }
}

// ------------------------------------------------------------------- each call of the system

/// A file with the text at its start and at its end.
std::string Around(std::size_t gap, const std::string& text) {
  return text + std::string(gap, '\0') + text + '\n';
}

/// What happens at a call.
enum Act { kFails, kFailsOverwriting, kFailsRewriting, kFileIsSwapped, kDirectoryIsSwapped };

/// A file of several blocks is rewritten into a longer one, one as long, or a shorter one, while an
/// act comes before one of the calls; a swap is undone some calls later. The file is one or the
/// other then, and nothing has become of the file that a neighbour has put in its way. Before each
/// call it is one or the other, too, which is what is left when the process ends there.
class EachCall : public testing::TestWithParam<Act> {};
constexpr Act kActs[] = {kFails, kFailsOverwriting, kFailsRewriting, kFileIsSwapped,
                         kDirectoryIsSwapped};
INSTANTIATE_TEST_SUITE_P(Of, EachCall,
                         testing::ValuesIn(std::begin(kActs),
                                           std::begin(kActs) + (kIsPosix ? 5 : 3)));

TEST_P(EachCall, LeavesTheOldContentOrTheNew) {
  const Act act = GetParam();
  const bool isSwap = act > kFailsRewriting;
  const std::size_t gap = isSwap ? 10 : 80000;
  const std::string before = Around(gap, "x"), file = "tree/sub/file.txt";
  for (int variant = 0; variant < 3; ++variant) {
    bool more = true;
    for (int number = 0; more; ++number) {
      SCOPED_TRACE(testing::Message() << "variant " << variant << " call " << number);
      const std::string text(std::vector<std::size_t>{0, 1, gap + 5}[variant], 'y');
      const int undone = number + std::vector<int>{1, 3, 1000}[variant];
      const std::string older = variant == 1 ? "" : "older",
                        swapped = act == kFileIsSwapped ? file : "tree/sub";
      Changer c("x", text, {{file, before}, {"other/file.txt", "x"}});
      if (!older.empty()) WriteFile("tree/sub/file.bak", older);
      if (act == kFailsOverwriting || (act == kFailsRewriting && variant != 0)) {
        fs::create_hard_link(file, "../link");
      }
      WriteFile("source", Around(gap, text));
      const AsOrdinaryUser user;
      Mark(file);
      fs::permissions("other/file.txt", fs::perms(0600));
      const fs::perms others = fs::status("other/file.txt").permissions();
      c.re.SetFilesToMatch("tree/*.txt");
      c.re.SetDirectoryRecursion(true);
      c.re.SetSaveExtension("bak");
      c.re.SetKeepCopies(older.empty());
      c.re.SetChangeHardLinks(true);
      bool found = false;
      c.re.SetOnChangingFilesClosure([&](auto&&...) { found = true; });
      const auto open = OpenFiles();

      int calls = 0;
      std::string now;
      const auto check = [&] {
        now = ReadFile(file);
        const std::string copy = ReadFile("tree/sub/file.bak");
        EXPECT_TRUE(now == before || now == Around(gap, text));
        EXPECT_TRUE(copy == before || (now == before && copy == older));
      };
      const auto undo = [&] {
        if (!fs::is_symlink(swapped)) return;
        fs::remove(swapped);
        fs::rename("aside", swapped);
      };
      std::string_view last;
      unsigned changes = 0;
      {
        const HookedSystemCalls hooked([&](std::string_view name, Words& arguments) {
          if (number == 0 && IsTransfer(name)) Halve(arguments);
          if (number == 0 && act == kFails) check();
          if (++calls == undone) undo();
          if (calls != number) return 0;
          last = name;
          if (!isSwap) return Halve(arguments), kBroken;
          fs::rename(swapped, "aside");
          fs::create_symlink(fs::absolute(act == kFileIsSwapped ? "other/file.txt" : "other"),
                             swapped);
          return 0;
        });
        changes = act != kFailsRewriting             ? c.re.ChangeFiles()
                  : c.re.RewriteFile(file, "source") ? 2
                                                     : 0;
      }
      more = calls >= number;
      undo();
      check();
      EXPECT_EQ(now != before ? 2U : 0U, changes);
      EXPECT_EQ("x", ReadFile("other/file.txt"));
      EXPECT_EQ(others, fs::status("other/file.txt").permissions());
      EXPECT_EQ(1, std::distance(fs::directory_iterator("other"), {}));
      const auto problems = c.Problems();
      const bool markLost =
          !problems.empty() && problems.back().kind == RE::RestoreAttributesFailed;
      if (now == before || markLost) {
        // What is no file any more when the walk comes to it is passed over.
        EXPECT_EQ(found || !isSwap ? 1U : problems.size(), problems.size());
      } else {  // of a directory nothing more may have been told when all was
        EXPECT_TRUE(problems.empty() || fs::is_directory(problems[0].file));
      }
      EXPECT_TRUE(markLost || IsMarked(file));
      EXPECT_EQ((fs::exists("tree/sub/file.bak") ? 2 : 1) + (last == "DeleteFileW"),
                std::distance(fs::directory_iterator("tree/sub"), {}));
      EXPECT_EQ(open, OpenFiles());
      EXPECT_EQ(fs::exists("../link"), ReadFile("../link") == now);
    }
  }
}

TEST(ChangeFiles, ReplacesWhatHasTheNameOfTheCopy) {
  Changer c("x", "y", {{"a.b.c", "x"}, {"b", "x"}, {"c", "x"}, {"victim", "-"}, {"c.bak", "-"}});
  if (kIsPosix) fs::create_symlink("victim", "a.b.bak");
  fs::create_hard_link("victim", "b.bak");
  c.re.SetSaveExtension("bak");
  EXPECT_EQ(3U, c.re.ChangeFiles());
  EXPECT_EQ("-", ReadFile("victim"));
  for (const char* const name : {"a.b.bak", "b.bak", "c.bak"}) {
    EXPECT_EQ("x", ReadFile(name));
    EXPECT_FALSE(fs::is_symlink(name));
  }
}

TEST(ChangeFiles, TellsWhatWentWrong) {
  // What is done once the match in file.txt is reported, and what is told of it.
  const std::pair<std::function<void()>, Problem> cases[] = {
      {[] {
         fs::copy_file("file.txt", "new");
         fs::rename("new", "file.txt");
       },
       {"file.txt", RE::OpenFileFailed, 0, "", kStale}},
      {[] {
         fs::remove("file.txt");
         fs::create_directory("file.txt");
       },
       {"file.txt", RE::OpenFileFailed, 0, "", kIsDirectory}},
      {[] { fs::resize_file("file.txt", 40002); }, {"file.txt", RE::ReadFileFailed, 40002, "", 0}},
      {[] { std::fstream("file.txt", std::ios::in | std::ios::out).seekp(40001) << "edit"; },
       {"file.txt", RE::TextChanged, 40000, "match", 0}},
      {[] { fs::create_directory("file.bak"); },
       {"file.bak", RE::SaveCopyFailed, 0, "", kIsDirectory}},
      {[] { fs::create_hard_link("file.txt", "file.bak"); },
       {"file.bak", RE::SaveCopyFailed, 0, "", kExists}},
  };
  for (const auto& [act, told] : cases) {
    Changer c("match", "", {{"file.txt", std::string(40000, 'o') + "match" + std::string(9, 'p')}});
    SCOPED_TRACE(Line(told));
    c.re.SetFilesToMatch("file.txt");
    c.re.SetSaveExtension("bak");
    Files then;
    c.re.SetOnChangingFilesClosure([&, action = act](auto&&...) { action(), then = Contents(); });
    EXPECT_EQ(0U, c.re.ChangeFiles());
    ASSERT_EQ(1U, c.Problems().size());
    EXPECT_EQ(Line(told), Line(c.Problems()[0]));
    EXPECT_EQ(then, Contents());
    EXPECT_TRUE(fs::is_empty("../tmp"));
  }
}

}  // namespace
}  // namespace RegexClass::test
