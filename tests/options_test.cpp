// What holds for both option sets after any sequence of changes.

#include <algorithm>
#include <set>
#include <sstream>

#include <gtest/gtest.h>

#include "TestHelpers.hpp"

namespace RegexClass::test {
namespace {

using Set = std::set<int>;

Set OptionsOf(const RE& re) {
  Set set;
  for (int option = -2; option < 40; ++option) {
    if (re.IsExpressionOption(static_cast<RE::Options>(option))) set.insert(option);
  }
  return set;
}

// The guide's table has the names that sets get and lose.
TEST(ExpressionOptions, NameAtMostOneSyntaxAndHaveItsSwitches) {
  Random random(1);
  for (int run = 0; run < 1000; ++run) {
    RE re;
    for (int step = 0; step < 60; ++step) {
      // Now and then a number that is no option; it is stored like a switch.
      const int number = random.Below(50) == 0 ? 30 : static_cast<int>(random.Below(22));
      const auto option = static_cast<RE::Options>(number);
      const bool adds = random.Below(3) != 0;
      const Set before = OptionsOf(re);
      adds ? re.AddExpressionOption(option) : re.DeleteExpressionOption(option);
      const Set after = OptionsOf(re);
      ASSERT_EQ(after.count(number) != 0, adds);
      ASSERT_TRUE(adds != (before.count(number) != 0) || after == before);
      const Set names(after.lower_bound(RE::BasicSyntax), after.upper_bound(RE::PerlSyntax));
      ASSERT_LE(names.size(), 1U);
      RE named;
      named.ClearExpressionOptions();
      for (const int name : names) named.AddExpressionOption(static_cast<RE::Options>(name));
      const Set members = OptionsOf(named);
      ASSERT_TRUE(std::includes(after.begin(), after.end(), members.begin(), members.end()));
    }
  }
}

TEST(ExpressionOptions, MeanASyntaxThatARecordNamesAlone) {
  RE re;
  std::istringstream("2 2 13 20 0 0 0 0 0 1 0 0 0 5 \\(a\\) 0 0 0 0 0") >> re;
  EXPECT_EQ(re.NumberOfSubexpressions(), 1U);
  re.DeleteExpressionOption(RE::BasicSyntax);  // goes with its other name
  EXPECT_EQ(OptionsOf(re), Set());
}

TEST(MatchOptions, KeepTheDefaultApartFromTheRestrictions) {
  Random random(2);
  for (int run = 0; run < 1000; ++run) {
    RE re;
    Set set = {0};
    for (int step = 0; step < 40; ++step) {
      const int number = random.Below(50) == 0 ? 20 : static_cast<int>(random.Below(13));
      const auto option = static_cast<RE::Matches>(number);
      const auto restricted = [&] { return set.lower_bound(1) != set.upper_bound(8); };
      if (random.Below(40) == 0) {
        re.ClearMatchOptions();
        set.clear();
      } else if (random.Flip()) {
        re.AddMatchOption(option);
        const bool added = set.insert(number).second;
        if (added && number == 0) set.erase(set.lower_bound(1), set.upper_bound(8));
        if (added && number != 0 && restricted()) set.erase(0);
      } else {
        re.DeleteMatchOption(option);
        if (set.erase(number) != 0 && number != 0 && !restricted()) set.insert(0);
      }
      for (int i = -1; i < 30; ++i) {
        ASSERT_EQ(re.IsMatchOption(static_cast<RE::Matches>(i)), set.count(i) != 0);
      }
    }
  }
}

}  // namespace
}  // namespace RegexClass::test
