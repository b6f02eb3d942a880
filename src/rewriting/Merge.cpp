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
  const engine::MergeFormat format = {settings.formatString.c_str(), engine::FormatSyntax::kAll,
                                      settings.mergeCopy, settings.mergeOnlyFirst};
  const WalkScope walk(state);
  std::string merged;
  state.Expression()->Merge(settings.stringToMatch, state.SearchSettings(false), format, merged);
  return merged;
}

/// With a subscriber, which may veto the replacement of a match, stop the run, and change the
/// settings for the replacement of the match at hand.
std::string MergeBySubscriber(ExpressionState& state,
                              const WalkReporter::WalkSubscriber& subscriber) {
  const Settings& settings = state.settings;
  const std::string text = settings.stringToMatch;  // the subscriber may set another
  const bool onlyFirst = settings.mergeOnlyFirst;
  const engine::SearchSettings searchSettings = state.SearchSettings(false);
  WalkReporter reporter(state, subscriber, text.data());
  std::string merged;
  const char* done = text.data();  // up to here all is in the output; moves only when copying
  const char* const last = done + text.size();

  const auto merge = [&](const engine::Match& match) {
    const CurrentMatchScope current(state, match);
    if (settings.mergeCopy) {
      merged.append(done, match[0].first);
      done = match[0].first;
    }
    if (!reporter(match)) return false;
    merged += FormatMatch(match, state);
    if (settings.mergeCopy) done += match[0].Length();
    return !onlyFirst;
  };
  {
    const WalkScope walk(state);
    const auto expression = state.Expression();  // held on to: see Grep
    expression->Grep(text, searchSettings, merge);
  }
  if (settings.mergeCopy) merged.append(done, last);
  return merged;
}

}  // namespace

bool RegularExpression::Merge(std::string& out) {
  out.clear();
  if (state->ParseExpression() != NoError) return false;
  const auto subscriber = state->notifications.onMerging.Clone();
  out = subscriber ? MergeBySubscriber(*state, subscriber) : MergeByEngine(*state);
  return true;
}

}  // namespace RegexClass
