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

}  // namespace
}  // namespace RegexClass::test
