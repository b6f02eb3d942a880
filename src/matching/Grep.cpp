// SPDX-License-Identifier: BSL-1.0
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

using Matches = std::vector<std::vector<REMatch>>;

/// Walks, and keeps each match in `matches` unless that is null.
unsigned int GrepInto(ExpressionState& state, Matches* matches) {
  if (matches != nullptr) matches->clear();
  if (state.ParseExpression() != RegularExpression::NoError) return 0;

  Matches found;
  const auto keep = [&](const boost::cmatch& results, const std::string& text) {
    if (matches != nullptr) ToMarks(results, text.data(), found.emplace_back());
    return true;
  };
  unsigned int count = 0;
  if (const auto subscriber = state.notifications.onGrepping.Clone()) {
    // A copy, because the subscriber may set another string.
    const std::string text = state.settings.stringToMatch;
    WalkReporter reporter(state, subscriber, text.data());
    count = GrepText(state, text, [&](const boost::cmatch& results) {
      const CurrentResultsScope current(state, results);
      return keep(results, text) && reporter(results);
    });
  } else {
    const std::string& text = state.settings.stringToMatch;
    count =
        GrepText(state, text, [&](const boost::cmatch& results) { return keep(results, text); });
  }
  if (matches != nullptr) matches->swap(found);
  return count;
}

}  // namespace

unsigned int RegularExpression::Grep() { return GrepInto(*state, nullptr); }
unsigned int RegularExpression::Grep(std::vector<std::vector<REMatch>>& matches) {
  return GrepInto(*state, &matches);
}

}  // namespace RegexClass
