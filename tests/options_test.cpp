// Both option sets against a second implementation of their rules, taken literally.

#include <set>

#include <gtest/gtest.h>

#include "TestHelpers.hpp"

namespace RegexClass::test {
namespace {

using Set = std::set<int>;

const Set kBasic = {1, 2, 3, 6, 7, 8};
const Set kExtended = {1, 2, 8};
const Set kNormal = {0, 1, 2, 8, 12};

/// The switches of a syntax, by its number.
Set Members(int preset) {
  switch (preset) {
    case 13:
    case 20:
      return kBasic;
    case 14:
      return kExtended;
    case 15:
    case 21:
      return kNormal;
    case 16:
      return {6, 7, 8, 9};
    case 17:
      return {0, 1, 2, 8};
    case 18:
      return {1, 2, 3, 4, 6, 7, 8};
    default:
      return {1, 2, 4, 8};
  }
}
int Twin(int preset) {
  return preset == 13 ? 20 : preset == 20 ? 13 : preset == 15 ? 21 : preset == 21 ? 15 : -1;
}
bool IsPreset(int option) { return option >= 13 && option <= 21; }

struct ModelSet {
  Set set;
  bool Has(int option) const { return set.count(option) != 0; }
  bool All(const Set& options) const {
    for (const int option : options) {
      if (!Has(option)) return false;
    }
    return true;
  }
  void Name(int preset) {
    for (int other = 13; other <= 21; ++other) set.erase(other);
    set.insert(preset);
  }
  void Recognise() {
    if (All({1, 2, 8})) {
      if (All({0, 12})) return Name(Has(21) ? 21 : 15);
      if (All({3, 6, 7}) && Has(4)) return Name(18);
      if (All({3, 6, 7})) return Name(Has(20) ? 20 : 13);
      if (Has(0)) return Name(17);
      if (Has(4)) return Name(19);
      return Name(14);
    }
    if (All({6, 7, 8, 9})) Name(16);
  }
  void Add(int option) {
    if (Has(option)) return;
    int former = -1;
    for (int preset = 21; preset >= 13; --preset) former = Has(preset) ? preset : former;
    set.insert(option);
    if (!IsPreset(option)) return Recognise();
    const Set members = Members(option);
    set.insert(members.begin(), members.end());
    if (former >= 0) {
      for (const int member : Members(former)) {
        if (members.count(member) == 0) set.erase(member);
      }
    }
    Name(option);
  }
  void Delete(int option) {
    if (!Has(option)) return;
    set.erase(option);
    if (IsPreset(option)) {
      set.erase(Twin(option));
      for (const int member : Members(option)) set.erase(member);
      return;
    }
    for (int preset = 13; preset <= 21; ++preset) {
      if (Has(preset) && !All(Members(preset))) set.erase(preset), set.erase(Twin(preset));
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
    ModelSet model{{0, 1, 2, 8, 12, 15}};
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
      for (const int member : model.set) {
        if (!IsPreset(member)) continue;
        ++presets;
        ASSERT_TRUE(model.All(Members(member)));
      }
      ASSERT_LE(presets, 1);
    }
  }
}

/// Steps from a new object: an option to add, or one to delete, given as -1 - option.
struct Sequence {
  const char* name;
  std::vector<int> steps;
  Set expected;
};

TEST(ExpressionOptions, FollowTheNamedSequences) {
  const Sequence sequences[] = {
      {"twins swap names", {21, 15, 21}, {0, 1, 2, 8, 12, 21}},
      {"a further switch keeps the name", {11}, {0, 1, 2, 8, 11, 12, 15}},
      {"deletion names nothing", {-13}, {0, 1, 2, 8}},
      {"an unrelated switch brings the name in", {-13, 11, -12}, {0, 1, 2, 8, 17}},
      {"sed becomes grep, and no sed again", {20, 4, -5}, {1, 2, 3, 6, 7, 8}},
      {"the last switch makes basic", {14, 6, 7, 3, 0}, {0, 1, 2, 3, 6, 7, 8, 13}},
      {"emacs turns into extended", {16, 1, 2}, {1, 2, 6, 7, 8, 9, 14}},
      {"deleting a syntax keeps other switches", {21, 11, -22}, {11}},
      {"grep to egrep", {18, 19}, {1, 2, 4, 8, 19}},
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
  const auto restrictions = [](const Set& set) {
    return std::distance(set.lower_bound(1), set.upper_bound(8));
  };
  for (int run = 0; run < 2000; ++run) {
    RE re;
    Set model = {0};
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
          if (option != 0 && restrictions(model) > 0) model.erase(0);
        }
      } else {
        re.DeleteMatchOption(static_cast<RE::Matches>(option));
        if (model.erase(option) != 0 && option != 0) {
          if (model.count(0) == 0 && restrictions(model) == 0) model.insert(0);
        }
      }
      for (int i = -1; i < 30; ++i) {
        ASSERT_EQ(re.IsMatchOption(static_cast<RE::Matches>(i)), model.count(i) != 0);
      }
    }
  }
}

TEST(MatchOptions, DoWhatTheySay) {
  struct Case {
    RE::Matches option;
    const char* expression;
    std::string text;
  };
  // Each finds something without the option and nothing with it.
  const Case cases[] = {
      {RE::MatchNotBol, "^a", "a"},
      {RE::MatchNotEol, "a$", "a"},
      {RE::MatchNotBob, "\\`a", "a"},
      {RE::MatchNotEob, "a\\'", "a"},
      {RE::MatchNotBow, "\\<a", "a"},
      {RE::MatchNotEow, "a\\>", "a"},
      {RE::MatchNotDotNewline, "a.b", "a\nb"},
      {RE::MatchNotDotNull, "a.b", std::string("a\0b", 3)},
      {RE::MatchNotNull, "x*", "a"},
      {RE::MatchContinuous, "b", "ab"},
  };
  for (const Case& c : cases) {
    RE re = Make(c.expression, c.text);
    EXPECT_TRUE(re.Search()) << c.expression;
    re.AddMatchOption(c.option);
    EXPECT_FALSE(re.Search()) << c.expression;
    re.DeleteMatchOption(c.option);
    EXPECT_TRUE(re.Search()) << c.expression;
  }
}

}  // namespace
}  // namespace RegexClass::test
