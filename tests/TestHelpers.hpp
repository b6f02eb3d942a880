// What the tests of several subsystems share.
#ifndef REGEXCLASS_TESTS_TESTHELPERS_HPP
#define REGEXCLASS_TESTS_TESTHELPERS_HPP

#include <cstdint>
#include <cstdlib>
#include <iterator>
#include <ostream>
#include <random>
#include <string>
#include <tuple>
#include <utility>
#include <vector>

#include "RegularExpression.hpp"

namespace RegexClass {

inline bool operator==(const REMatch& a, const REMatch& b) {
  return a.text == b.text && a.position == b.position;
}
inline std::ostream& operator<<(std::ostream& out, const REMatch& match) {
  return out << '(' << match.text << ", " << match.position << ')';
}

namespace test {

using RE = RegularExpression;

/// One report of a match, as a notification got it.
struct Report {
  std::vector<REMatch> matches;
  unsigned int line = 0;
  unsigned int lineStart = 0;
  bool operator==(const Report& other) const {
    return std::tie(matches, line, lineStart) ==
           std::tie(other.matches, other.line, other.lineStart);
  }
};
inline std::ostream& operator<<(std::ostream& out, const Report& report) {
  for (const REMatch& match : report.matches) out << match << ' ';
  return out << "line " << report.line << " from " << report.lineStart;
}

/// An object with an expression and a text.
inline RE Make(const std::string& expression, const std::string& text) {
  RE re;
  re.SetExpression(expression);
  re.SetStringToMatch(text);
  return re;
}

/// Every string over `alphabet` up to `length`, the empty one first.
inline std::vector<std::string> AllStrings(const std::string& alphabet, std::size_t length) {
  std::vector<std::string> all = {""};
  for (std::size_t i = 0; i < all.size(); ++i) {
    if (all[i].size() == length) continue;
    for (const char c : alphabet) all.push_back(all[i] + c);
  }
  return all;
}

/// How many cases a generator runs: `usual`, or what REGEXCLASS_TEST_CASES says.
inline int Cases(int usual) {
  const char* const wanted = std::getenv("REGEXCLASS_TEST_CASES");
  return wanted != nullptr ? std::stoi(wanted) : usual;
}

/// Random choices that are the same in every run.
class Random {
 public:
  explicit Random(std::uint32_t seed) : engine_(seed) {}
  /// A number from 0 up to, not including, `end`.
  std::size_t Below(std::size_t end) {
    return std::uniform_int_distribution<std::size_t>(0, end - 1)(engine_);
  }
  bool Flip() { return Below(2) == 0; }
  std::string Text(const std::string& alphabet, std::size_t longest) {
    std::string text(Below(longest + 1), ' ');
    for (char& c : text) c = alphabet[Below(alphabet.size())];
    return text;
  }

  /// A small expression over a and b; not each one compiles.
  std::string Expression(int depth = 3) {
    static const char* const kAtoms[] = {"a", "b", ".", "[ab]", "\\n", "^", "$", "\\b", "", "\\1"};
    static const char* const kRepeats[] = {"*", "+", "?", "*?", "{2}", "{0,1}"};
    if (depth == 0 || Below(4) == 0) return kAtoms[Below(std::size(kAtoms))];
    const std::string part = Expression(depth - 1);
    switch (Below(5)) {
      case 0:
        return "(" + part + ")";
      case 1:
        return "(?:" + part + ")" + kRepeats[Below(std::size(kRepeats))];
      case 2:
        return part + "|" + Expression(depth - 1);
      default:
        return part + Expression(depth - 1);
    }
  }

 private:
  std::mt19937 engine_;
};

}  // namespace test
}  // namespace RegexClass

#endif  // REGEXCLASS_TESTS_TESTHELPERS_HPP
