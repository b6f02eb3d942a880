// SPDX-License-Identifier: BSL-1.0
#include "rewriting/Format.hpp"

namespace RegexClass {
namespace {

/// The engine's flag for a format type; one that is no enumerator gives the full syntax.
boost::match_flag_type EngineFormatFlag(RegularExpression::FormatTypes type) {
  switch (type) {
    case RegularExpression::FormatAll:
      break;
    case RegularExpression::FormatSed:
      return boost::format_sed;
    case RegularExpression::FormatPerl:
      return boost::format_perl;
  }
  return boost::format_all;
}

}  // namespace

std::string FormatMatch(const boost::cmatch& results, const ExpressionState& state) {
  return state.WithModel([&](const auto& model) {
    return model.expression.Format(results, state.settings.formatString.c_str(),
                                   EngineFormatFlag(state.settings.formatType));
  });
}

void RegularExpression::Format(std::string& out) const {
  out.clear();
  if (const boost::cmatch* const results = state->CurrentResults()) {
    out = FormatMatch(*results, *state);
  }
}

}  // namespace RegexClass
