// SPDX-License-Identifier: BSL-1.0
// The operations that look for one match and answer with a verdict.

#include <utility>

#include "matching/MatchVector.hpp"
#include "object/ExpressionState.hpp"

namespace RegexClass {
namespace {

/// Runs the engine on the string to match and raises the event of `slot` when `accept` says that
/// the outcome counts. `run` calls the engine; `accept` sees the results and the text's two ends.
template <class Slot, class Run, class Accept>
bool MatchOnce(ExpressionState& state, const Slot& slot, Run run, Accept accept,
               std::vector<REMatch>* match) {
  if (match != nullptr) match->clear();
  if (state.ParseExpression() != RegularExpression::NoError) return false;

  boost::cmatch results;
  const ScopedValue<const boost::cmatch*> current(state.stringResults, &results, nullptr);
  const char* const first = state.settings.stringToMatch.data();
  const char* const last = first + state.settings.stringToMatch.size();
  const boost::match_flag_type flags = EngineMatchFlags(state.settings.matchOptions, true);
  {
    const BusyScope busy(state);
    const bool found = state.WithModel(
        [&](const auto& model) { return run(model.expression, first, last, results, flags); });
    if (!found || !accept(results, first, last)) return false;
  }
  std::vector<REMatch> marks;
  if (match != nullptr) ToMarks(results, first, marks);  // before the string may change
  if (const auto subscriber = slot.Current()) {
    const Line line = LineCounter(first).At(results[0].first);
    std::vector<REMatch> matches;
    ToMatchVector(*state.CurrentResults(), state.notifications.context, matches);
    subscriber(state.owner, std::as_const(matches), line.number, line.start);
  }
  if (match != nullptr) match->swap(marks);
  return true;
}

constexpr auto kSearch = [](const auto& expression, const char* first, const char* last,
                            boost::cmatch& results, boost::match_flag_type flags) {
  return expression.Search(first, last, results, flags);
};
constexpr auto kMatchWhole = [](const auto& expression, const char* first, const char* last,
                                boost::cmatch& results, boost::match_flag_type flags) {
  return expression.MatchWhole(first, last, results, flags);
};

bool MatchFirst(ExpressionState& state, std::vector<REMatch>* match) {
  return MatchOnce(
      state, state.notifications.onMatching, kSearch,
      [](const boost::cmatch& results, const char* first, const char*) {
        return results[0].first == first;
      },
      match);
}

bool MatchAll(ExpressionState& state, std::vector<REMatch>* match) {
  return MatchOnce(
      state, state.notifications.onMatching, kMatchWhole,
      [](const boost::cmatch& results, const char*, const char* last) {
        return results[0].second == last;
      },
      match);
}

bool Search(ExpressionState& state, std::vector<REMatch>* match) {
  return MatchOnce(
      state, state.notifications.onSearching, kSearch,
      [](const boost::cmatch&, const char*, const char*) { return true; }, match);
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
