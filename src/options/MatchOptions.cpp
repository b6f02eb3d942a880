// SPDX-License-Identifier: BSL-1.0
#include "options/MatchOptions.hpp"

#include <algorithm>

namespace RegexClass {
namespace {

using RE = RegularExpression;

bool IsRestriction(RE::Matches option) {
  return option >= RE::MatchNotBol && option <= RE::MatchNotDotNull;
}

/// The engine's flag for an option; none for a number that is no option's.
boost::match_flag_type EngineMatchFlag(RE::Matches option) {
  switch (option) {
    case RE::MatchDefault:
      return boost::match_default;
    case RE::MatchNotBol:
      return boost::match_not_bol;
    case RE::MatchNotEol:
      return boost::match_not_eol;
    case RE::MatchNotBob:
      return boost::match_not_bob;
    case RE::MatchNotEob:
      return boost::match_not_eob;
    case RE::MatchNotBow:
      return boost::match_not_bow;
    case RE::MatchNotEow:
      return boost::match_not_eow;
    case RE::MatchNotDotNewline:
      return boost::match_not_dot_newline;
    case RE::MatchNotDotNull:
      return boost::match_not_dot_null;
    case RE::MatchAny:
      return boost::match_any;
    case RE::MatchNotNull:
      return boost::match_not_null;
    case RE::MatchContinuous:
      return boost::match_continuous;
    case RE::MatchPartial:
      return boost::match_partial;
  }
  return boost::match_default;
}

}  // namespace

void AddOption(MatchOptions& options, RE::Matches option) {
  if (!options.insert(option).second) return;
  if (option == RE::MatchDefault) {
    options.erase(options.lower_bound(RE::MatchNotBol), options.upper_bound(RE::MatchNotDotNull));
  } else if (std::any_of(options.begin(), options.end(), IsRestriction)) {
    options.erase(RE::MatchDefault);
  }
}

void DeleteOption(MatchOptions& options, RE::Matches option) {
  if (options.erase(option) == 0 || option == RE::MatchDefault) return;
  if (std::none_of(options.begin(), options.end(), IsRestriction)) {
    options.insert(RE::MatchDefault);
  }
}

boost::match_flag_type EngineMatchFlags(const MatchOptions& options, bool allowPartial) {
  boost::match_flag_type flags = boost::match_default;
  for (const RE::Matches option : options) {
    if (option != RE::MatchPartial || allowPartial) flags |= EngineMatchFlag(option);
  }
  return flags;
}

}  // namespace RegexClass
