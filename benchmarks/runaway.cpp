// SPDX-License-Identifier: BSL-1.0
// What becomes of expressions that are known to run away, each on a text that makes it: by this
// library, by PCRE2 and by RE2. Prints the table of docs/users-expressions.md, and fails when an
// expression breaks what that page promises.

#include <RegularExpression.hpp>
#include <chrono>
#include <cstddef>
#include <cstdio>
#include <cstring>
#include <functional>
#include <stdexcept>
#include <string>
#include <vector>

#include "Peers.hpp"

namespace RegexClass::benchmarks {
namespace {

/// The text is `begin`, so often `middle` that there are about 100,000 bytes, and `end`.
struct Runaway {
  const char* family;
  const char* expression;
  const char* begin;
  const char* middle;
  const char* end;

  std::string Text() const {
    constexpr std::size_t kSize = 100000;
    std::string text = begin;
    while (text.size() + std::strlen(middle) + std::strlen(end) <= kSize) text += middle;
    return text + end;
  }
};

constexpr const char* kOutage =
    R"((?:(?:"|'|\]|\}|\\|\d|(?:nan|infinity|true|false|null|undefined|symbol|math)|`|-|\+)+[)]*;?)"
    R"(((?:\s|-|~|!|\{\}|\|\||\+)*.*(?:.*=.*))))";

const Runaway kRunaways[] = {
    {"repeats in repeats", "(a+)+$", "", "a", "!"},
    {"", "(a*)*b", "", "a", ""},
    {"", "^(a+)+$", "", "a", "!"},
    {"", "^(([a-z])+.)+[A-Z]([a-z])+$", "", "a", ""},
    {"", "([a-zA-Z]+)*x1", "", "a", "!"},
    {"", "(?:(?:a*)*)*b", "", "a", ""},
    {"", "((a?)*)*b", "", "a", ""},
    {"", "(x+x+)+y", "", "x", ""},
    {"", "(?:x+x+x+)+y", "", "x", ""},
    {"", "([\\w.]*)*@", "", "a.", "!"},
    {"", "(\\s*\\w+\\s*)*;", "", "word ", ""},
    {"", "^(\\d+)*$", "", "1", "x"},
    {"", "(.*)*=", "", "a", ""},
    {"", "^(?:[^\"]+|\"\")*\"$", "", "a", "\n"},
    {"alternatives that overlap", "(a|aa)+$", "", "a", "!"},
    {"", "(a|a?)+$", "", "a", "!"},
    {"", "(?:a|b|ab)*c", "", "ab", ""},
    {"", "^(?:\\w|\\d|_)*-$", "", "a1", ""},
    {"", "(?:.|\\s)*?END", "", "a ", ""},
    {"", "(?:\\\\.|[^'\\\\]|.)*'$", "", "a", ""},
    {"", "^(?:a|ab|b)*$", "", "ab", "!"},
    {"repeats in a row", "a*a*a*a*a*b", "", "a", ""},
    {"", ".*.*=.*;", "", "x=", ""},
    {"", kOutage, "\"", "x", ""},
    {"", "\\s+$", "", " ", "x"},
    {"", "^\\s+|\\s+$", "x", " ", "x"},
    {"", "\\d+\\d+\\d+x", "", "1", ""},
    {"", "<.*>.*</.*>", "", "<a>", ""},
    {"", "[^,]*,[^;]*;[^:]*:", "", "a,", ""},
    {"", "^(.*?,){11}P", "", "1,", ""},
    {"", "\\w*\\d*\\w*!", "", "a1", ""},
    {"counted repeats", "^(?:a?){25}a{25}$", "", "a", ""},
    {"", "(?:a{1,30}){1,30}b", "", "a", ""},
    {"", "^(?:[a-z]{1,20}){1,9}$", "", "a", "!"},
    {"validators",
     "^([a-zA-Z0-9])(([\\-.]|[_]+)?([a-zA-Z0-9]+))*(@){1}[a-z0-9]+[.]{1}"
     "(([a-z]{2,3})|([a-z]{2,3}[.]{1}[a-z]{2,3}))$",
     "", "a", "!"},
    {"", "^([\\w.+-]+)+@([\\w-]+\\.)+[a-z]{2,}$", "", "a", "@"},
    {"", "^(([^<>()\\[\\].,;:\\s@\"]+(\\.[^<>()\\[\\].,;:\\s@\"]+)*)|(\".+\"))@(\\w+\\.)+\\w{2,}$",
     "", "a.", "!"},
    {"", "^(https?:\\/\\/)?([\\da-z.-]+)\\.([a-z.]{2,6})([\\/\\w .-]*)*\\/?$", "a.bc", "/d", "#"},
    {"", "^((\\d{1,3}\\.?)+){4}$", "", "1.", "x"},
    {"", "^([0-9a-f]{1,4}:?)*:([0-9a-f]{1,4}:?)*$", "", "a", "x"},
    {"", "^(?:[+-]?\\d*\\.?\\d*)*e$", "", "1.", "x"},
    {"", "^#([a-z0-9-]+\\s*)+\\{$", "#", "a ", "!"},
    {"", "\\$\\{(?:[^{}]|\\$\\{[^{}]*\\})*\\}", "${", "${a}", ""},
    {"", "([A-Za-z]+ ?)+[.!?]$", "", "word ", ","},
    {"back references", "(a+)\\1b", "", "a", ""},
    {"", "^(a+)+\\1$", "", "a", "!"},
    {"", "(?i)(\\w+) \\1 \\1!", "", "ab ", ""},
    {"", "^(?:(a*)\\1)*b", "", "a", ""},
    {"look-around, atomic groups", "^(?=(a+)+$)", "", "a", "!"},
    {"", "(?:(?!b)a+)+c", "", "a", ""},
    {"", "(?<=a)(a*)*b", "", "a", ""},
    {"", "(?>a*)b", "", "a", ""},
    {"", "(?:a*+)*b", "", "a", ""},
};

enum class Outcome { kNo, kMatch, kGaveUp };

struct Answer {
  Outcome outcome;
  double seconds;
};

Answer Time(const std::function<bool()>& search) {
  const auto begin = std::chrono::steady_clock::now();
  Outcome outcome = Outcome::kGaveUp;
  try {
    outcome = search() ? Outcome::kMatch : Outcome::kNo;
  } catch (const std::runtime_error&) {
  }
  const std::chrono::duration<double> seconds = std::chrono::steady_clock::now() - begin;
  return {outcome, seconds.count()};
}

std::string Cell(const Answer& answer) {
  static constexpr const char* kWords[] = {"no match", "match", "gives up"};
  char time[32];
  const char* const format = answer.seconds < 0.01 ? "%.2f ms" : "%.0f ms";
  std::snprintf(time, sizeof time, format, answer.seconds * 1e3);
  return std::string(kWords[static_cast<int>(answer.outcome)]) + ", " + time;
}

std::string Cell(const std::function<bool()>& search) {
  return search ? Cell(Time(search)) : std::string("refused");
}

/// As code in a table.
std::string Shown(const std::string& expression) {
  std::string shown;
  for (const char c : expression) {
    if (c == '|') shown += '\\';
    shown += c;
  }
  const char* const ticks = expression.find('`') != std::string::npos ? "``" : "`";
  return ticks + shown + ticks;
}

int Run() {
  constexpr double kShort = 0.1;
  constexpr double kLong = 10;
  int broken = 0;
  std::puts("| expression | linear | here | with a limit of 1,000,000 steps | PCRE2 | RE2 |");
  std::puts("|---|---|---|---|---|---|");
  for (const Runaway& each : kRunaways) {
    if (*each.family != 0) std::printf("| *%s* | | | | | |\n", each.family);
    RegularExpression object;
    object.SetExpression(each.expression);
    const std::string text = each.Text();
    object.SetStringToMatch(text);
    const bool linear = object.IsLinear();
    RegularExpression limited(object);
    limited.SetStepLimit(1000000);
    const Answer here = Time([&] { return object.Search(); });
    const Answer withLimit = Time([&] { return limited.Search(); });
    const auto pcre2 = SearchByPcre2(each.expression, text);
    const auto re2 = SearchByRe2(each.expression, text);
    std::printf("| %s | %s | %s | %s | %s | %s |\n", Shown(each.expression).c_str(),
                linear ? "yes" : "no", Cell(here).c_str(), Cell(withLimit).c_str(),
                Cell(pcre2).c_str(), Cell(re2).c_str());
    std::fflush(stdout);
    const bool good =
        linear ? here.outcome != Outcome::kGaveUp && here.seconds < kShort : here.seconds < kLong;
    if (good && withLimit.seconds < kShort) continue;
    std::fprintf(stderr, "%s: too long\n", each.expression);
    ++broken;
  }
  return broken;
}

}  // namespace
}  // namespace RegexClass::benchmarks

int main() { return RegexClass::benchmarks::Run() == 0 ? 0 : 1; }
