// SPDX-License-Identifier: BSL-1.0
// What the tests of several subsystems share.
#ifndef REGEXCLASS_TESTS_TESTHELPERS_HPP
#define REGEXCLASS_TESTS_TESTHELPERS_HPP

#include <cstdint>
#include <cstdlib>
#include <functional>
#include <iterator>
#include <ostream>
#include <random>
#include <string>
#include <tuple>
#include <utility>
#include <vector>

#include <gtest/gtest.h>

#ifdef _WIN32
#include <windows.h>
// Behind the one above.
#include <psapi.h>
#else
#include <sys/resource.h>
#endif

#include "RegularExpression.hpp"

namespace RegexClass {

inline std::ostream& operator<<(std::ostream& out, const REMatch& match) {
  return out << '(' << match.text << ", " << match.position << ')';
}

namespace test {

using RE = RegularExpression;
using Texts = std::vector<std::string>;

/// An object with an expression and a text.
inline RE Make(const std::string& expression, const std::string& text) {
  RE re;
  re.SetExpression(expression);
  re.SetStringToMatch(text);
  return re;
}

/// Whether the library has a locale model: UnicodeLocale takes ICU.
inline bool IsBuilt(RE::LocaleModels model) {
  RE re = Make("a", "");
  re.SetLocaleModel(model);
  return re.ParseExpression() == RE::NoError;
}

/// What an event on a string tells, and what Format makes of it.
struct Report {
  std::vector<REMatch> matches;
  unsigned int line = 0;
  unsigned int lineStart = 0;
  std::string formatted = {};
  bool operator==(const Report& other) const {
    return std::tie(matches, line, lineStart, formatted) ==
           std::tie(other.matches, other.line, other.lineStart, other.formatted);
  }
};
inline std::ostream& operator<<(std::ostream& out, const Report& report) {
  for (const REMatch& match : report.matches) out << match << ' ';
  return out << "line " << report.line << " from " << report.lineStart << ' ' << report.formatted;
}

/// Hears the events on a string of one object, and acts in each report.
class Recorder {
 public:
  /// What `act` gives is the answer to an event that asks for one.
  explicit Recorder(
      RE& re, std::function<bool(RE&)> act = [](RE&) { return true; })
      : re_(re), act_(std::move(act)) {
    const auto once = [this](RE* object, const std::vector<REMatch>& matches, unsigned int line,
                             unsigned int lineStart) { Take(object, matches, line, lineStart); };
    const auto walk = [this](RE* object, const std::vector<REMatch>& matches, unsigned int line,
                             unsigned int lineStart, bool& goOn) {
      EXPECT_TRUE(goOn);
      goOn = Take(object, matches, line, lineStart);
    };
    re.SetOnMatchingClosure(once);
    re.SetOnSearchingClosure(once);
    re.SetOnGreppingClosure(walk);
    re.SetOnMergingClosure(walk);
  }

  /// What has been reported since the last call.
  std::vector<Report> Reports() { return std::exchange(reports_, {}); }

 private:
  bool Take(RE* object, const std::vector<REMatch>& matches, unsigned int line,
            unsigned int lineStart) {
    EXPECT_EQ(object, &re_);
    reports_.push_back({matches, line, lineStart});
    object->Format(reports_.back().formatted);
    return act_(*object);
  }

  RE& re_;
  const std::function<bool(RE&)> act_;
  std::vector<Report> reports_;
};

inline std::string Merged(RE& re) {
  std::string out = "old";
  const bool good = re.ParseExpression() == RE::NoError;
  EXPECT_EQ(re.Merge(out), good);
  return out;
}
inline std::string Formatted(const RE& re) {
  std::string out = "old";
  re.Format(out);
  return out;
}
inline Texts Pieces(RE& re) {
  Texts pieces = {"old"};
  const unsigned int count = re.Split(pieces);
  EXPECT_EQ(count, pieces.size());
  return pieces;
}

/// Every string over `alphabet` up to `length`, the empty one first.
inline Texts AllStrings(const std::string& alphabet, std::size_t length) {
  Texts all = {""};
  for (std::size_t i = 0; i < all.size(); ++i) {
    if (all[i].size() == length) continue;
    for (const char c : alphabet) all.push_back(all[i] + c);
  }
  return all;
}

/// The most memory that the process has had so far, in bytes.
inline std::size_t PeakMemory() {
#ifdef _WIN32
  PROCESS_MEMORY_COUNTERS counters = {};
  GetProcessMemoryInfo(GetCurrentProcess(), &counters, sizeof counters);
  return counters.PeakWorkingSetSize;
#else
  rusage usage = {};
  getrusage(RUSAGE_SELF, &usage);
  return static_cast<std::size_t>(usage.ru_maxrss) << 10;
#endif
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

 private:
  std::mt19937 engine_;
};

}  // namespace test
}  // namespace RegexClass

#endif  // REGEXCLASS_TESTS_TESTHELPERS_HPP
