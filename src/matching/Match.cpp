// The operations that look for one match and answer with a verdict.

#include <utility>

#include "matching/MatchVector.hpp"
#include "object/ExpressionState.hpp"

namespace RegexClass {
namespace {

/// Runs the engine on the string to match and raises the event of `slot` when `accept` says that
/// the outcome counts. `run` calls the engine; `accept` sees the results and the text's two ends.
template <class Slot, class Run, class Accept>
bool MatchOnce(ExpressionState& state, const Slot& slot, Run run, Accept accept) {
  if (state.ParseExpression() != RegularExpression::NoError) return false;

  // What this operation put into `results` goes, on every road out of it.
  struct Release {
    ExpressionState& state;
    ~Release() { state.ReleaseResults(); }
  } const release{state};
  state.results = std::make_unique<boost::cmatch>();

  const char* const first = state.settings.stringToMatch.data();
  const char* const last = first + state.settings.stringToMatch.size();
  const boost::match_flag_type flags = state.EngineMatchFlags(true);
  {
    const BusyScope busy(state);
    const bool found = state.WithModel([&](const auto& expression, const CompileState&) {
      return run(expression, first, last, *state.results, flags);
    });
    if (!found || !accept(*state.results, first, last)) return false;
  }
  if (const auto subscriber = slot.Current()) {
    const Line line = LineCounter(first).At((*state.results)[0].first);
    subscriber(state.owner, state.CurrentMatches(), line.number, line.start);
  }
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
}  // namespace

std::vector<REMatch> ExpressionState::CurrentMatches() const {
  std::vector<REMatch> matches;
  ToMatchVector(*CurrentResults(), matches);
  return matches;
}

bool RegularExpression::Match() {
  return MatchOnce(*state, state->notifications.onMatching, kSearch,
                   [](const boost::cmatch& results, const char* first, const char*) {
                     return results[0].first == first;
                   });
}

bool RegularExpression::MatchAll() {
  return MatchOnce(*state, state->notifications.onMatching, kMatchWhole,
                   [](const boost::cmatch& results, const char*, const char* last) {
                     return results[0].second == last;
                   });
}

bool RegularExpression::Search() {
  return MatchOnce(*state, state->notifications.onSearching, kSearch,
                   [](const boost::cmatch&, const char*, const char*) { return true; });
}

}  // namespace RegexClass
