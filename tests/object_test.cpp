// SPDX-License-Identifier: BSL-1.0
// What an object remembers of its compiles, and what a copy takes over of it.

#include <algorithm>
#include <functional>
#include <locale>
#include <memory>
#include <new>

#include <gtest/gtest.h>

#include "TestHelpers.hpp"

namespace RegexClass::test {

extern int allocationsLeft;  // until there is no memory; below 0 for all

namespace {

/// Groups that the object knows of without compiling.
unsigned int KnownGroups(const RE& re) { return re.NumberOfSubexpressions(); }

/// Counts how often the engine asks for the collation of a text, as it does when it compiles.
class Collation : public std::collate<char> {
 public:
  explicit Collation(int& asked) : asked_(asked) {}

 private:
  std::string do_transform(const char* first, const char* last) const override {
    ++asked_;
    return std::collate<char>::do_transform(first, last);
  }
  int& asked_;
};

TEST(Object, CompilesOnceUntilSomethingThatMattersChanges) {
  const std::pair<std::function<void(RE&)>, bool> changes[] = {
      {[](RE& re) { re.SetExpression("[a-b](.)"); }, true},
      {[](RE& re) { re.SetExpression("([a-c])"); }, false},
      {[](RE& re) { re.AddExpressionOption(RE::Icase); }, true},
      {[](RE& re) { re.AddExpressionOption(RE::AwkSyntax); }, false},
      {[](RE& re) { re.AddExpressionOption(RE::ExtendedSyntax); }, true},
      {[](RE& re) { re.DeleteExpressionOption(RE::BkRefs); }, true},
      {[](RE& re) { re.DeleteExpressionOption(RE::Icase); }, false},
      {[](RE& re) { re.ClearExpressionOptions(); }, true},
      {[](RE& re) { re.SetLocale(re.GetLocale()); }, true},
      {[](RE& re) { re.SetLocaleDll(""); }, false},
      {[](RE& re) { re.SetStringToMatch("b"), re.ClearMatchOptions(); }, false},
      {[](RE& re) { re.SetLocaleModel(RE::CLocale), re.SetLocaleModel(RE::CppLocale); }, false},
      {[](RE& re) {
         const RE copy = re;
         re = copy;
       },
       true},
      {[](RE& re) {
         RE other;
         swap(re, other), re = std::move(other);
       },
       false},
      {[](RE& re) { re = static_cast<const RE&>(re); }, false},
  };
  int number = 0;
  for (const auto& [change, matters] : changes) {
    SCOPED_TRACE(number++);
    int asked = 0;
    RE re = Make("([a-c])", "b");
    re.AddExpressionOption(RE::AwkSyntax);
    re.DeleteExpressionOption(RE::NoCollate);
    re.SetLocale(std::locale(std::locale::classic(), std::make_unique<Collation>(asked).release()));
    EXPECT_TRUE(re.MatchAll());
    EXPECT_EQ(KnownGroups(re), 1U);
    change(re);
    EXPECT_EQ(KnownGroups(re), matters ? 0U : 1U);
    asked = 0;
    EXPECT_EQ(re.ParseExpression(), RE::NoError);
    EXPECT_EQ(asked > 0, matters);
    EXPECT_EQ(KnownGroups(re), 1U);
  }
}

TEST(Object, MovesWithAllThatItHas) {
  const std::locale own(std::locale::classic(), new std::numpunct<char>);
  std::vector<RE> objects(1);
  objects[0] = Make("(a)(b)", "ab");
  objects[0].SetLocale(own);
  objects[0].SetOnSearchingClosure([](auto&&...) {});
  EXPECT_TRUE(objects[0].Search());
  const RE copy = objects[0];
  objects.resize(9);
  EXPECT_EQ(KnownGroups(objects[0]), 2U);
  EXPECT_EQ(objects[0].GetLocale(), own);
  EXPECT_FALSE(objects[0].GetOnSearchingClosure().empty());
  const RE taken = std::move(objects[0]);
  EXPECT_TRUE(taken == copy && taken != objects[0]);
  EXPECT_TRUE(objects[0] == RE() && objects[0].GetOnSearchingClosure().empty());
  EXPECT_NE(objects[0].GetLocale(), own);

  RE re = Make("x", "xx");  // moved from and into while it runs
  unsigned int runs = 0;
  re.SetOnGreppingClosure([&](RE* running, auto&&...) {
    if (++runs == 1)
      *running = RE();
    else
      RE().Swap(*running);
  });
  EXPECT_EQ(re.Grep(), 2U);
  EXPECT_EQ(re, RE());
}

TEST(Object, KeepsARecordForEachModel) {
  RE re = Make("(", "");
  const auto tells = [&re](bool failure) {
    EXPECT_EQ(!re.GetExpressionError().empty(), failure);
    EXPECT_EQ(re.GetExpressionErrorPosition(), failure ? 1 : -1);
  };
  re.SetLocaleModel(RE::W32Locale);
  EXPECT_EQ(re.ParseExpression(), RE::UnmatchedParenthesis);
  re.SetLocaleModel(RE::CLocale);
  tells(false);
  EXPECT_EQ(re.ParseExpression(), RE::UnmatchedParenthesis);
  re.SetLocaleModel(RE::W32Locale);
  tells(true);
  re.SetExpression("(a)(b)");
  tells(false);
  for (const auto model : {RE::CppLocale, RE::W32Locale, RE::CLocale}) {
    re.SetLocaleModel(model);
    EXPECT_EQ(re.NumberOfSubexpressions(), 2U);
    tells(false);
  }
  re.SetExpression("(");
  EXPECT_EQ(re.NumberOfSubexpressions(), 0U);
  // A number that is no model works with what belongs to CppLocale, and tells nothing of it.
  re.SetExpression("(a)(b)");
  re.SetLocaleModel(static_cast<RE::LocaleModels>(9));
  re.SetStringToMatch("ab");
  EXPECT_TRUE(re.Match());
  EXPECT_EQ(re.NumberOfSubexpressions(), 0U);
  re.SetExpression("(");
  EXPECT_EQ(re.ParseExpression(), RE::UnmatchedParenthesis);
  tells(false);
  re = Make("(?<=a*)b", "");  // the engine doesn't know where
  EXPECT_TRUE(re.ParseExpression() == RE::BadPattern && re.GetExpressionErrorPosition() == -1);

  // An assignment makes all of them compile again.
  const RE other = Make("(x)", "");
  for (const auto model : {RE::CppLocale, RE::W32Locale, RE::CLocale}) {
    re.SetLocaleModel(model);
    re.SetExpression("(");
    re.ParseExpression();
    re = other;
    re.SetLocaleModel(model);
    EXPECT_EQ(re.GetExpressionError(), "");
    EXPECT_EQ(re.NumberOfSubexpressions(), 1U);
  }
}

TEST(Object, CopiesNotificationsButNoLocale) {
  int asked = 0;
  const std::locale mine(std::locale::classic(), std::make_unique<Collation>(asked).release());
  RE source = Make("a", "a"), target;
  source.SetLocale(mine);
  source.SetStepLimit(7);
  target = source;
  RE copy(source);
  EXPECT_TRUE(source.GetLocale() == mine && copy.GetLocale() == std::locale() &&
              target.GetLocale() == std::locale());
  for (RE* const re : {&copy, &target}) {
    Recorder recorder(*re);  // expects to be told of this object
    source = *re;
    EXPECT_TRUE(re->Search());
    EXPECT_EQ(recorder.Reports().size(), 1U);
    EXPECT_EQ(std::exchange(*re, RE()).GetStepLimit(), 7U);
    EXPECT_EQ(re->GetStepLimit(), 0U);
  }
}

/// Lets `act` run out of memory at its first allocation, its second, and so on, until it needs no
/// more; `prepare` is called before each time, and `check` behind each with whether it ran out.
void RunOutOfMemory(const std::function<void()>& prepare, const std::function<void()>& act,
                    const std::function<void(bool)>& check) {
  bool out = true;
  for (int count = 0; out; ++count) {
    prepare();
    try {
      allocationsLeft = count;
      act();
      out = false;
    } catch (const std::bad_alloc&) {
    }
    allocationsLeft = -1;
    check(out);
  }
}

TEST(Object, StaysWholeWithoutMemory) {
  const RE other = Make(std::string(99, 'b') + "|\\.", std::string(99, 'c'));
  const std::function<void(RE&)> changes[] = {
      [](RE& re) { re.AddExpressionOption(RE::BasicSyntax); },
      [](RE& re) { re.AddExpressionOption(RE::AwkSyntax); },
      [](RE& re) { re.DeleteExpressionOption(RE::EgrepSyntax); },
      [](RE& re) { re.AddMatchOption(RE::MatchDefault); },
      [](RE& re) { re.DeleteMatchOption(RE::MatchNotBol); },
      [&other](RE& re) { re = other; },
  };
  for (const auto& change : changes) {
    RE before = Make("\\(a|^a\\)+", "aa+");
    before.AddExpressionOption(RE::EgrepSyntax);
    before.AddMatchOption(RE::MatchNotBol);
    RE after = before, re;
    change(after);
    RunOutOfMemory([&] { (re = before).ParseExpression(); }, [&] { change(re); },
                   [&](bool out) {
                     RE& same = out ? before : after;
                     EXPECT_EQ(re, same);
                     EXPECT_EQ(re.Search(), same.Search());
                     EXPECT_EQ(re.ParseExpression(), same.ParseExpression());
                   });
  }

  // A compile under a facet that nobody else has, and others behind it.
  int asked = 0;
  const auto compile = [&asked](RE& re) {
    re = Make("[a-c]+", "b");
    re.AddExpressionOption(RE::ExtendedSyntax);
    re.SetLocale(std::locale(std::locale(), std::make_unique<Collation>(asked).release()));
  };
  std::vector<RE> objects(9);
  RunOutOfMemory([&] { compile(objects[0]); }, [&] { objects[0].ParseExpression(); },
                 [&](bool) {
                   std::for_each(objects.begin() + 1, objects.end(), compile);
                   for (RE& each : objects) EXPECT_TRUE(each.Search());
                 });
}

TEST(Object, RefusesWhatWouldTakeTheStack) {
  std::string deep = "a";
  for (int i = 0; i < 500; ++i) deep.insert(0, 1, '(').push_back(')');
  std::string words = "(?x:a)#|";
  for (int i = 0; i < 20000; ++i) words += "[[:<:]]$";
  for (const std::string& expression : {deep, std::string(40000, '$'), words}) {
    RE re = Make(expression, "a");
    EXPECT_EQ(re.ParseExpression(), RE::OutOfSpace);
    EXPECT_FALSE(re.Search());
  }
}

TEST(Object, TakesManyWaysRoundARepeat) {
  std::string words, empty;
  for (int i = 0; i < 100000; ++i) words += "ab|";
  for (int i = 0; i < 40; ++i) empty += "(|\\b)";
  for (int model = RE::CppLocale; model <= RE::UnicodeLocale; ++model) {
    RE re = Make("(?:(?:" + words + "c)y?)*", "yc");
    re.SetLocaleModel(static_cast<RE::LocaleModels>(model));
    if (!IsBuilt(re.GetLocaleModel())) continue;
    EXPECT_EQ(re.ParseExpression(), RE::NoError);
    re.SetExpression("(?:" + empty + "y?)*c");
    EXPECT_TRUE(re.MatchAll());
  }
}

}  // namespace
}  // namespace RegexClass::test
