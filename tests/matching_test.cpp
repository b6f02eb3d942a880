// SPDX-License-Identifier: BSL-1.0
// The operations on a string, against walks by hand, and what a subscriber may do to them.

#include <algorithm>
#include <cctype>
#include <cstdint>
#include <functional>
#include <optional>
#include <sstream>
#include <stdexcept>

#include <gtest/gtest.h>

#include "SearchWays.hpp"
#include "TestHelpers.hpp"
#include "engine/boost/BoostRegex.hpp"
#include "engine/boost/ProgramMending.hpp"
#include "engine/models/Models.hpp"
#include "options/OptionTable.hpp"

namespace RegexClass::test {
namespace {

/// A small expression over a and b; not each one compiles.
std::string Expression(Random& random, int depth = 3) {
  static const char* const kAtoms[] = {"a",   "b", ".",      "[ab]",    "\\n",  "^",     "$",
                                       "\\b", "",  "\\1",    "[^a]",    "(?i)", "(?=b)", "(?<!a)",
                                       "\\<", "é", "(?<=é)", "[ab]{3}", "b{2}?"};
  static const char* const kRepeats[] = {"*", "+", "?", "*?", "{2}", "{0,1}"};
  if (depth == 0 || random.Below(4) == 0) return kAtoms[random.Below(std::size(kAtoms))];
  const std::string part = Expression(random, depth - 1);
  switch (random.Below(5)) {
    case 0:
      return "(" + part + ")";
    case 1:
      return "(?:" + part + ")" + kRepeats[random.Below(std::size(kRepeats))];
    case 2:
      return part + "|" + Expression(random, depth - 1);
    default:
      return part + Expression(random, depth - 1);
  }
}

/// One character after another.
std::string Sequence(Random& random) {
  static const char* const kParts[] = {"a", "b", "[ab]", "b{2}", "\\b"};
  std::string sequence = random.Flip() ? "\\b" : "";
  for (std::size_t i = random.Below(5); i > 0; --i) sequence += kParts[random.Below(5)];
  return sequence;
}

std::size_t Begin(const Report& report) {
  return static_cast<std::size_t>(report.matches[0].position);
}
std::size_t End(const Report& report) { return Begin(report) + report.matches[0].text.size(); }

/// How a match is reported when the one before ended at `done`.
Report ReportOf(const boost::cmatch& match, const std::string& text, std::size_t done) {
  const auto piece = [&](std::size_t from, std::size_t to) {
    return from < to ? REMatch{text.substr(from, to - from), static_cast<int>(from)}
                     : REMatch{"", -1};
  };
  Report report;
  for (std::size_t i = 0; i < match.size(); ++i) {
    const auto& part = match[static_cast<int>(i)];
    report.matches.push_back({part.str(), static_cast<int>(part.first - text.data())});
    if (!part.matched) report.matches.back().position = -1;
  }
  const std::size_t begin = Begin(report);
  report.matches.push_back(piece(done, begin));
  report.matches.push_back(piece(End(report), text.size()));
  const std::string before = text.substr(0, begin);
  report.line = 1 + static_cast<unsigned int>(std::count(before.begin(), before.end(), '\n'));
  report.lineStart = static_cast<unsigned int>(before.rfind('\n') + 1);
  report.formatted =
      "<" + report.matches[0].text + (match.size() > 1 ? report.matches[1].text : "") + ">";
  return report;
}

/// The walk through a text of `size` bytes as the header tells it, step by step with a search of
/// its own for each: `find` is told where the match before ended, from where on to search, and
/// whether to find there alone what isn't empty. It gives the offsets of a match.
using Span = std::pair<std::size_t, std::size_t>;
using Find = std::function<std::optional<Span>(std::size_t, std::size_t, bool)>;
void Walk(std::size_t size, const Find& find) {
  std::optional<Span> last, here;
  std::size_t done = 0;
  while (!last || done < size || here) {
    const bool wasEmpty = last && last->first == last->second;
    here = wasEmpty ? find(done, done, true) : std::nullopt;
    last = here ? here : find(done, done + (wasEmpty ? 1 : 0), false);
    if (!last) break;
    done = last->second;
  }
}

/// The same by the engine.
std::vector<Report> Walk(const boost::regex& regex, const std::string& text) {
  std::vector<Report> reports;
  const char* const begin = text.data();
  Walk(text.size(), [&](std::size_t done, std::size_t from, bool here) -> std::optional<Span> {
    boost::cmatch match;
    const auto flags = boost::match_not_null | boost::match_continuous;
    if (!boost::regex_search(begin + from, begin + text.size(), match, regex,
                             here ? flags : boost::match_default, begin)) {
      return std::nullopt;
    }
    reports.push_back(ReportOf(match, text, done));
    return Span(Begin(reports.back()), End(reports.back()));
  });
  return reports;
}

/// The replacements, where the subscriber says no to the match of the number `veto`.
std::string MergedByHand(const std::vector<Report>& walk, const RE& re, std::size_t veto) {
  const std::string text = re.GetStringToMatch();
  std::string out;
  std::size_t done = 0;
  for (std::size_t i = 0; i < walk.size() && (i == 0 || !re.GetMergeOnlyFirst()); ++i) {
    if (re.GetMergeCopy()) out += walk[i].matches[walk[i].matches.size() - 2].text;
    done = Begin(walk[i]);
    if (i == veto) break;
    out += walk[i].formatted;
    done = End(walk[i]);
  }
  return re.GetMergeCopy() ? out + text.substr(done) : out;
}

/// The pieces; takes what they use up from the front of `text`.
Texts SplitByHand(const std::vector<Report>& walk, bool groups, std::size_t limit,
                  std::string& text) {
  if (limit == 0) limit = text.size() * 9 + 9;
  Texts pieces;
  std::size_t done = 0;
  for (const Report& report : walk) {
    if (pieces.size() == limit) break;
    const std::string between = text.substr(done, Begin(report) - done);
    done = End(report);
    if (!groups && !(between.empty() && pieces.empty())) pieces.push_back(between);
    for (std::size_t i = 1; i + 2 < report.matches.size() && pieces.size() < limit; ++i) {
      pieces.push_back(report.matches[i].text);
    }
  }
  text.erase(0, done);
  if (pieces.size() < limit && !text.empty() && !groups) pieces.push_back(std::exchange(text, ""));
  return pieces;
}

TEST(Strings, AreMatchedRewrittenAndSplitAsAWalkByHandDoes) {
  Random random(3);
  for (int i = 0; i < Cases(6000); ++i) {
    const std::string expression = Expression(random);
    const std::string text = random.Text(random.Flip() ? "ab\n" : std::string("a\0\xe9\r\n", 5), 9);
    SCOPED_TRACE(testing::Message() << expression << " on " << text);
    UseAny(random);
    RE re = Make(expression, text);
    if (re.ParseExpression() != RE::NoError) continue;
    boost::regex regex(expression);
    engine::ProgramMender<boost::regex::traits_type>(regex).Run();
    const std::vector<Report> walk = Walk(regex, text);
    const bool context = random.Flip();
    const auto told = [&](std::vector<Report> reports) {
      for (Report& report : reports) {
        if (!context) std::fill(report.matches.end() - 2, report.matches.end(), REMatch{"", -1});
      }
      return reports;
    };
    const auto firstFew = [&](std::size_t count) {
      return told(
          {walk.begin(), walk.begin() + static_cast<std::ptrdiff_t>(std::min(count, walk.size()))});
    };
    std::size_t calls = 0;
    const std::size_t veto = random.Below(4);
    Recorder recorder(re, [&](RE&) { return calls++ != veto; });
    re.SetReportContext(context);
    re.SetFormatString("(<$0$1>)");  // of which only FormatAll drops the parentheses
    re.SetMergeCopy(random.Flip());
    re.SetMergeOnlyFirst(random.Flip());

    ASSERT_EQ(re.Search(), !walk.empty());
    ASSERT_EQ(recorder.Reports(), firstFew(1));
    ASSERT_EQ(re.Match(), !walk.empty() && Begin(walk[0]) == 0);
    ASSERT_EQ(recorder.Reports(), firstFew(!walk.empty() && Begin(walk[0]) == 0 ? 1 : 0));
    boost::cmatch whole;
    const bool isWhole = boost::regex_match(text.data(), text.data() + text.size(), whole, regex);
    ASSERT_EQ(re.MatchAll(), isWhole);
    ASSERT_EQ(recorder.Reports(),
              isWhole ? told({ReportOf(whole, text, 0)}) : std::vector<Report>());
    calls = 0;
    ASSERT_EQ(re.Grep(), firstFew(veto + 1).size());
    ASSERT_EQ(recorder.Reports(), firstFew(veto + 1));
    calls = 0;
    ASSERT_EQ(Merged(re), MergedByHand(walk, re, veto));
    ASSERT_EQ(recorder.Reports(), firstFew(re.GetMergeOnlyFirst() ? 1 : veto + 1));
    ASSERT_EQ(Formatted(re), "");
    re.SetOnGreppingClosure({});
    ASSERT_EQ(re.Grep(), walk.size());
    re.SetOnMergingClosure({});
    re.SetFormatType(RE::FormatSed);      // has no say without a subscriber
    re.AddMatchOption(RE::MatchPartial);  // nor has this in what follows
    ASSERT_EQ(Merged(re), MergedByHand(walk, re, walk.size()));

    re.SetMaximumSplits(static_cast<unsigned long>(random.Below(5)));
    re.SetSplitInputDelete(random.Flip());
    std::string rest = text;
    if (text.empty()) continue;
    ASSERT_EQ(Pieces(re), SplitByHand(walk, regex.mark_count() != 0, re.GetMaximumSplits(), rest));
    ASSERT_EQ(re.GetStringToMatch(), re.GetSplitInputDelete() ? rest : text);
  }
}

TEST(Strings, AreWalkedAlikeOnAllWaysUnderAllOptions) {
  Random random(4);
  for (int i = 0; i < Cases(6000); ++i) {
    const bool plain = random.Flip();
    const std::string letters = plain ? "ab " : std::string("aAbB\n\0\r\xc3\xa9\xc3\xa9 ", 12);
    RE re = Make(plain ? Sequence(random) : Expression(random), random.Text(letters, 30));
    re.AddExpressionOption(static_cast<RE::Options>(random.Below(kOptionCount)));
    re.AddExpressionOption(static_cast<RE::Options>(random.Below(kOptionCount)));
    re.AddMatchOption(static_cast<RE::Matches>(random.Below(RE::MatchPartial + 1)));
    re.AddMatchOption(static_cast<RE::Matches>(random.Below(RE::MatchPartial + 1)));
    re.SetLocaleModel(static_cast<RE::LocaleModels>(random.Below(std::size(engine::kModels))));
    re.SetFormatString("<$0$1>");
    std::ostringstream record;
    record << re;
    SCOPED_TRACE(record.str());
    const auto outcome = [&re](Ways ways, unsigned long long steps) {
      Use(ways);
      RE own(re);
      own.SetStepLimit(steps);
      if (!own.IsMatchOption(RE::MatchNotDotNewline)) {  // some are made under other options
        own.AddMatchOption(RE::MatchNotDotNewline);
        own.Grep();
        own.DeleteMatchOption(RE::MatchNotDotNewline);
      }
      Recorder recorder(own);
      if (own.Search()) own.Grep();
      if (own.MatchAll()) own.Match();
      own.SetOnMergingClosure({});
      return std::make_tuple(recorder.Reports(), Merged(own), Pieces(own));
    };
    std::optional<decltype(outcome(Ways::kEngine, 0))> alone;
    try {
      alone = outcome(Ways::kEngine, 0);
    } catch (const std::runtime_error&) {
      continue;  // the engine gives up, where another way may not
    }
    for (const Ways ways : kAllWays) ASSERT_EQ(outcome(ways, 0), *alone);
    if (re.IsLinear()) {  // and has its answer without the engine
      ASSERT_EQ(outcome(Ways::kEngine, 1), *alone);
    }
  }
  Use(Ways::kEngine);
}

/// An expression, and a slow matcher of it, which tries all ways one after the other.
struct Part {
  using Then = std::function<bool(std::size_t)>;  // whether the rest matches from there on
  std::string notation;
  bool canBeEmpty;
  std::function<bool(const std::string&, std::size_t, const Then&)> match;
};

/// What is allowed where in an expression.
struct Place {
  bool perl;
  bool icase;
};

Part Character(Random& random, const Place& place) {
  static const char* const kNotations[] = {"a", "b", "B", "e", "[ab]", "[^a]", "\\n", ".", "\\X"};
  const std::size_t kind = random.Below(place.perl ? 9 : 8);
  return {kNotations[kind], false, [kind, icase = place.icase](auto& text, auto at, auto& then) {
            if (at == text.size()) return false;
            const int c = icase ? std::tolower(text[at]) : text[at];
            const bool is[] = {c == 'a',
                               c == 'b',
                               c == (icase ? 'b' : 'B'),
                               c == 'e',
                               c == 'a' || c == 'b',
                               c != 'a',
                               c == '\n',
                               true,
                               true};
            return is[kind] && then(at + 1);
          }};
}

Part Assertion(Random& random, const Place& place) {
  static const char* const kNotations[] = {"^", "$", "\\b", "\\<", "\\>", "\\B", "\\Z"};
  const std::size_t kind = random.Below(place.perl ? 7 : 5);
  return {kNotations[kind], true, [kind](auto& text, auto at, auto& then) {
            const auto isWord = [&](std::size_t i) {
              return i < text.size() && std::isalpha(text[i]);
            };
            const auto ends = [&](std::size_t i) { return text[i] == '\n' || text[i] == '\f'; };
            const bool before = isWord(at - 1), behind = isWord(at);
            const bool holds[] = {at == 0 || ends(at - 1),
                                  at == text.size() || ends(at),
                                  before != behind,
                                  !before && behind,
                                  before && !behind,
                                  before == behind,
                                  text.find_first_not_of("\n\f", at) == text.npos};
            return holds[kind] && then(at);
          }};
}

struct Times {
  const char* notation;
  std::size_t least, most;
};
bool Repeats(const Part& part, const Times& times, bool lazy, std::size_t count,
             const std::string& text, std::size_t at, const Part::Then& then) {
  const auto onceMore = [&] {
    return count < times.most && part.match(text, at, [&](std::size_t end) {
      return (end > at || count < times.least) &&
             Repeats(part, times, lazy, count + 1, text, end, then);
    });
  };
  if (count < times.least) return onceMore();
  return lazy ? then(at) || onceMore() : onceMore() || then(at);
}

Part Repeat(Random& random, const Place& place, const Part& part) {
  static constexpr Times kTimes[] = {{"*", 0, 99},    {"+", 1, 99},    {"?", 0, 1},
                                     {"{2,3}", 2, 3}, {"{1,2}", 1, 2}, {"{0,3}", 0, 3},
                                     {"{2}", 2, 2},   {"{3,6}", 3, 6}};
  const Times& times = kTimes[random.Below(std::size(kTimes))];
  const bool lazy = place.perl && random.Flip();
  return {part.notation + times.notation + (lazy ? "?" : ""), part.canBeEmpty || times.least == 0,
          [=](auto& text, auto at, auto& then) {
            return Repeats(part, times, lazy, 0, text, at, then);
          }};
}

/// One behind the other.
Part Both(const Part& one, const Part& other) {
  return {one.notation + other.notation, one.canBeEmpty && other.canBeEmpty,
          [=](auto& text, auto at, auto& then) {
            return one.match(text, at,
                             [&](std::size_t end) { return other.match(text, end, then); });
          }};
}

Part Pattern(Random& random, const Place& place, int depth) {
  const std::size_t kind = depth == 0 ? random.Below(3) : random.Below(8);
  if (kind == 0) {
    Part part = Assertion(random, place);
    if (random.Below(4) != 0) return part;
    part.notation = '(' + part.notation + ')';
    return Repeat(random, place, part);
  }
  if (kind == 1) return Character(random, place);
  if (kind == 2) return Repeat(random, place, Character(random, place));
  if (kind == 3) {
    static const char* const kOpen[] = {"(", "(?:", "(?i:", "(?-i:"};
    const std::size_t which = place.perl ? random.Below(4) : 0;
    Part part = Pattern(random, {place.perl, which < 2 ? place.icase : which == 2}, depth - 1);
    part.notation = kOpen[which] + part.notation + ")";
    return part.canBeEmpty ? part : Repeat(random, place, part);
  }
  const Part one = Pattern(random, place, depth - 1), other = Pattern(random, place, depth - 1);
  if (kind == 4) {
    return {"(" + one.notation + "|" + other.notation + ")", one.canBeEmpty || other.canBeEmpty,
            [=](auto& text, auto at, auto& then) {
              return one.match(text, at, then) || other.match(text, at, then);
            }};
  }
  return Both(one, other);
}

std::string Replaced(std::string text, const std::string& from, const std::string& to) {
  for (std::size_t at = 0; (at = text.find(from, at)) != text.npos; at += to.size()) {
    text.replace(at, from.size(), to);
  }
  return text;
}

/// An expression by chance, as the library reads it and as the slow matcher does.
struct SlowModel {
  Place place;
  Part part;

  explicit SlowModel(Random& random)
      : place{random.Below(4) != 0, random.Below(4) == 0}, part(Pattern(random, place, 3)) {
    if (random.Flip()) part = Both(Repeat(random, place, Character(random, place)), part);
  }

  /// The leftmost match from `from` on, or `here` alone and then one that isn't empty: the first in
  /// the order of Perl, else the longest.
  std::optional<Span> Find(const std::string& text, std::size_t from, bool here) const {
    std::optional<Span> found;
    for (std::size_t at = from; !found && at <= (here ? from : text.size()); ++at) {
      part.match(text, at, [&](std::size_t end) {
        if (here && end == at) return false;
        if (!found || end > found->second) found = {at, end};
        return place.perl;  // or else each end is looked at
      });
    }
    return found;
  }

  /// The text with each match in angle brackets.
  std::string Marked(const std::string& text) const {
    std::string marked;
    Walk(text.size(), [&](std::size_t done, std::size_t from, bool here) {
      const std::optional<Span> found = Find(text, from, here);
      if (found) {
        const auto [begin, end] = *found;
        marked += text.substr(done, begin - done) + '<' + text.substr(begin, end - begin) + '>';
      } else if (!here) {
        marked += text.substr(done);
      }
      return found;
    });
    return marked;
  }
};

TEST(Strings, AreMatchedAsASlowMatcherDoes) {
  Random random(5);
  for (int i = 0; i < Cases(10000); ++i) {
    const SlowModel model(random);
    const auto [perl, icase] = model.place;
    const std::string text = random.Text(random.Flip() ? "ab" : "aabbeAB \n\f", 9);
    UseAny(random);
    RE re;
    const bool wide = random.Flip();
    if (wide) re.SetLocaleModel(RE::UnicodeLocale);
    const auto told = [wide](const std::string& notation) {
      return wide ? Replaced(notation, "e", "\u00E9") : notation;
    };
    const bool inside = perl && icase && random.Flip();
    re.SetExpression((inside ? "(?i)" : "") + told(model.part.notation));
    re.SetStringToMatch(told(text));
    if (!perl) re.AddExpressionOption(RE::ExtendedSyntax);
    if (icase && !inside) re.AddExpressionOption(RE::Icase);
    if (re.ParseExpression() != RE::NoError) continue;
    const bool linear = re.IsLinear();
    re.SetStepLimit(random.Below(2));
    SCOPED_TRACE(testing::Message() << model.part.notation << " on " << text);
    const std::optional<Span> first = model.Find(text, 0, false);
    re.SetMergeCopy(true);
    re.SetFormatString("<$&>");
    std::vector<REMatch> match;
    try {
      ASSERT_EQ(Merged(re), told(model.Marked(text)));
      re.AddMatchOption(RE::MatchAny);
      ASSERT_EQ(re.Search(match), first.has_value());
    } catch (const std::runtime_error&) {
      ASSERT_TRUE(!linear || re.IsMatchOption(RE::MatchAny));
      continue;  // the engine gives up
    }
    const std::string begin = told(text.substr(0, first ? first->first : 0));
    ASSERT_TRUE(!first || match[0].position == static_cast<int>(begin.size()));
  }
  Use(Ways::kEngine);
}

TEST(Strings, AreSearchedInLinearTimeOrNot) {
  const std::tuple<const char*, bool> cases[] = {
      {"", false},           {"(", false},
      {"abc", true},         {"(a)[bc]", true},
      {"(a*)*|b+?", true},   {"^\\b(a)$", true},
      {"(a)\\1", false},     {"a(?=b)", false},
      {"(?<!a)b", false},    {"(?>a)b", false},
      {"a++", false},        {"a(?i)b", false},
      {"(?i)a", true},       {"a\\K", false},
      {"\\Ga", false},       {"a\\Z", false},
      {"(a|(?R))b", false},  {"(a)(?(1)b)", false},
      {"a(*COMMIT)", false}, {"(?:a{999}){99}b*", false},
  };
  for (const auto& [expression, linear] : cases) {
    RE re = Make(expression, "");
    EXPECT_EQ(re.IsLinear(), linear) << expression;
    re.AddMatchOption(RE::MatchNotBol);
    EXPECT_EQ(re.IsLinear(), linear) << expression;
    re.AddMatchOption(RE::MatchPartial);
    EXPECT_FALSE(re.IsLinear()) << expression;
  }
  RE re = Make("(a*)(a*)", "");
  re.AddExpressionOption(RE::ExtendedSyntax);
  EXPECT_FALSE(re.IsLinear());  // only the engine knows which group takes what
  re = Make("a+\\<b|c", "");
  re.SetLocaleModel(RE::UnicodeLocale);
  EXPECT_FALSE(re.IsLinear());
}

/// Runs each operation that raises an event on a string, by its number.
constexpr int kOperations = 5;
void Raise(RE& re, int operation) {
  if (operation == 0) re.Match();
  if (operation == 1) re.MatchAll();
  if (operation == 2) re.Search();
  if (operation == 3) re.Grep();
  if (operation == 4) Merged(re);
}

TEST(Strings, AreLeftFitByWhatThrows) {
  Use(Ways::kEngine);  // which may find out that there is no match
  for (int operation = 0; operation < kOperations; ++operation) {
    SCOPED_TRACE(operation);
    RE re = Make("a+", "aa");
    re.SetFormatString("x");
    const Recorder thrower(re, [](RE&) -> bool { throw std::logic_error("mine"); });
    EXPECT_THROW(Raise(re, operation), std::logic_error);
    re.SetExpression("(?:(a|b|ab)*)*(?=c)c");
    re.SetStringToMatch(std::string(3000, 'a'));
    EXPECT_THROW(Raise(re, operation), boost::regex_error);
    EXPECT_EQ(Formatted(re), "");  // nothing is current any more
    re.SetExpression("(a+)\\1b|(?!)");
    re.SetStringToMatch(std::string(50, 'a'));
    EXPECT_NO_THROW(Raise(re, operation));
    re.SetStepLimit(30);
    EXPECT_THROW(Raise(re, operation), boost::regex_error);
    re.SetExpression("(a+)+b");
    EXPECT_NO_THROW(Raise(re, operation));
    // Nor is the object busy. During a walk it is, also behind one inside, and the model stays.
    re.SetExpression("a+");
    re.SetLocaleModel(RE::CLocale);
    bool nested = false;
    const Recorder recorder(re, [&](RE&) {
      if (!std::exchange(nested, true)) re.Grep();
      re.SetLocaleModel(RE::W32Locale);
      return true;
    });
    Raise(re, operation);
    EXPECT_EQ(re.GetLocaleModel(), operation < 3 ? RE::W32Locale : RE::CLocale);
  }
  RE re = Make(R"((?<=\Kx)x)", "xxxx");
  EXPECT_THROW(Merged(re), boost::regex_error);  // the second match begins in the first
  re = Make("(?=ab\\K)", "ab");
  EXPECT_THROW(re.Search(), boost::regex_error);  // ends before it begins
  re = Make("a", "aa");
  for (const std::string scope : {"(", "?0"}) {
    std::string format;
    for (int i = 0; i < 1000000; ++i) format += scope;  // more than the stack holds
    re.SetFormatString(format);
    EXPECT_THROW(Merged(re), boost::regex_error);
    re.SetOnMergingClosure([](auto&&...) {});
    EXPECT_THROW(Merged(re), boost::regex_error);
    re.SetOnMergingClosure(nullptr);
  }
  re.SetFormatString(std::string(100, '(') + "x" + std::string(100, ')') + "\\((?0y)");
  EXPECT_EQ(Merged(re), "x(yx(y");
}

TEST(Strings, AreWalkedByWhatTheWalkStartedWith) {
  for (const bool merges : {false, true}) {
    RE re = Make("a(?=n)", "banana");
    re.SetMergeCopy(true);
    re.SetFormatString("x");
    int calls = 0;
    const Recorder recorder(re, [&](RE&) {
      re.SetMergeOnlyFirst(true);
      re.SetOnMergingClosure({});
      re.SetStringToMatch(std::string(1000, 'p'));
      re.AddExpressionOption(RE::BasicSyntax);
      re.SetExpression("p\\{3\\}");
      EXPECT_EQ(Pieces(re), Texts{"p"});
      EXPECT_EQ(Formatted(re), ++calls == 1 ? "x" : "y");
      re.SetOnGreppingClosure({});
      EXPECT_EQ(re.Grep(), 333U);
      EXPECT_EQ(Formatted(re), "");  // the inner walk has ended the report's results
      re.SetFormatString("y");       // of the replacement of this match already
      re.SetMergeCopy(calls == 1);
      return true;
    });
    if (merges) {
      EXPECT_EQ(Merged(re), "byny");
    } else {
      EXPECT_EQ(re.Grep(), 2U);
    }
    EXPECT_EQ(calls, 2);
  }
  RE re = Make("a", "banana");
  re.SetFormatString("x");
  int calls = 0;
  re.SetOnMergingClosure([&](RE* object, auto&&...) { object->SetMergeCopy(++calls > 1); });
  EXPECT_EQ(Merged(re), "xxananx");
}

TEST(Strings, KeepTheReportInHandDuringASearch) {
  RE re = Make("b", "ab\nb");
  bool inside = false;
  Recorder recorder(re, [&](RE&) {
    if (!std::exchange(inside, !inside)) re.Search();
    return true;
  });
  EXPECT_EQ(re.Grep(), 2U);
  const std::vector<Report> reports = recorder.Reports();
  ASSERT_EQ(reports.size(), 4U);
  for (const int i : {0, 2}) EXPECT_EQ(reports[i].matches, reports[i + 1].matches);
  EXPECT_EQ(reports[2].line, 2U);
  EXPECT_EQ(reports[3].line, 1U);  // of the inner match
}

TEST(Strings, GiveTheirMatchesBackWhateverASubscriberDoes) {
  RE re = Make("(a)?(x)?b", "-ab-b");
  std::vector<std::vector<REMatch>> all(7),
      expected = {{{"ab", 1}, {"a", 1}, {"", -1}}, {{"b", 4}, {"", -1}, {"", -1}}};
  std::vector<REMatch> match = expected[1];
  EXPECT_FALSE(re.Match(match) || re.MatchAll(match) || !match.empty());
  for (const bool told : {false, true}) {
    re.SetStringToMatch("-ab-b");
    EXPECT_TRUE(re.Search(match) && match == expected[0]);
    re.SetStringToMatch("-ab-b");
    EXPECT_TRUE(re.Grep(all) == 2 && all == expected);
    re.SetStringToMatch("b");
    EXPECT_TRUE(re.MatchAll(match) && match[0] == (REMatch{"b", 0}));
    const auto spoil = [](RE* running, auto&&...) { running->SetStringToMatch("spoilt"); };
    re.SetOnSearchingClosure(spoil);
    re.SetOnMatchingClosure(spoil);
    re.SetOnGreppingClosure(spoil);
    if (told) re.SetOnGreppingClosure([](auto&&...) { throw 1; });
  }
  re.SetStringToMatch("b");
  EXPECT_THROW(re.Grep(all), int);
  EXPECT_TRUE(all.empty());
}

TEST(Strings, MayChangeUnderAReportOfAMatch) {
  for (int change = 0; change < 6; ++change) {
    RE re = Make("a+", std::string(1000, 'a'));
    re.SetFormatString("$&");
    const Recorder recorder(re, [&](RE&) {
      std::stringstream record;
      record << re;
      const std::string other = "bbb";
      const RE copy(re);
      if (change == 0) re.SetStringToMatch(other);
      if (change == 1) re = copy;
      if (change == 2) re.SetSplitInputDelete(true), Pieces(re);
      if (change == 3) record >> re;
      if (change == 4) re.SetStringToMatch(std::string("bbb"));
      if (change == 5) re = RE(copy);
      EXPECT_EQ(Formatted(re), "") << change;
      return true;
    });
    EXPECT_TRUE(re.Match());
  }
}

}  // namespace
}  // namespace RegexClass::test
