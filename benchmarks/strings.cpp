// SPDX-License-Identifier: BSL-1.0
// The operations on a string beside the engine's own calls, made the way an application that uses
// Boost.Regex itself makes them.

#include <RegularExpression.hpp>
#include <cstddef>
#include <iterator>
#include <memory>
#include <random>
#include <string>
#include <utility>
#include <vector>

#include <boost/regex.hpp>

#include "Peers.hpp"
#include "Samples.hpp"
#include "Table.hpp"

namespace RegexClass::benchmarks {
namespace {

/// A log of about `size` bytes, the same at every run. Every line holds a request, eight of them
/// a warning, and the last one an error.
std::string Log(std::size_t size) {
  std::mt19937 random(1);
  const auto number = [&](unsigned int below) { return std::to_string(random() % below); };
  std::string text;
  std::size_t warnings = 0;
  while (text.size() + 80 < size) {
    text += "host" + number(100) + " request " + number(1000000) + " served in " + number(1000) +
            " ms by worker " + number(16);
    if (text.size() > warnings * (size / 8)) {
      text += " WARNING slow";
      ++warnings;
    }
    text += '\n';
  }
  return text + "host0 request 0 ended with ERROR 17\n";
}

struct Text {
  std::string name;
  std::string text;
  int Rounds() const { return text.size() > 1 << 20 ? 5 : 51; }
  const char* First() const { return text.data(); }
  const char* Last() const { return text.data() + text.size(); }
};

constexpr const char* kEveryLine = "request ([0-9]+) served in ([0-9]+) ms";
constexpr const char* kEightTimes = "worker ([0-9]+) WARNING ([a-z]+)";
constexpr const char* kError = "ERROR ([0-9]+)";
constexpr const char* kAll = "[ -~\n]*";
constexpr const char* kFormat = "<$2 of $1>";

using Object = std::shared_ptr<RegularExpression>;

Object Make(const char* expression, const Text& text) {
  auto object = std::make_shared<RegularExpression>();
  object->SetExpression(expression);
  object->SetStringToMatch(text.text);
  object->SetFormatString(kFormat);
  object->SetMergeCopy(true);
  return object;
}

/// The subscribers read the length of the match, which the compiler can't do away with.
std::size_t seen = 0;

Object Subscribe(Object object) {
  const auto look = [](const std::vector<REMatch>& match) { seen += match[0].text.size(); };
  const auto match = [look](RegularExpression*, const std::vector<REMatch>& found, unsigned int,
                            unsigned int) { look(found); };
  const auto walk = [look](RegularExpression*, const std::vector<REMatch>& found, unsigned int,
                           unsigned int, bool&) { look(found); };
  object->SetOnMatchingClosure(match);
  object->SetOnSearchingClosure(match);
  object->SetOnGreppingClosure(walk);
  object->SetOnMergingClosure(walk);
  return object;
}

void OneMatch(Table& table, const Text& text) {
  const auto add = [&](const char* work, const char* beside, const char* expression, auto engine,
                       bool (RegularExpression::*operation)()) {
    if (!table.Wants(work, text.name)) return;
    const boost::regex regex(expression);
    const auto library = [operation](const Object& object) {
      return Repeat([=] { benchmark::DoNotOptimize((*object.*operation)()); });
    };
    table.Add({work, text.name, beside, Repeat([&text, regex, engine] {
                 boost::cmatch results;
                 benchmark::DoNotOptimize(engine(text.First(), text.Last(), results, regex));
               }),
               library(Make(expression, text)), library(Subscribe(Make(expression, text))),
               text.Rounds()});
  };
  const auto search = [](auto&&... arguments) { return boost::regex_search(arguments...); };
  const auto whole = [](auto&&... arguments) { return boost::regex_match(arguments...); };
  add("Match", "regex_search", kAll, search, &RegularExpression::Match);
  add("MatchAll", "regex_match", kAll, whole, &RegularExpression::MatchAll);
  add("Search", "regex_search", kError, search, &RegularExpression::Search);
}

void Walks(Table& table, const Text& text, const char* matches, const char* expression,
           bool subscribed) {
  const boost::regex regex(expression);
  const auto subscribe = [&](Object object) {
    object->SetReportContext(std::string(matches).find("no context") == std::string::npos);
    return Subscribe(std::move(object));
  };
  const std::string on = text.name + ", " + matches;
  if (table.Wants("Grep", on)) {
    const auto library = [](const Object& object) {
      return Repeat([=] { benchmark::DoNotOptimize(object->Grep()); });
    };
    table.Add({"Grep", on, "regex_grep", Repeat([&text, regex] {
                 benchmark::DoNotOptimize(boost::regex_grep(
                     [](const boost::cmatch&) { return true; }, text.First(), text.Last(), regex));
               }),
               library(Make(expression, text)),
               subscribed ? library(subscribe(Make(expression, text))) : Run(), text.Rounds()});
  }
  if (table.Wants("Merge", on)) {
    const auto library = [](const Object& object) {
      return Repeat([=] {
        std::string out;
        object->Merge(out);
        benchmark::DoNotOptimize(out.data());
      });
    };
    table.Add({"Merge", on, "regex_merge", Repeat([&text, regex] {
                 std::string out;
                 boost::regex_merge(std::back_inserter(out), text.First(), text.Last(), regex,
                                    kFormat, boost::format_all);
                 benchmark::DoNotOptimize(out.data());
               }),
               library(Make(expression, text)),
               subscribed ? library(subscribe(Make(expression, text))) : Run(), text.Rounds()});
  }
}

/// A walk with each of the expressions that the operations on files are measured with.
void Expressions(Table& table) {
  const Text text = {"64 MB of headers", Headers(64 << 20)};
  const auto library = [](const Object& object) {
    return Repeat([=] { benchmark::DoNotOptimize(object->Grep()); });
  };
  for (const char* const expression : kExpressions) {
    const std::string on = OnExpression("headers", expression);
    if (!table.Wants("Grep", on)) continue;
    const boost::regex regex(expression);
    Row row{"Grep",
            on,
            "regex_grep",
            Repeat([&text, regex] {
              benchmark::DoNotOptimize(boost::regex_grep([](const boost::cmatch&) { return true; },
                                                         text.First(), text.Last(), regex));
            }),
            library(Make(expression, text)),
            Run(),
            text.Rounds()};
    row.without = WithoutFinders(library(Make(expression, text)));
    table.Add(row);
  }
}

/// The walk under the model UnicodeLocale beside that under CppLocale, for which a character is a
/// byte, and beside those of other libraries that read UTF-8.
void Characters(Table& table) {
  const std::pair<const char*, const char*> samples[] = {
      {"ASCII", "The quick brown fox jumps over 13 lazy dogs. "},
      {"Latin", "Größe und Ähnlichkeit: été à l'école, 13 Füchse. "},
      {"Greek", "Η γρήγορη καφέ αλεπού πηδάει πάνω από 13 σκύλους. "},
      {"CJK", "敏捷的棕色狐狸跳过了13只懒狗。今天天气很好。"}};
  // As the library and PCRE2 have it, and as RE2 has it; the last matches nowhere.
  const std::pair<const char*, const char*> expressions[] = {
      {"\\w+", "[\\p{L}\\p{M}\\p{Nd}\\p{Nl}\\p{Pc}]+"},
      {"\\d+", "\\p{Nd}+"},
      {"\\d{3}", "\\p{Nd}{3}"}};
  for (const auto& [name, sample] : samples) {
    Text text = {std::string("1 MB of ") + name, ""};
    while (text.text.size() < 1 << 20) text.text += sample;
    for (const auto& [expression, spelledOut] : expressions) {
      const std::string on = text.name + ", " + expression;
      if (!table.Wants("Grep, Unicode", on)) continue;
      const auto make = [&text, expression = expression](RegularExpression::LocaleModels model) {
        Object object = Make(expression, text);
        object->SetLocaleModel(model);
        return object;
      };
      const auto library = [](const Object& object) {
        return Repeat([=] { benchmark::DoNotOptimize(object->Grep()); });
      };
      const std::size_t matches = make(RegularExpression::UnicodeLocale)->Grep();
      const auto peer = [matches](const Walk& walk) -> Run {
        return [=](benchmark::State& state) {
          if (walk() != matches) return state.SkipWithError("other matches than the library's");
          for (auto round : state) benchmark::DoNotOptimize(walk());
        };
      };
      const std::pair<const char*, Run> others[] = {
          {"CppLocale", library(make(RegularExpression::CppLocale))},
          {"RE2", peer(WalkWithRe2(spelledOut, text.text))},
          {"PCRE2", peer(WalkWithPcre2(expression, text.text))}};
      for (const auto& [beside, other] : others) {
        table.Add({"Grep, Unicode", on, beside, other,
                   library(make(RegularExpression::UnicodeLocale)), Run()});
      }
    }
  }
}

void Splits(Table& table, const Text& text) {
  const auto add = [&](const char* pieces, const char* expression) {
    const std::string on = text.name + ", " + pieces;
    if (!table.Wants("Split", on)) return;
    const boost::regex regex(expression);
    const Object object = Make(expression, text);
    table.Add({"Split", on, "regex_split", Repeat([&text, regex] {
                 std::string consumed = text.text;  // the call eats what it is given
                 std::vector<std::string> out;
                 boost::regex_split(std::back_inserter(out), consumed, regex, boost::match_default,
                                    SIZE_MAX);
                 benchmark::DoNotOptimize(out.data());
               }),
               Repeat([object] {
                 std::vector<std::string> out;
                 benchmark::DoNotOptimize(object->Split(out));
               }),
               Run(), text.Rounds()});
  };
  add("at line ends", "\n");
  add("groups of each line", kEveryLine);
}

/// Format runs inside a notification alone, so the loop does.
void Formats(Table& table, const Text& text) {
  if (!table.Wants("Format", text.name)) return;
  constexpr const char* kAllTwice = "<$&>";
  const boost::regex regex(kAll);
  const Object object = Make(kAll, text);
  object->SetFormatString(kAllTwice);
  table.Add({"Format", text.name, "match_results::format",
             [&](benchmark::State& state) {
               boost::cmatch results;
               boost::regex_search(text.First(), text.Last(), results, regex);
               for (auto round : state) {
                 const std::string out = results.format(kAllTwice, boost::format_all);
                 benchmark::DoNotOptimize(out.data());
               }
             },
             [&](benchmark::State& state) {
               object->SetOnSearchingClosure([&state](RegularExpression* running, auto&&...) {
                 for (auto round : state) {
                   std::string out;
                   running->Format(out);
                   benchmark::DoNotOptimize(out.data());
                 }
               });
               object->Search();
             },
             Run(), text.Rounds()});
}

void Compiles(Table& table) {
  const Object object = std::make_shared<RegularExpression>();
  const auto add = [&](const char* on, const char* beside, const Run& other, const Run& library) {
    table.Add({"ParseExpression", on, beside, other, library, Run()});
  };
  const Run engine = Repeat([] { benchmark::DoNotOptimize(boost::regex(kEveryLine).status()); });
  add("a new expression", "boost::regex", engine, Repeat([object] {
        object->SetExpression(std::string());  // forgets
        object->SetExpression(kEveryLine);
        benchmark::DoNotOptimize(object->ParseExpression());
      }));
  add("a remembered one", "boost::regex", engine,
      Repeat([object] { benchmark::DoNotOptimize(object->ParseExpression()); }));
}

}  // namespace

void MeasureStrings(Table& table) {
  const Text texts[] = {{"1 KB", Log(1 << 10)}, {"1 MB", Log(1 << 20)}, {"64 MB", Log(64 << 20)}};
  for (const Text& text : texts) OneMatch(table, text);
  for (const Text& text : texts) Walks(table, text, "8 matches", kEightTimes, true);
  for (const Text& text : texts) {
    // A report costs a copy of the text, so that a report of each line of the largest one would
    // take a day; unless it has no context.
    Walks(table, text, "each line", kEveryLine, text.text.size() <= 1 << 20);
    Walks(table, text, "each line, no context", kEveryLine, true);
  }
  Expressions(table);
  Characters(table);
  for (const Text& text : texts) Splits(table, text);
  for (const Text& text : texts) Formats(table, text);
  Compiles(table);
}

}  // namespace RegexClass::benchmarks
