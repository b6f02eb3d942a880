// SPDX-License-Identifier: BSL-1.0
#include "rewriting/Format.hpp"

namespace RegexClass {
namespace {

/// The syntax of a format type; the full one for what is no enumerator.
engine::FormatSyntax EngineFormatSyntax(RegularExpression::FormatTypes type) {
  switch (type) {
    case RegularExpression::FormatAll:
      break;
    case RegularExpression::FormatSed:
      return engine::FormatSyntax::kSed;
    case RegularExpression::FormatPerl:
      return engine::FormatSyntax::kPerl;
  }
  return engine::FormatSyntax::kAll;
}

}  // namespace

std::string FormatMatch(const engine::Match& match, const ExpressionState& state) {
  return state.CurrentModel().model->Format(match, state.settings.formatString.c_str(),
                                            EngineFormatSyntax(state.settings.formatType));
}

void RegularExpression::Format(std::string& out) const {
  out.clear();
  if (const engine::Match* const match = state->CurrentMatch()) out = FormatMatch(*match, *state);
}

}  // namespace RegexClass
