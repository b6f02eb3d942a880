// SPDX-License-Identifier: BSL-1.0
// The rules that keep a set of expression options consistent.
#ifndef REGEXCLASS_OPTIONS_EXPRESSIONOPTIONS_HPP
#define REGEXCLASS_OPTIONS_EXPRESSIONOPTIONS_HPP

#include <cstdint>
#include <set>

#include "RegularExpression.hpp"

namespace RegexClass {

using ExpressionOptions = std::set<RegularExpression::Options>;

/// The name of a syntax, with its switches.
ExpressionOptions OptionsOf(RegularExpression::Options syntax);

/// Adds an option with all that follows from it. False when it is there already; nothing changes.
bool AddOption(ExpressionOptions& options, RegularExpression::Options option);

/// Removes an option with all that follows from it. False when it isn't there; nothing changes.
bool DeleteOption(ExpressionOptions& options, RegularExpression::Options option);

/// The word of engine::SyntaxBits for a set. A syntax without its switches, as a stream can bring
/// one in, counts with all of them; of several, the lowest number counts.
std::uint32_t SyntaxWord(const ExpressionOptions& options);

}  // namespace RegexClass

#endif  // REGEXCLASS_OPTIONS_EXPRESSIONOPTIONS_HPP
