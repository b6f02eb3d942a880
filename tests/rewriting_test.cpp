// Format, Merge and Split.

#include <cstdint>
#include <tuple>

#include <boost/regex/pattern_except.hpp>
#include <gtest/gtest.h>

#include "TestHelpers.hpp"

namespace RegexClass::test {
namespace {

/// What Format gives in a report of each event that has results to format.
std::string Formatted(RE& re) {
  std::string fromSearch, fromMatch, fromGrep, outside = "old";
  re.SetOnSearchingClosure([&](RE* o, auto&&...) { o->Format(fromSearch); });
  re.SetOnMatchingClosure([&](RE* o, auto&&...) { o->Format(fromMatch); });
  re.SetOnGreppingClosure([&](RE* o, auto&&...) { o->Format(fromGrep); });
  EXPECT_TRUE(re.Search() && re.MatchAll() && re.Grep() == 1);
  EXPECT_EQ(fromSearch, fromMatch);
  EXPECT_EQ(fromSearch, fromGrep);
  re.Format(outside);
  EXPECT_EQ(outside, "");
  return fromSearch;
}

// The guide's table has the constructs in which the syntaxes differ, and is tested on its own.
TEST(Format, WorksInEveryReportOfAMatch) {
  // The format string, and what it gives in the syntax of FormatAll, FormatSed and FormatPerl.
  const char* const cases[][4] = {
      {"x$0y&", "xon Maey&", "x$0yon Mae", "xon Maey&"},
      {"$+{last}${last}", "Mae${last}", "$+{last}${last}", "Mae${last}"},
      {"(?1yes:no)(?3yes:no)", "yesno", "(?1yes:no)(?3yes:no)", "(?1yes:no)(?3yes:no)"},
      {"\\$1", "$1", "$1", "$1"},
  };
  RE re = Make("(\\w+) (?<last>\\w+)(?:(x))?", "on Mae");
  for (const auto& [format, all, sed, perl] : cases) {
    const char* const expected[] = {all, sed, perl, all};  // any other number is FormatAll
    for (int type = 0; type < 4; ++type) {
      re.SetFormatString(std::string(format) + '\0' + "behind the end");
      re.SetFormatType(static_cast<RE::FormatTypes>(type));
      EXPECT_EQ(Formatted(re), expected[type]) << format << " in syntax " << type;
    }
  }
}

// ------------------------------------------------------------------------------------- Merge

std::string Merged(RE& re) {
  std::string out = "old";
  re.Merge(out);
  return out;
}

/// Merges with a subscriber that does what `act` does with the count of its calls and the bool.
template <class Act>
std::string MergedUnder(RE& re, Act act) {
  int calls = 0;
  re.SetOnMergingClosure([&](RE*, const std::vector<REMatch>&, unsigned, unsigned, bool& goOn) {
    act(++calls, goOn);
  });
  const std::string out = Merged(re);
  re.SetOnMergingClosure(RE::WalkClosure());
  return out;
}

TEST(Merge, LetsASubscriberDecide) {
  RE re = Make("a", "banana");
  re.SetFormatString("x");
  re.SetMergeCopy(true);
  const auto vetoAt = [&](int call) {
    return MergedUnder(re, [=](int calls, bool& goOn) { goOn = calls != call; });
  };
  EXPECT_EQ(vetoAt(1), "banana");
  EXPECT_EQ(vetoAt(2), "bxnana");
  EXPECT_EQ(vetoAt(0), "bxnxnx");
  const auto numbered = [&](int calls, bool&) {
    re.SetFormatString("[" + std::to_string(calls) + "$0]");
    re.SetFormatType(calls == 2 ? RE::FormatSed : RE::FormatAll);
  };
  EXPECT_EQ(MergedUnder(re, numbered), "b[1a]n[2$0]n[3a]");
  re.SetMergeCopy(false);
  EXPECT_EQ(vetoAt(1), "");
  re.SetFormatString("x");
  // What has been passed without copying is copied when copying sets in.
  EXPECT_EQ(MergedUnder(re, [&](int calls, bool&) { re.SetMergeCopy(calls >= 2); }), "xxananx");
  re.SetMergeCopy(false);
  EXPECT_EQ(re.GetStringToMatch(), "banana");
  // Without a subscriber the format type has no say.
  re.SetFormatType(RE::FormatSed);
  re.SetFormatString("$0&");
  EXPECT_EQ(Merged(re), "a&a&a&");
  EXPECT_EQ(MergedUnder(re, [](int, bool&) {}), "$0a$0a$0a");
  re.SetExpression("(");
  EXPECT_EQ(Merged(re), "");
  re = Make(R"((?<=\Kx)x)", "xxxx");
  EXPECT_THROW(Merged(re), boost::regex_error);  // the second match begins in the first
}

TEST(Merge, GoesOnWithWhatItStartedWith) {
  RE re = Make("a", "banana");
  re.SetMergeCopy(true);
  re.SetFormatString("x");
  const auto meddle = [&](int, bool&) {
    std::vector<std::string> pieces;
    std::string other;
    re.SetStringToMatch("ppp");
    re.SetExpression("p");
    re.SetOnMerging(nullptr);
    re.SetMergeOnlyFirst(true);
    EXPECT_EQ(re.Grep(), 3u);
    EXPECT_EQ(re.Split(pieces), 0u);
  };
  EXPECT_EQ(MergedUnder(re, meddle), "bxnxnx");
}

/// The replacements by hand, from the matches that Grep reports.
std::string MergedByHand(RE& re) {
  const std::string text = re.GetStringToMatch();
  std::string out;
  std::size_t done = 0;
  re.SetOnGreppingClosure(
      [&](RE* o, const std::vector<REMatch>& matches, unsigned, unsigned, bool& goOn) {
        const auto at = static_cast<std::size_t>(matches[0].position);
        std::string replacement;
        o->Format(replacement);
        if (re.GetMergeCopy()) out += text.substr(done, at - done);
        out += replacement;
        done = at + matches[0].text.size();
        goOn = !re.GetMergeOnlyFirst();
      });
  re.Grep();
  if (re.GetMergeCopy()) out += text.substr(done);
  return out;
}

TEST(Merge, BothRoadsReplaceWhatGrepReports) {
  Random random(4);
  for (int i = 0; i < Cases(10000); ++i) {
    RE re = Make(random.Expression(), random.Text("ab\n", 9));
    if (re.ParseExpression() != RE::NoError) continue;
    static const char* const kFormats[] = {"", "<$0>", "$1", "(?1x:y)", "$`|$'"};
    re.SetFormatString(kFormats[random.Below(std::size(kFormats))]);
    re.SetMergeCopy(random.Flip());
    re.SetMergeOnlyFirst(random.Flip());
    const std::string byEngine = Merged(re);
    const std::string bySubscriber = MergedUnder(re, [](int, bool&) {});
    ASSERT_EQ(byEngine, bySubscriber) << re.GetExpression() << " on " << re.GetStringToMatch();
    ASSERT_EQ(byEngine, MergedByHand(re)) << re.GetExpression() << " on " << re.GetStringToMatch();
  }
}

// ------------------------------------------------------------------------------------- Split

using Pieces = std::vector<std::string>;

Pieces SplitOf(RE& re) {
  Pieces pieces = {"old"};
  const unsigned int count = re.Split(pieces);
  EXPECT_EQ(count, pieces.size());
  return pieces;
}

TEST(Split, CutsAsTold) {
  const std::tuple<const char*, const char*, unsigned long, Pieces, const char*> cases[] = {
      {"", " one  two\tthree ", 0, {"one", "two", "three"}, ""},
      {"", " \t\n", 0, {}, ""},
      {"", "one two three", 2, {"one", "two"}, "three"},
      {"", "one two three", 3, {"one", "two", "three"}, ""},
      {"", "", 0, {}, ""},
      {"(\\d)-(\\d)?", "1-2 3- x", 0, {"1", "2", "3", ""}, " x"},
      {"(\\d)-(\\d)?", "1-2 3-", 1, {"1"}, " 3-"},
      {"(x)", "abc", 0, {}, "abc"},
      {"(", "a b", 0, {}, "a b"},
  };
  for (const auto& [expression, text, limit, pieces, rest] : cases) {
    RE re = Make(expression, text);
    re.SetMaximumSplits(limit);
    re.AddMatchOption(RE::MatchPartial);
    EXPECT_EQ(SplitOf(re), pieces) << expression << " on " << text;
    EXPECT_EQ(re.GetStringToMatch(), text);
    re.SetSplitInputDelete(true);
    EXPECT_EQ(SplitOf(re), pieces) << expression << " on " << text;
    EXPECT_EQ(re.GetStringToMatch(), rest) << expression << " on " << text;
    EXPECT_EQ(re.GetExpression(), expression);
    EXPECT_EQ(re.ParseExpression() == RE::NoExpression, *expression == 0);
  }
}

/// Split from the matches that Grep reports.
Pieces SplitByHand(RE& re, std::string& rest) {
  const std::string text = re.GetStringToMatch();
  const std::size_t limit = re.GetMaximumSplits() == 0 ? SIZE_MAX : re.GetMaximumSplits();
  const bool groups = re.NumberOfSubexpressions() > 0;
  Pieces pieces;
  std::size_t last = 0;
  re.SetOnGreppingClosure([&](RE*, const std::vector<REMatch>& matches, unsigned, unsigned, bool&) {
    if (pieces.size() >= limit) return;
    const auto at = static_cast<std::size_t>(matches[0].position);
    const std::string between = text.substr(last, at - last);
    last = at + matches[0].text.size();
    if (!groups && !(between.empty() && pieces.empty())) pieces.push_back(between);
    for (std::size_t i = 1; groups && i + 2 < matches.size() && pieces.size() < limit; ++i) {
      pieces.push_back(matches[i].text);
    }
  });
  re.Grep();
  if (pieces.size() < limit && last != text.size() && !groups) {
    pieces.push_back(text.substr(last));
    last = text.size();
  }
  rest = text.substr(last);
  return pieces;
}

TEST(Split, FollowsItsPointsOnRandomInputs) {
  Random random(5);
  for (int i = 0; i < Cases(10000); ++i) {
    const std::string text = random.Text("ab\n", 9);
    RE re = Make(random.Expression(), text);
    if (re.ParseExpression() != RE::NoError || text.empty()) continue;
    re.SetMaximumSplits(random.Below(5));
    std::string rest;
    const Pieces expected = SplitByHand(re, rest);
    ASSERT_EQ(SplitOf(re), expected) << re.GetExpression() << " on " << text;
    ASSERT_EQ(re.GetStringToMatch(), text);
    re.SetSplitInputDelete(true);
    ASSERT_EQ(SplitOf(re), expected) << re.GetExpression() << " on " << text;
    ASSERT_EQ(re.GetStringToMatch(), rest);
  }
}

TEST(Split, TakesALongInputApartInSeveralCalls) {
  Random random(6);
  for (int i = 0; i < Cases(3000); ++i) {
    // Separators alone make no piece at the start of a call, so that there must be none in a row.
    RE re = Make(random.Flip() ? ",+" : "", random.Text("ab,", 20) + "a");
    const Pieces whole = SplitOf(re);
    re.SetSplitInputDelete(true);
    re.SetMaximumSplits(1 + random.Below(3));
    Pieces all;
    for (Pieces some = SplitOf(re); !some.empty(); some = SplitOf(re)) {
      EXPECT_LE(some.size(), re.GetMaximumSplits());
      all.insert(all.end(), some.begin(), some.end());
    }
    EXPECT_EQ(re.GetStringToMatch(), "");
    EXPECT_EQ(all, whole);
  }
}

}  // namespace
}  // namespace RegexClass::test
