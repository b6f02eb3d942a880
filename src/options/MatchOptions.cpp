// The rules that keep the set of match options consistent, and the engine's word for it.

#include <algorithm>

#include "object/ExpressionState.hpp"

namespace RegexClass {
namespace {

bool IsRestriction(RegularExpression::Matches option) {
  return option >= RegularExpression::MatchNotBol && option <= RegularExpression::MatchNotDotNull;
}

}  // namespace

void RegularExpression::AddMatchOption(Matches option) {
  auto& options = state->settings.matchOptions;
  if (!options.insert(option).second) return;
  if (option == MatchDefault) {
    options.erase(options.lower_bound(MatchNotBol), options.upper_bound(MatchNotDotNull));
  } else if (std::any_of(options.begin(), options.end(), IsRestriction)) {
    options.erase(MatchDefault);
  }
}

void RegularExpression::DeleteMatchOption(Matches option) {
  auto& options = state->settings.matchOptions;
  if (options.erase(option) == 0 || option == MatchDefault) return;
  if (std::none_of(options.begin(), options.end(), IsRestriction)) options.insert(MatchDefault);
}

bool RegularExpression::IsMatchOption(Matches option) const {
  return state->settings.matchOptions.count(option) != 0;
}

void RegularExpression::ClearMatchOptions() { state->settings.matchOptions.clear(); }

boost::match_flag_type ExpressionState::EngineMatchFlags(bool allowPartial) const {
  // By the numbers of Matches.
  static constexpr boost::match_flag_type kFlags[] = {
      boost::match_default, boost::match_not_bol,         boost::match_not_eol,
      boost::match_not_bob, boost::match_not_eob,         boost::match_not_bow,
      boost::match_not_eow, boost::match_not_dot_newline, boost::match_not_dot_null,
      boost::match_any,     boost::match_not_null,        boost::match_continuous,
      boost::match_partial};
  boost::match_flag_type flags = boost::match_default;
  for (const RegularExpression::Matches option : settings.matchOptions) {
    if (option < RegularExpression::MatchDefault || option > RegularExpression::MatchPartial) {
      continue;
    }
    if (option != RegularExpression::MatchPartial || allowPartial) flags |= kFlags[option];
  }
  return flags;
}

}  // namespace RegexClass
