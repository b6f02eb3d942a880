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
engine::Flags EngineMatchFlag(RE::Matches option) {
  switch (option) {
    case RE::MatchDefault:
      return 0;
    case RE::MatchNotBol:
      return engine::kNotBol;
    case RE::MatchNotEol:
      return engine::kNotEol;
    case RE::MatchNotBob:
      return engine::kNotBob;
    case RE::MatchNotEob:
      return engine::kNotEob;
    case RE::MatchNotBow:
      return engine::kNotBow;
    case RE::MatchNotEow:
      return engine::kNotEow;
    case RE::MatchNotDotNewline:
      return engine::kNotDotNewline;
    case RE::MatchNotDotNull:
      return engine::kNotDotNull;
    case RE::MatchAny:
      return engine::kAny;
    case RE::MatchNotNull:
      return engine::kNotNull;
    case RE::MatchContinuous:
      return engine::kContinuous;
    case RE::MatchPartial:
      return engine::kPartial;
  }
  return 0;
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

engine::Flags EngineMatchFlags(const MatchOptions& options, bool allowPartial) {
  engine::Flags flags = 0;
  for (const RE::Matches option : options) {
    if (option != RE::MatchPartial || allowPartial) flags |= EngineMatchFlag(option);
  }
  return flags;
}

}  // namespace RegexClass
