// SPDX-License-Identifier: BSL-1.0
// The string rewritten match by match: by the engine alone, or under a subscriber's control.

#include <utility>

#include "matching/WalkReporter.hpp"
#include "object/ExpressionState.hpp"
#include "rewriting/Format.hpp"

namespace RegexClass {
namespace {

/// With no subscriber: the format string is in the full syntax, whatever the format type says.
std::string MergeByEngine(ExpressionState& state) {
  const Settings& settings = state.settings;
  boost::match_flag_type flags = EngineMatchFlags(settings.matchOptions, false) | boost::format_all;
  if (!settings.mergeCopy) flags |= boost::format_no_copy;
  if (settings.mergeOnlyFirst) flags |= boost::format_first_only;

  const WalkScope walk(state);
  const char* const first = settings.stringToMatch.data();
  std::string merged;
  state.WithModel([&](const auto& model) {
    model.expression.Merge(first, first + settings.stringToMatch.size(),
                           settings.formatString.c_str(), flags, merged);
  });
  return merged;
}

/// With a subscriber, which may veto the replacement of a match, stop the run, and change the
/// settings for the replacement of the match at hand.
std::string MergeBySubscriber(ExpressionState& state,
                              const WalkReporter::WalkSubscriber& subscriber) {
  const Settings& settings = state.settings;
  const std::string text = settings.stringToMatch;  // the subscriber may set another
  const bool onlyFirst = settings.mergeOnlyFirst;
  const boost::match_flag_type flags = EngineMatchFlags(settings.matchOptions, false);
  WalkReporter reporter(state, subscriber, text.data());
  std::string merged;
  const char* done = text.data();  // up to here all is in the output; moves only when copying
  const char* const last = done + text.size();

  const auto merge = [&](const boost::cmatch& results) {
    const CurrentResultsScope current(state, results);
    if (settings.mergeCopy) {
      merged.append(done, results[0].first);
      done = results[0].first;
    }
    if (!reporter(results)) return false;
    merged += FormatMatch(results, state);
    if (settings.mergeCopy) done += results[0].length();
    return !onlyFirst;
  };
  {
    const WalkScope walk(state);
    state.WithModel([&](const auto& model) {
      const auto expression = model.expression;  // a copy: see Grep
      expression.Grep(text.data(), last, flags, merge);
    });
  }
  if (settings.mergeCopy) merged.append(done, last);
  return merged;
}

}  // namespace

void RegularExpression::Merge(std::string& out) {
  out.clear();
  if (state->ParseExpression() != NoError) return;
  const auto subscriber = state->notifications.onMerging.Clone();
  out = subscriber ? MergeBySubscriber(*state, subscriber) : MergeByEngine(*state);
}

}  // namespace RegexClass
