// SPDX-License-Identifier: BSL-1.0
// The operations that look for one match and answer with a verdict.

#include <utility>

#include "matching/SubMatches.hpp"
#include "object/ExpressionState.hpp"

namespace RegexClass {
namespace {

using Run = bool (engine::Expression::*)(std::string_view, const engine::SearchSettings&,
                                         engine::Match&) const;

/// Runs the engine on the string to match and raises the event of `slot` when `accept` says that
/// the outcome counts.
template <class Slot, class Accept>
bool MatchOnce(ExpressionState& state, const Slot& slot, Run run, Accept accept,
               std::vector<REMatch>* subMatches) {
  if (subMatches != nullptr) subMatches->clear();
  if (state.ParseExpression() != RegularExpression::NoError) return false;

  engine::Match match;
  const ScopedValue<const engine::Match*> current(state.stringMatch, &match, nullptr);
  const std::string_view text = state.settings.stringToMatch;
  const engine::SearchSettings settings = state.SearchSettings(true);
  {
    const BusyScope busy(state);
    const bool found = ((*state.Expression()).*run)(text, settings, match);
    if (!found || !accept(match[0], text)) return false;
  }
  std::vector<REMatch> kept;
  if (subMatches != nullptr) ToSubMatches(match, kept);  // before the string may change
  if (const auto subscriber = slot.Current()) {
    const Line line = LineCounter(text.data()).At(match[0].first);
    std::vector<REMatch> matches;
    ToReport(*state.CurrentMatch(), state.notifications.context, matches);
    subscriber(state.owner, std::as_const(matches), line.number, line.start);
  }
  if (subMatches != nullptr) subMatches->swap(kept);
  return true;
}

bool MatchFirst(ExpressionState& state, std::vector<REMatch>* subMatches) {
  const auto isAtStart = [](const engine::Part& match, std::string_view text) {
    return match.first == text.data();
  };
  return MatchOnce(state, state.notifications.onMatching, &engine::Expression::Search, isAtStart,
                   subMatches);
}

bool MatchAll(ExpressionState& state, std::vector<REMatch>* subMatches) {
  const auto isAtEnd = [](const engine::Part& match, std::string_view text) {
    return match.second == text.data() + text.size();
  };
  return MatchOnce(state, state.notifications.onMatching, &engine::Expression::MatchWhole, isAtEnd,
                   subMatches);
}

bool Search(ExpressionState& state, std::vector<REMatch>* subMatches) {
  const auto always = [](const engine::Part&, std::string_view) { return true; };
  return MatchOnce(state, state.notifications.onSearching, &engine::Expression::Search, always,
                   subMatches);
}

}  // namespace

bool RegularExpression::Match() { return MatchFirst(*state, nullptr); }
bool RegularExpression::Match(std::vector<REMatch>& match) { return MatchFirst(*state, &match); }
bool RegularExpression::MatchAll() { return RegexClass::MatchAll(*state, nullptr); }
bool RegularExpression::MatchAll(std::vector<REMatch>& match) {
  return RegexClass::MatchAll(*state, &match);
}
bool RegularExpression::Search() { return RegexClass::Search(*state, nullptr); }
bool RegularExpression::Search(std::vector<REMatch>& match) {
  return RegexClass::Search(*state, &match);
}

}  // namespace RegexClass
