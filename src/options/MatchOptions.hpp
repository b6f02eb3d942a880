// SPDX-License-Identifier: BSL-1.0
// The rules that keep a set of match options consistent, and the engine's word for it.
#ifndef REGEXCLASS_OPTIONS_MATCHOPTIONS_HPP
#define REGEXCLASS_OPTIONS_MATCHOPTIONS_HPP

#include <set>

#include "RegularExpression.hpp"
#include "engine/Flags.hpp"

namespace RegexClass {

using MatchOptions = std::set<RegularExpression::Matches>;

/// Adds an option with all that follows from it.
void AddOption(MatchOptions& options, RegularExpression::Matches option);

/// Removes an option with all that follows from it.
void DeleteOption(MatchOptions& options, RegularExpression::Matches option);

/// The engine's flags for a set; those of MatchPartial only where it is allowed.
engine::Flags EngineMatchFlags(const MatchOptions& options, bool allowPartial);

}  // namespace RegexClass

#endif  // REGEXCLASS_OPTIONS_MATCHOPTIONS_HPP
