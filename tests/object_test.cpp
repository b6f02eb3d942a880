// The object as a value, and its compile records.

#include <functional>
#include <thread>

#include <gtest/gtest.h>

#include "TestHelpers.hpp"

namespace RegexClass::test {
namespace {

static_assert(sizeof(RE) == 2 * sizeof(void*),
              "one pointer to the record and a virtual destructor");

/// Changes one setting each.
const std::vector<std::function<void(RE&)>> kSettings = {
    [](RE& re) { re.SetExpression("e"); },
    [](RE& re) { re.SetStringToMatch(std::string("s\0t", 3)); },
    [](RE& re) { re.SetFilesToMatch("f"); },
    [](RE& re) { re.SetFormatString("$&"); },
    [](RE& re) { re.SetSaveExtension("bak"); },
    [](RE& re) { re.SetDirectoryRecursion(true); },
    [](RE& re) { re.SetMergeCopy(true); },
    [](RE& re) { re.SetMergeOnlyFirst(true); },
    [](RE& re) { re.SetMaximumSplits(5); },
    [](RE& re) { re.SetSplitInputDelete(true); },
    [](RE& re) { re.SetContinueFiles(false); },
    [](RE& re) { re.SetFormatType(static_cast<RE::FormatTypes>(7)); },
    [](RE& re) { re.SetLocaleModel(RE::CLocale); },
    [](RE& re) { re.AddExpressionOption(RE::Icase); },
    [](RE& re) { re.AddMatchOption(RE::MatchAny); },
};

TEST(Object, ComparesAndCopiesEverySetting) {
  EXPECT_TRUE(RE().GetContinueFiles());
  EXPECT_EQ(RE().ParseExpression(), RE::NoExpression);
  EXPECT_EQ(RE().GetExpressionError(), "Empty expression");
  for (std::size_t i = 0; i < kSettings.size(); ++i) {
    RE changed;
    kSettings[i](changed);
    EXPECT_FALSE(changed == RE()) << i;

    RE copy(changed);
    RE assigned;
    for (const auto& set : kSettings) set(assigned);
    assigned = changed;
    EXPECT_TRUE(copy == changed && assigned == changed) << i;

    // Independent in both directions.
    const RE before(changed);
    const std::size_t other = (i + 1) % kSettings.size();
    kSettings[other](copy);
    EXPECT_TRUE(changed == before && !(copy == changed)) << i;
    kSettings[other](changed);
    EXPECT_TRUE(changed == copy && assigned == before) << i;
  }
}

RE* notified = nullptr;
void Notify(RE* object, const std::vector<REMatch>&, unsigned int, unsigned int) {
  notified = object;
}

TEST(Object, CopiesNotificationsButNoLocaleAndNoCompiledExpression) {
  class Yes : public std::numpunct<char> {
    std::string do_truename() const override { return "yes"; }
  };
  const std::locale mine(std::locale::classic(), new Yes);
  RE source = Make("(a)", "a");
  source.SetLocale(mine);
  source.SetOnSearching(&Notify);
  EXPECT_EQ(source.NumberOfSubexpressions(), 1u);

  RE copy(source);
  RE target;
  const std::locale targets(std::locale::classic(), new Yes);
  target.SetLocale(targets);
  target = source;
  EXPECT_TRUE(copy == source && target == source);
  EXPECT_TRUE(source.GetLocale() == mine && copy.GetLocale() == std::locale() &&
              target.GetLocale() == targets);
  for (RE* const re : {&copy, &target}) {
    EXPECT_EQ(std::as_const(*re).NumberOfSubexpressions(), 0u);
    EXPECT_TRUE(re->Search());
    EXPECT_EQ(notified, re);
    EXPECT_EQ(std::as_const(*re).NumberOfSubexpressions(), 1u);
  }
  RE& alias = target;
  target = alias;  // and keeps its compiled expression
  EXPECT_EQ(std::as_const(target).NumberOfSubexpressions(), 1u);
  copy.SetOnSearching(nullptr);
  EXPECT_EQ(target.GetOnSearching(), &Notify);
}

// ------------------------------------------------------------------------------- compilation

TEST(Compilation, RefusesWhatWouldTakeTheStack) {
  std::string deep = "a";
  for (int i = 0; i < 500; ++i) deep = "(" + deep + ")";
  for (const std::string& expression : {deep, std::string(40000, '$')}) {
    RE re = Make(expression, "a");
    EXPECT_EQ(re.ParseExpression(), RE::OutOfSpace);
    EXPECT_FALSE(re.Search());
  }
}

TEST(Compilation, RemembersTheOutcomeUntilSomethingThatMattersChanges) {
  // A change, and whether it marks the record not parsed, so that no groups are known any more.
  const std::pair<std::function<void(RE&)>, bool> changes[] = {
      {[](RE& re) { re.SetExpression("((a))"); }, true},
      {[](RE& re) { re.SetExpression("(a)"); }, false},
      {[](RE& re) { re.AddExpressionOption(RE::Icase); }, true},
      {[](RE& re) { re.AddExpressionOption(RE::NormalSyntax); }, false},
      {[](RE& re) { re.AddExpressionOption(RE::PerlSyntax); }, true},
      {[](RE& re) { re.DeleteExpressionOption(RE::NoCollate); }, true},
      {[](RE& re) { re.DeleteExpressionOption(RE::Icase); }, false},
      {[](RE& re) { re.ClearExpressionOptions(); }, true},
      {[](RE& re) { re.SetLocale(re.GetLocale()); }, true},
      {[](RE& re) { re.SetStringToMatch("b"), re.ClearMatchOptions(); }, false},
      {[](RE& re) { re.SetLocaleModel(RE::CLocale), re.SetLocaleModel(RE::CppLocale); }, false},
  };
  for (const auto& [change, marks] : changes) {
    RE re = Make("(a)", "a");
    re.ParseExpression();
    change(re);
    EXPECT_EQ(std::as_const(re).NumberOfSubexpressions(), marks ? 0u : 1u);
  }
}

/// Counts how often the engine asks for the collation of a text, as it does when it compiles.
class CountingCollation : public std::collate<char> {
 public:
  explicit CountingCollation(int& count) : count_(count) {}

 private:
  std::string do_transform(const char* first, const char* last) const override {
    ++count_;
    return std::collate<char>::do_transform(first, last);
  }
  int& count_;
};

TEST(Compilation, DoesntReachTheEngineASecondTime) {
  int asked = 0;
  RE re = Make("[a-c]", "b");
  re.DeleteExpressionOption(RE::NoCollate);
  re.SetLocale(std::locale(std::locale::classic(), new CountingCollation(asked)));
  EXPECT_EQ(re.ParseExpression(), RE::NoError);
  const int once = asked;
  EXPECT_GT(once, 0);
  EXPECT_EQ(re.ParseExpression(), RE::NoError);
  EXPECT_EQ(asked, once);
  re.AddExpressionOption(RE::Icase);
  EXPECT_EQ(re.ParseExpression(), RE::NoError);
  EXPECT_GT(asked, once);
}

TEST(Compilation, KeepsARecordForEachModel) {
  RE re = Make("(", "");
  re.SetLocaleModel(RE::W32Locale);
  EXPECT_EQ(re.ParseExpression(), RE::UnmatchedParenthesis);
  re.SetLocaleModel(RE::CLocale);
  EXPECT_EQ(re.GetExpressionError(), "");
  EXPECT_EQ(re.ParseExpression(), RE::UnmatchedParenthesis);
  re.SetLocaleModel(RE::W32Locale);
  EXPECT_NE(re.GetExpressionError(), "");
  re.SetExpression("(a)(b)");
  EXPECT_EQ(re.GetExpressionError(), "");
  EXPECT_EQ(re.NumberOfSubexpressions(), 2u);
  EXPECT_EQ(re.GetExpressionError(), "");

  // A number that is no model works with what belongs to CppLocale, and tells nothing of it.
  re.SetLocaleModel(static_cast<RE::LocaleModels>(9));
  re.SetStringToMatch("ab");
  EXPECT_TRUE(re.Match());
  EXPECT_EQ(re.NumberOfSubexpressions(), 0u);
  re.SetExpression("(");
  EXPECT_EQ(re.ParseExpression(), RE::UnmatchedParenthesis);
  EXPECT_EQ(re.GetExpressionError(), "");
}

TEST(Compilation, TakesAnyByteInListsAndClasses) {
  for (const RE::LocaleModels model : {RE::CppLocale, RE::W32Locale, RE::CLocale}) {
    for (const bool collate : {false, true}) {
      for (int byte = 1; byte < 256; ++byte) {
        const std::string c(1, static_cast<char>(byte));
        const bool special = byte < 128 && std::ispunct(byte);
        RE re = Make("[" + std::string(special ? "\\" : "") + c + "-\xff]+[^[:alpha:]]*", c);
        if (collate) re.DeleteExpressionOption(RE::NoCollate);
        re.SetLocaleModel(model);
        re.AddExpressionOption(RE::Icase);
        EXPECT_EQ(re.ParseExpression(), RE::NoError) << byte;
        EXPECT_TRUE(re.MatchAll()) << byte;
      }
    }
  }
}

TEST(Compilation, RunsOnSeveralThreadsAtOnce) {
  std::vector<std::thread> threads;
  for (int t = 0; t < 4; ++t) {
    threads.emplace_back([t] {
      RE re;
      for (int i = 0; i < 200; ++i) {
        const std::string letter(1, static_cast<char>('a' + (t + i) % 26));
        re.SetLocaleModel(static_cast<RE::LocaleModels>(i % 3));
        re.SetExpression("([[:alpha:]]" + letter + ")+|" + (i % 5 == 0 ? "(" : ""));
        re.SetStringToMatch("x" + letter);
        EXPECT_EQ(re.ParseExpression(), i % 5 == 0 ? RE::UnmatchedParenthesis : RE::NoError);
        EXPECT_EQ(re.Match(), i % 5 != 0);
      }
    });
  }
  for (std::thread& thread : threads) thread.join();
}

}  // namespace
}  // namespace RegexClass::test
