// Both option sets against a second implementation of their rules, taken literally.

#include <algorithm>
#include <map>
#include <set>

#include <gtest/gtest.h>

#include "TestHelpers.hpp"

namespace RegexClass::test {
namespace {

using Set = std::set<int>;

const Set kBasic = {1, 2, 3, 6, 7, 8};
const Set kNormal = {0, 1, 2, 8, 12};
const std::map<int, Set> kMembers = {
    {13, kBasic},       {14, {1, 2, 8}},    {15, kNormal},
    {16, {6, 7, 8, 9}}, {17, {0, 1, 2, 8}}, {18, {1, 2, 3, 4, 6, 7, 8}},
    {19, {1, 2, 4, 8}}, {20, kBasic},       {21, kNormal}};
const std::map<int, int> kTwins = {{13, 20}, {20, 13}, {15, 21}, {21, 15}};

struct ModelSet {
  Set set = {0, 1, 2, 8, 12, 15};

  bool Has(int option) const { return set.count(option) != 0; }
  bool All(const Set& options) const {
    return std::all_of(options.begin(), options.end(), [&](int option) { return Has(option); });
  }
  void Name(int name) {
    for (const auto& preset : kMembers) set.erase(preset.first);
    set.insert(name);
  }
  void Recognise() {
    if (All({1, 2, 8})) {
      if (All({0, 12})) return Name(Has(21) ? 21 : 15);
      if (All({3, 6, 7})) return Name(Has(4) ? 18 : Has(20) ? 20 : 13);
      return Name(Has(0) ? 17 : Has(4) ? 19 : 14);
    }
    if (All({6, 7, 8, 9})) Name(16);
  }
  void Add(int option) {
    if (Has(option)) return;
    const Set before = set;
    set.insert(option);
    if (kMembers.count(option) == 0) return Recognise();
    const Set& members = kMembers.at(option);
    for (const auto& [name, formerMembers] : kMembers) {
      if (before.count(name) == 0) continue;
      for (const int member : formerMembers) {
        if (members.count(member) == 0) set.erase(member);
      }
    }
    set.insert(members.begin(), members.end());
    Name(option);
  }
  void Delete(int option) {
    if (set.erase(option) == 0) return;
    if (kMembers.count(option) != 0) {
      if (kTwins.count(option) != 0) set.erase(kTwins.at(option));
      for (const int member : kMembers.at(option)) set.erase(member);
      return;
    }
    for (const auto& [name, members] : kMembers) {
      if (!All(members)) set.erase(name);
    }
  }
};

Set ExpressionOptionsOf(const RE& re) {
  Set set;
  for (int option = -2; option < 40; ++option) {
    if (re.IsExpressionOption(static_cast<RE::Options>(option))) set.insert(option);
  }
  return set;
}

TEST(ExpressionOptions, FollowTheRulesInRandomSequences) {
  Random random(1);
  for (int run = 0; run < 2000; ++run) {
    RE re;
    ModelSet model;
    for (int step = 0; step < 60; ++step) {
      // Now and then a number that is no option; it is stored like a switch.
      const int option = random.Below(50) == 0 ? 30 : static_cast<int>(random.Below(22));
      const std::size_t what = random.Below(40);
      if (what == 0) {
        re.ClearExpressionOptions();
        model.set.clear();
      } else if (what < 26) {
        re.AddExpressionOption(static_cast<RE::Options>(option));
        model.Add(option);
      } else {
        re.DeleteExpressionOption(static_cast<RE::Options>(option));
        model.Delete(option);
      }
      ASSERT_EQ(ExpressionOptionsOf(re), model.set) << "run " << run << " step " << step;
      int presets = 0;
      for (const auto& [name, members] : kMembers) {
        presets += model.Has(name) ? 1 : 0;
        ASSERT_TRUE(!model.Has(name) || model.All(members));
      }
      ASSERT_LE(presets, 1);
    }
  }
}

TEST(ExpressionOptions, FollowTheNamedSequences) {
  struct Sequence {
    const char* name;
    std::vector<int> steps;  // from a new object: an option to add, or -1 - one to delete
    Set expected;
  };
  const Sequence sequences[] = {
      {"twins swap names", {21, 15, 21}, {0, 1, 2, 8, 12, 21}},
      {"deletion names nothing", {-13}, {0, 1, 2, 8}},
      {"an unrelated switch brings the name in", {-13, 11, -12}, {0, 1, 2, 8, 17}},
      {"sed becomes grep, and no sed again", {20, 4, -5}, {1, 2, 3, 6, 7, 8}},
      {"the last switch makes basic", {14, 6, 7, 3, 0}, {0, 1, 2, 3, 6, 7, 8, 13}},
      {"emacs turns into extended", {16, 1, 2}, {1, 2, 6, 7, 8, 9, 14}},
      {"deleting a syntax keeps other switches", {21, 11, -22}, {11}},
  };
  for (const Sequence& sequence : sequences) {
    RE re;
    for (const int step : sequence.steps) {
      if (step >= 0) re.AddExpressionOption(static_cast<RE::Options>(step));
      if (step < 0) re.DeleteExpressionOption(static_cast<RE::Options>(-1 - step));
    }
    EXPECT_EQ(ExpressionOptionsOf(re), sequence.expected) << sequence.name;
  }
}

TEST(MatchOptions, FollowTheRulesInRandomSequences) {
  Random random(2);
  for (int run = 0; run < 2000; ++run) {
    RE re;
    Set model = {0};
    const auto restricted = [&] { return model.lower_bound(1) != model.upper_bound(8); };
    for (int step = 0; step < 40; ++step) {
      const int option = random.Below(50) == 0 ? 20 : static_cast<int>(random.Below(13));
      const std::size_t what = random.Below(40);
      if (what == 0) {
        re.ClearMatchOptions();
        model.clear();
      } else if (what < 22) {
        re.AddMatchOption(static_cast<RE::Matches>(option));
        if (model.insert(option).second) {
          if (option == 0) model.erase(model.lower_bound(1), model.upper_bound(8));
          if (option != 0 && restricted()) model.erase(0);
        }
      } else {
        re.DeleteMatchOption(static_cast<RE::Matches>(option));
        if (model.erase(option) != 0 && option != 0 && !restricted()) model.insert(0);
      }
      for (int i = -1; i < 30; ++i) {
        ASSERT_EQ(re.IsMatchOption(static_cast<RE::Matches>(i)), model.count(i) != 0);
      }
    }
  }
}

}  // namespace
}  // namespace RegexClass::test
