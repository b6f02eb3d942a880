#include <functional>
#include <tuple>

#include <boost/regex.hpp>
#include <gtest/gtest.h>

#include "TestHelpers.hpp"

namespace RegexClass::test {
namespace {

/// Runs `operation` and gives what it reported; nothing when it answered false.
std::vector<Report> ReportsOf(RE& re, bool (RE::*operation)()) {
  std::vector<Report> reports;
  const auto record = [&](RE* object, const std::vector<REMatch>& matches, unsigned int line,
                          unsigned int lineStart) {
    EXPECT_EQ(object, &re);
    reports.push_back({matches, line, lineStart});
  };
  re.SetOnMatchingClosure(record);
  re.SetOnSearchingClosure(record);
  const bool found = (re.*operation)();
  EXPECT_EQ(found, !reports.empty());
  return reports;
}

TEST(Matching, ReportsTheMatchItsGroupsAndItsSurroundings) {
  const REMatch none{"", -1};
  const std::string zero("a\0b", 3);
  // What Search reports, if anything, and whether that makes Match succeed.
  const std::tuple<const char*, std::string, std::vector<Report>, bool> cases[] = {
      {"b", "abc", {{{{"b", 1}, {"a", 0}, {"c", 2}}, 1, 0}}, false},
      {"a", "abc", {{{{"a", 0}, none, {"bc", 1}}, 1, 0}}, true},
      {"(a)|(b)", "b", {{{{"b", 0}, none, {"b", 0}, none, none}, 1, 0}}, true},
      {"x*", "", {{{{"", 0}, none, none}, 1, 0}}, true},
      {"x", "", {}, false},
      {"c", "ab\ncd\nef", {{{{"c", 3}, {"ab\n", 0}, {"d\nef", 4}}, 2, 3}}, false},
      {"e", "ab\ncd\r\nef", {{{{"e", 7}, {"ab\ncd\r\n", 0}, {"f", 8}}, 3, 7}}, false},
      {"\\n", "a\nb", {{{{"\n", 1}, {"a", 0}, {"b", 2}}, 1, 0}}, false},
      {"b()", zero, {{{{"b", 2}, {"", 3}, {zero.substr(0, 2), 0}, none}, 1, 0}}, false},
      {"a.b", zero, {{{{zero, 0}, none, none}, 1, 0}}, true},
      {"[\xe0-\xff]", "a\xe9", {{{{"\xe9", 1}, {"a", 0}, none}, 1, 0}}, false},
  };
  for (const auto& [expression, text, reports, matches] : cases) {
    RE re = Make(expression, text);
    EXPECT_EQ(ReportsOf(re, &RE::Search), reports) << expression << " on " << text;
    EXPECT_EQ(ReportsOf(re, &RE::Match), matches ? reports : std::vector<Report>()) << expression;
  }
}

TEST(Matching, MatchAllTakesTheWholeStringOrNothing) {
  const std::tuple<const char*, const char*, bool> cases[] = {{"abc", "abc", true},
                                                              {"ab", "abc", false},
                                                              {"b", "abc", false},
                                                              {"a|ab", "ab", true},
                                                              {"x*", "", true}};
  for (const auto& [expression, text, matches] : cases) {
    RE re = Make(expression, text);
    std::vector<Report> expected;
    if (matches) expected = {{{{text, 0}, {"", -1}, {"", -1}}, 1, 0}};
    EXPECT_EQ(ReportsOf(re, &RE::MatchAll), expected) << expression;
  }
}

TEST(Matching, APartialMatchCountsWhenAskedFor) {
  const REMatch none{"", -1};
  RE re = Make("abcd", "xab");
  EXPECT_FALSE(re.Search());
  re.AddMatchOption(RE::MatchPartial);
  EXPECT_EQ(ReportsOf(re, &RE::Search), (std::vector<Report>{{{none, {"x", 0}, none}, 1, 0}}));
  EXPECT_FALSE(re.Match());
  EXPECT_EQ(re.Grep(), 1u);
  re.SetStringToMatch("ab");
  EXPECT_EQ(ReportsOf(re, &RE::MatchAll), (std::vector<Report>{{{none, none, none}, 1, 0}}));
  std::string out;
  re.SetMergeCopy(true);
  re.Merge(out);  // leaves the option out
  EXPECT_EQ(out, "ab");
}

TEST(Matching, AnExceptionOfTheEngineReachesTheCaller) {
  RE re = Make("(?:(a|b|ab)*)*c", std::string(3000, 'a'));
  std::string out;
  const std::function<void()> operations[] = {[&] { re.Search(); }, [&] { re.MatchAll(); },
                                              [&] { re.Grep(); }, [&] { re.Merge(out); }};
  for (const auto& operation : operations) {
    EXPECT_THROW(operation(), boost::regex_error);
    re.SetLocaleModel(RE::CLocale);  // has an effect: the object isn't busy any more
    EXPECT_EQ(re.GetLocaleModel(), RE::CLocale);
    re.SetLocaleModel(RE::CppLocale);
  }
  re.SetStringToMatch("abc");
  EXPECT_TRUE(re.MatchAll());
}

/// What Grep reports.
std::vector<Report> GrepReports(RE& re, std::size_t stopAfter = 0) {
  std::vector<Report> reports;
  re.SetOnGreppingClosure([&](RE*, const std::vector<REMatch>& matches, unsigned int line,
                              unsigned int lineStart, bool& goOn) {
    EXPECT_TRUE(goOn);
    reports.push_back({matches, line, lineStart});
    if (reports.size() == stopAfter) goOn = false;
  });
  const unsigned int count = re.Grep();
  EXPECT_EQ(count, reports.size());
  re.SetOnGreppingClosure(RE::WalkClosure());
  if (stopAfter == 0) {
    EXPECT_EQ(re.Grep(), reports.size());
  }
  return reports;
}

/// The walk as the header tells it, step by step with a search of its own for each.
std::vector<Report> GrepByHand(const boost::regex& regex, const std::string& text) {
  std::vector<Report> reports;
  std::size_t done = 0;   // end of the match before
  bool wasEmpty = false;  // and whether that was empty
  bool insisted = false;  // and whether it was found where an empty one had been
  while (reports.empty() || done < text.size() || insisted) {
    const char* const begin = text.data();
    const char* const end = begin + text.size();
    boost::cmatch m;
    bool found =
        wasEmpty && boost::regex_search(begin + done, end, m, regex,
                                        boost::match_not_null | boost::match_continuous, begin);
    insisted = found;
    const std::size_t from = done + (wasEmpty && !found ? 1 : 0);
    found = found || boost::regex_search(begin + from, end, m, regex, boost::match_default, begin);
    if (!found) break;
    Report report;
    for (std::size_t i = 0; i < m.size(); ++i) {
      const auto& part = m[static_cast<int>(i)];
      report.matches.push_back(part.matched
                                   ? REMatch{part.str(), static_cast<int>(part.first - begin)}
                                   : REMatch{"", -1});
    }
    const auto at = static_cast<std::size_t>(m[0].first - begin);
    const auto rest = static_cast<std::size_t>(m[0].second - begin);
    const auto piece = [&](std::size_t start, std::size_t stop) {
      return start < stop ? REMatch{text.substr(start, stop - start), static_cast<int>(start)}
                          : REMatch{"", -1};
    };
    report.matches.push_back(piece(done, at));
    report.matches.push_back(piece(rest, text.size()));
    report.line = 1;
    for (std::size_t i = 0; i < at; ++i) {
      if (text[i] == '\n') ++report.line, report.lineStart = static_cast<unsigned int>(i + 1);
    }
    reports.push_back(report);
    wasEmpty = at == rest;
    done = rest;
  }
  return reports;
}

TEST(Grep, WalksLikeASearchForEachMatch) {
  Random random(3);
  for (int i = 0; i < Cases(20000); ++i) {
    const std::string expression = random.Expression();
    const std::string text = random.Text("ab\n", 9);
    RE re = Make(expression, text);
    if (re.ParseExpression() != RE::NoError) continue;
    std::vector<Report> expected = GrepByHand(boost::regex(expression), text);
    const std::size_t stopAfter = random.Below(3);
    if (stopAfter > 0 && expected.size() > stopAfter) expected.resize(stopAfter);
    ASSERT_EQ(GrepReports(re, stopAfter), expected) << expression << " on " << text;
  }
}

TEST(Grep, GoesOnWithWhatItStartedWith) {
  RE re = Make("(a)b?", "ab-a-ab");
  std::vector<std::string> seen;
  re.SetOnGreppingClosure(
      [&](RE* object, const std::vector<REMatch>& matches, unsigned int, unsigned int, bool&) {
        seen.push_back(matches[0].text);
        object->SetStringToMatch(std::string(1000, 'x'));
        object->SetExpression("x{3}");
        object->AddExpressionOption(RE::BasicSyntax);
        object->SetExpression("x\\{3\\}");
        std::vector<std::string> pieces;
        std::string formatted = "old";
        EXPECT_TRUE(object->Search());
        EXPECT_EQ(object->Split(pieces), 1u);
        object->SetOnGreppingClosure(RE::WalkClosure());
        EXPECT_EQ(object->Grep(), 333u);
        object->Format(formatted);
        EXPECT_EQ(formatted, "");  // the inner walk has ended the report's results
      });
  EXPECT_EQ(re.Grep(), 3u);
  EXPECT_EQ(seen, (std::vector<std::string>{"ab", "a", "ab"}));
}

TEST(Grep, ASearchInsideAReportHandsOnTheReportsMatches) {
  RE re = Make("b", "ab\nb");
  std::vector<int> positions;
  re.SetOnSearchingClosure([&](RE*, const std::vector<REMatch>& matches, unsigned, unsigned) {
    positions.push_back(matches[0].position);
  });
  re.SetOnGreppingClosure([&](RE* object, auto&&...) { object->Search(); });
  EXPECT_EQ(re.Grep(), 2u);
  EXPECT_EQ(positions, (std::vector<int>{1, 3}));
}

}  // namespace
}  // namespace RegexClass::test
