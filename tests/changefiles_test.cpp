// SPDX-License-Identifier: BSL-1.0
// ChangeFiles: what is asked and what is changed; and what is left of a file whichever call of the
// system fails, whatever ends the process and whoever meddles, at each of the calls.

#include <functional>
#include <optional>
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
  EXPECT_EQ(c.re.ChangeFiles(), 3U);
  EXPECT_EQ(
      events.str(),
      "a1(x, 0)(x, 0)(, -1)x\n.x\na2(x, 3)(x, 3)(, -1)x\n.x\nb1(y, 2)(, -1)(y, 2)<x>\n.[x]\n");
  // And b, in which all stays, isn't written, nor a copy of it.
  EXPECT_EQ(Contents(),
            (Files{{"a", "<x>\n.[x]"}, {"a.bak", "x\n.x"}, {"b", "..yz"}, {"c", "nothing"}}));
  EXPECT_TRUE(c.Problems().empty());
  EXPECT_EQ(c.re.GetLocaleModel(), RE::CLocale);
}

TEST(ChangeFiles, PassesOverWhatIsNotToBeChanged) {
  Files files = {{"a.BAK", "x"}, {"b.bak", "x"}, {"d", "nothing"}, {"e", "x"}, {"f", "x"}};
  Changer c("x", "y", files);
  c.re.SetSaveExtension("bak");
  fs::permissions("f", fs::perms(0444));
  std::string events;
  c.re.SetOnChangingFilesClosure([&](RE*, const auto& file, auto&&...) { events += file; });
  EXPECT_EQ(c.re.ChangeFiles(), 1U);
  EXPECT_EQ(events, "e");
  files["e"] = "y";
  files["e.bak"] = "x";
  EXPECT_EQ(Contents(), files);
  fs::permissions("f", fs::perms(0666));
  c.re.SetExpression("(?:y)");  // which the object can't read
  c.re.AddExpressionOption(RE::ExtendedSyntax);
  EXPECT_THROW(c.re.ChangeFiles(), boost::regex_error);
  c.re.SetExpression("(");
  EXPECT_EQ(c.re.ChangeFiles(), 0U);
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
    EXPECT_EQ(changes, count);
    EXPECT_EQ(Contents(), after);
    EXPECT_EQ(c.Problems().size(), act == kEdit ? 1U : 0U);
    c.re.SetFilesToMatch("");  // the object is free again, and forgets the problems
    EXPECT_EQ(c.re.ChangeFiles(), 0U);
    EXPECT_TRUE(c.Problems().empty());
    c.re.SetLocaleModel(RE::CLocale);
    EXPECT_EQ(c.re.GetLocaleModel(), RE::CLocale);
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
      EXPECT_EQ(OpenFiles(), open);
      Texts problems;
      for (const Problem& problem : c.Problems()) problems.push_back(Line(problem));
      outcomes[together] = {problems, Contents()};
    }
    EXPECT_EQ(outcomes[0], outcomes[1]);
  }
}

TEST(ChangeFiles, KeepsAFileThatCannotBeSearchedToItsEnd) {
  Changer c("(?:a+)+(?=b)b|x", "y", {{"a", "x"}, {"b", 'x' + std::string(60, 'a')}, {"c", "x"}});
  EXPECT_EQ(c.re.ChangeFiles(), 2U);
  ASSERT_EQ(c.Problems().size(), 1U);
  EXPECT_EQ(Line(c.Problems()[0]), "b kind 0 at 0  error 0");
  EXPECT_EQ(Contents(), (Files{{"a", "y"}, {"b", 'x' + std::string(60, 'a')}, {"c", "y"}}));
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
      EXPECT_EQ(running.ChangeFiles(), 3U);
      EXPECT_EQ(c.re.GetFileContent(), "xx");
      c.re = settings;
    });
    EXPECT_EQ(c.re.ChangeFiles(), 2U);
    ASSERT_EQ(c.Problems().size(), 1U);
    EXPECT_EQ(c.Problems()[0].file, "a");
    EXPECT_EQ(Contents(), (Files{{"a", "z"}, {"b", "yy"}, {"in/c", "q.qx"}, {"in/d", "q"}}));
  }
}

// ------------------------------------------------------------------- each call of the system

/// How a file is rewritten, and what happens at one of the calls.
struct Scenario {
  enum { kReplaced, kOverwritten, kRewritten } way;  // a file with another name is overwritten
  enum { kCallFails, kFileIsSwapped, kDirectoryIsSwapped } act;
  bool IsSwap() const { return act != kCallFails; }
};
constexpr Scenario kScenarios[] = {{Scenario::kReplaced, Scenario::kCallFails},
                                   {Scenario::kOverwritten, Scenario::kCallFails},
                                   {Scenario::kRewritten, Scenario::kCallFails},
                                   {Scenario::kReplaced, Scenario::kFileIsSwapped},
                                   {Scenario::kReplaced, Scenario::kDirectoryIsSwapped}};

/// The new content beside the old one, after how many calls a swap is undone, and whether the name
/// of the saved copy is taken.
struct Variant {
  enum { kShorter, kAsLong, kLonger } size;
  int undoneAfter;
  bool hasOlderCopy;
};
constexpr Variant kVariants[] = {
    {Variant::kShorter, 1, true}, {Variant::kAsLong, 3, false}, {Variant::kLonger, 1000, true}};

/// A file of several blocks that is rewritten while the act comes before the call `number`. A
/// neighbour puts a file or a directory of his own in the way by a swap.
class Meddling : public Changer {
 public:
  Meddling(const Scenario& scenario, const Variant& variant, int number)
      : Changer("x", Text(scenario, variant), {{"other/file.txt", "x"}}),
        scenario_(scenario),
        variant_(variant),
        number_(number),
        swapped_(scenario.act == Scenario::kFileIsSwapped ? kFile : "tree/sub"),
        before_(Content("x")),
        after_(Content(Text(scenario, variant))) {
    WriteFile(kFile, before_);
    WriteFile("source", after_);
    if (variant.hasOlderCopy) WriteFile(kCopy, "older");
    if (scenario.way == Scenario::kOverwritten ||
        (scenario.way == Scenario::kRewritten && variant.size != Variant::kShorter)) {
      fs::create_hard_link(kFile, "../link");
    }
    user_.emplace();
    Mark(kFile);
    fs::permissions("other/file.txt", fs::perms(0600));
    others_ = fs::status("other/file.txt").permissions();
    re.SetFilesToMatch("tree/*.txt");
    re.SetDirectoryRecursion(true);
    re.SetSaveExtension("bak");
    re.SetKeepCopies(!variant.hasOlderCopy);
    re.SetChangeHardLinks(true);
    re.SetOnChangingFilesClosure([this](auto&&...) { found_ = true; });
    open_ = OpenFiles();
  }

  /// Returns whether there was such a call.
  bool Run() {
    {
      const HookedSystemCalls hooked(
          [this](std::string_view name, Words& arguments) { return Act(name, arguments); });
      changes_ = scenario_.way != Scenario::kRewritten ? re.ChangeFiles()
                 : re.RewriteFile(kFile, "source")     ? 2
                                                       : 0;
    }
    Undo();
    return calls_ >= number_;
  }

  /// Each is what it was or what it is to be, and the copy is there before the file changes.
  void ExpectTheOldContentOrTheNew() const {
    const std::string now = ReadFile(kFile), copy = ReadFile(kCopy);
    EXPECT_TRUE(now == before_ || now == after_);
    EXPECT_TRUE(copy == before_ ||
                (now == before_ && copy == (variant_.hasOlderCopy ? "older" : "")));
  }

  void ExpectAllElseAsItWas() const {
    EXPECT_EQ(ReadFile("other/file.txt"), "x");
    EXPECT_EQ(fs::status("other/file.txt").permissions(), others_);
    EXPECT_EQ(std::distance(fs::directory_iterator("other"), {}), 1);
    EXPECT_EQ(std::distance(fs::directory_iterator("tree/sub"), {}),
              (fs::exists(kCopy) ? 2 : 1) + (last_ == "DeleteFileW"));
    EXPECT_EQ(ReadFile("../link") == ReadFile(kFile), fs::exists("../link"));
    EXPECT_EQ(OpenFiles(), open_);
  }

  void ExpectToBeTold() const {
    const bool changed = ReadFile(kFile) != before_;
    const auto problems = Problems();
    const bool markLost = !problems.empty() && problems.back().kind == RE::RestoreAttributesFailed;
    EXPECT_EQ(changes_, changed ? 2U : 0U);
    EXPECT_TRUE(markLost || IsMarked(kFile));
    // What is no file any more when the walk comes to it is passed over.
    const bool passedOver = scenario_.IsSwap() && !found_;
    if (changed && !markLost) {  // of a directory nothing more may have been told when all was
      EXPECT_TRUE(problems.empty() || fs::is_directory(problems[0].file));
    } else if (!passedOver) {
      EXPECT_EQ(problems.size(), 1U);
    }
  }

 private:
  static constexpr const char *kFile = "tree/sub/file.txt", *kCopy = "tree/sub/file.bak";

  static std::size_t Gap(const Scenario& scenario) { return scenario.IsSwap() ? 10 : 80000; }
  static std::string Text(const Scenario& scenario, const Variant& variant) {
    if (variant.size == Variant::kShorter) return "";
    return std::string(variant.size == Variant::kLonger ? Gap(scenario) + 5 : 1, 'y');
  }
  /// The text at the start and at the end.
  std::string Content(const std::string& text) const {
    return text + std::string(Gap(scenario_), '\0') + text + '\n';
  }

  int Act(std::string_view name, Words& arguments) {
    // Without an act, transfers come in halves, and what a process that ends here leaves is seen.
    if (number_ == 0 && IsTransfer(name)) Halve(arguments);
    if (number_ == 0 && scenario_.way == Scenario::kReplaced && !scenario_.IsSwap()) {
      ExpectTheOldContentOrTheNew();
    }
    if (++calls_ == number_ + variant_.undoneAfter) Undo();
    if (calls_ != number_) return 0;
    last_ = name;
    if (!scenario_.IsSwap()) return Halve(arguments), kBroken;
    fs::rename(swapped_, "aside");
    fs::create_symlink(fs::absolute(swapped_ == kFile ? "other/file.txt" : "other"), swapped_);
    return 0;
  }
  void Undo() const {
    if (!fs::is_symlink(swapped_)) return;
    fs::remove(swapped_);
    fs::rename("aside", swapped_);
  }

  const Scenario scenario_;
  const Variant variant_;
  const int number_;
  const std::string swapped_, before_, after_;
  std::optional<AsOrdinaryUser> user_;
  fs::perms others_ = {};
  decltype(OpenFiles()) open_ = 0;
  bool found_ = false;
  int calls_ = 0;
  std::string_view last_;
  unsigned changes_ = 0;
};

class EachCall : public testing::TestWithParam<Scenario> {};
INSTANTIATE_TEST_SUITE_P(Of, EachCall,
                         testing::ValuesIn(std::begin(kScenarios),
                                           std::begin(kScenarios) + (kIsPosix ? 5 : 3)));

TEST_P(EachCall, LeavesTheOldContentOrTheNew) {
  for (const Variant& variant : kVariants) {
    bool more = true;
    for (int number = 0; more; ++number) {
      SCOPED_TRACE(testing::Message() << "variant " << variant.size << " call " << number);
      Meddling meddling(GetParam(), variant, number);
      more = meddling.Run();
      meddling.ExpectTheOldContentOrTheNew();
      meddling.ExpectAllElseAsItWas();
      meddling.ExpectToBeTold();
    }
  }
}

TEST(ChangeFiles, ReplacesWhatHasTheNameOfTheCopy) {
  Changer c("x", "y", {{"a.b.c", "x"}, {"b", "x"}, {"c", "x"}, {"victim", "-"}, {"c.bak", "-"}});
  if (kIsPosix) fs::create_symlink("victim", "a.b.bak");
  fs::create_hard_link("victim", "b.bak");
  c.re.SetSaveExtension("bak");
  EXPECT_EQ(c.re.ChangeFiles(), 3U);
  EXPECT_EQ(ReadFile("victim"), "-");
  for (const char* const name : {"a.b.bak", "b.bak", "c.bak"}) {
    EXPECT_EQ(ReadFile(name), "x");
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
    EXPECT_EQ(c.re.ChangeFiles(), 0U);
    ASSERT_EQ(c.Problems().size(), 1U);
    EXPECT_EQ(Line(c.Problems()[0]), Line(told));
    EXPECT_EQ(Contents(), then);
    EXPECT_TRUE(fs::is_empty("../tmp"));
  }
}

}  // namespace
}  // namespace RegexClass::test
