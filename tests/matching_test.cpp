#include <functional>

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

struct Case {
  const char* expression;
  std::string text;
  std::vector<Report> match;
  std::vector<Report> search;
};

TEST(Matching, ReportsTheMatchItsGroupsAndItsSurroundings) {
  const REMatch none{"", -1};
  const std::string zero("a\0b", 3);
  const Case cases[] = {
      {"b", "abc", {}, {{{{"b", 1}, {"a", 0}, {"c", 2}}, 1, 0}}},
      {"a", "abc", {{{{"a", 0}, none, {"bc", 1}}, 1, 0}}, {{{{"a", 0}, none, {"bc", 1}}, 1, 0}}},
      {"(a)|(b)",
       "b",
       {{{{"b", 0}, none, {"b", 0}, none, none}, 1, 0}},
       {{{{"b", 0}, none, {"b", 0}, none, none}, 1, 0}}},
      {"x*", "", {{{{"", 0}, none, none}, 1, 0}}, {{{{"", 0}, none, none}, 1, 0}}},
      {"x", "", {}, {}},
      {"c", "ab\ncd\nef", {}, {{{{"c", 3}, {"ab\n", 0}, {"d\nef", 4}}, 2, 3}}},
      {"e", "ab\ncd\r\nef", {}, {{{{"e", 7}, {"ab\ncd\r\n", 0}, {"f", 8}}, 3, 7}}},
      {"\\n", "a\nb", {}, {{{{"\n", 1}, {"a", 0}, {"b", 2}}, 1, 0}}},
      {"b()", zero, {}, {{{{"b", 2}, {"", 3}, {zero.substr(0, 2), 0}, none}, 1, 0}}},
      {"a.b", zero, {{{{zero, 0}, none, none}, 1, 0}}, {{{{zero, 0}, none, none}, 1, 0}}},
      {"[\xe0-\xff]", "a\xe9", {}, {{{{"\xe9", 1}, {"a", 0}, none}, 1, 0}}},
  };
  for (const Case& c : cases) {
    RE re = Make(c.expression, c.text);
    EXPECT_EQ(ReportsOf(re, &RE::Match), c.match) << c.expression << " on " << c.text;
    EXPECT_EQ(ReportsOf(re, &RE::Search), c.search) << c.expression << " on " << c.text;
  }
}

TEST(Matching, MatchAllTakesTheWholeStringOrNothing) {
  const std::pair<std::pair<const char*, const char*>, std::vector<Report>> cases[] = {
      {{"abc", "abc"}, {{{{"abc", 0}, {"", -1}, {"", -1}}, 1, 0}}},
      {{"ab", "abc"}, {}},
      {{"b", "abc"}, {}},
      {{"a|ab", "ab"}, {{{{"ab", 0}, {"", -1}, {"", -1}}, 1, 0}}},
      {{"x*", ""}, {{{{"", 0}, {"", -1}, {"", -1}}, 1, 0}}},
  };
  for (const auto& [input, expected] : cases) {
    RE re = Make(input.first, input.second);
    EXPECT_EQ(ReportsOf(re, &RE::MatchAll), expected) << input.first;
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
  RE re = Make("(a*)*b", std::string(3000, 'a'));
  const std::vector<std::function<void()>> operations = {[&] { re.Search(); }, [&] { re.Match(); },
                                                         [&] { re.MatchAll(); }, [&] { re.Grep(); },
                                                         [&] {
                                                           std::string out;
                                                           re.Merge(out);
                                                         }};
  re.SetExpression("(?:(a|b|ab)*)*c");
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

TEST(Grep, ReportsMatchAfterMatch) {
  const REMatch none{"", -1};
  RE re = Make("a", "banana");
  const std::vector<Report> banana = {{{{"a", 1}, {"b", 0}, {"nana", 2}}, 1, 0},
                                      {{{"a", 3}, {"n", 2}, {"na", 4}}, 1, 0},
                                      {{{"a", 5}, {"n", 4}, none}, 1, 0}};
  EXPECT_EQ(GrepReports(re), banana);
  EXPECT_EQ(GrepReports(re, 2), (std::vector<Report>{banana[0], banana[1]}));
  re.SetExpression("x");
  EXPECT_EQ(GrepReports(re), std::vector<Report>());
  re.SetExpression("(");
  EXPECT_EQ(GrepReports(re), std::vector<Report>());
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
    ASSERT_EQ(GrepReports(re), GrepByHand(boost::regex(expression), text))
        << expression << " on " << text;
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
  std::vector<Report> inner;
  re.SetOnSearchingClosure(
      [&](RE*, const std::vector<REMatch>& matches, unsigned int line, unsigned int start) {
        inner.push_back({matches, line, start});
      });
  re.SetOnGreppingClosure([&](RE* object, auto&&...) { object->Search(); });
  EXPECT_EQ(re.Grep(), 2u);
  ASSERT_EQ(inner.size(), 2u);
  EXPECT_EQ(inner[1].matches, (std::vector<REMatch>{{"b", 3}, {"\n", 2}, {"", -1}}));
}

}  // namespace
}  // namespace RegexClass::test
