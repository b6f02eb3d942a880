// SPDX-License-Identifier: BSL-1.0
// The two sets of options, which follow the rules that keep them consistent. A set is changed in a
// copy, so that a lack of memory leaves it as it was.
#include "object/ExpressionState.hpp"

namespace RegexClass {

void RegularExpression::AddExpressionOption(Options option) {
  ExpressionOptions options = state->settings.expressionOptions;
  if (AddOption(options, option)) state->SetExpressionOptions(options);
}
void RegularExpression::DeleteExpressionOption(Options option) {
  ExpressionOptions options = state->settings.expressionOptions;
  if (DeleteOption(options, option)) state->SetExpressionOptions(options);
}
bool RegularExpression::IsExpressionOption(Options option) const {
  return state->settings.expressionOptions.count(option) != 0;
}
void RegularExpression::ClearExpressionOptions() {
  state->MarkNotCompiled();
  state->settings.expressionOptions.clear();
}

void RegularExpression::AddMatchOption(Matches option) {
  MatchOptions options = state->settings.matchOptions;
  AddOption(options, option);
  state->settings.matchOptions.swap(options);
}
void RegularExpression::DeleteMatchOption(Matches option) {
  MatchOptions options = state->settings.matchOptions;
  DeleteOption(options, option);
  state->settings.matchOptions.swap(options);
}
bool RegularExpression::IsMatchOption(Matches option) const {
  return state->settings.matchOptions.count(option) != 0;
}
void RegularExpression::ClearMatchOptions() { state->settings.matchOptions.clear(); }

}  // namespace RegexClass
