// The walk over the string, match by match.

#include "matching/WalkReporter.hpp"
#include "object/ExpressionState.hpp"

namespace RegexClass {
namespace {

/// Searches `text` with a copy of the current expression, so that a notification may compile
/// another one meanwhile.
template <class Report>
unsigned int GrepText(ExpressionState& state, const std::string& text, Report report) {
  const boost::match_flag_type flags = EngineMatchFlags(state.settings.matchOptions, true);
  const WalkScope walk(state);
  return state.WithModel([&](const auto& model) {
    const auto expression = model.expression;
    return expression.Grep(text.data(), text.data() + text.size(), flags, report);
  });
}

}  // namespace

unsigned int RegularExpression::Grep() {
  if (state->ParseExpression() != NoError) return 0;

  const auto subscriber = state->notifications.onGrepping.Clone();
  if (!subscriber) {
    return GrepText(*state, state->settings.stringToMatch,
                    [](const boost::cmatch&) { return true; });
  }
  // A copy, because the subscriber may set another string.
  const std::string text = state->settings.stringToMatch;
  WalkReporter reporter(*state, subscriber, text.data());
  return GrepText(*state, text, [&](const boost::cmatch& results) {
    const CurrentResultsScope current(*state, results);
    return reporter(results);
  });
}

}  // namespace RegexClass
