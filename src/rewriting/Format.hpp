// SPDX-License-Identifier: BSL-1.0
// Text made of a match by a format string.
#ifndef REGEXCLASS_REWRITING_FORMAT_HPP
#define REGEXCLASS_REWRITING_FORMAT_HPP

#include <string>

#include "object/ExpressionState.hpp"

namespace RegexClass {

/// What the format string that is set, in the syntax of its format type, makes of a match.
std::string FormatMatch(const engine::Match& match, const ExpressionState& state);

}  // namespace RegexClass

#endif  // REGEXCLASS_REWRITING_FORMAT_HPP
