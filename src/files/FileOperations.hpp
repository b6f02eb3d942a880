// SPDX-License-Identifier: BSL-1.0
// The three operations on files.
#ifndef REGEXCLASS_FILES_FILEOPERATIONS_HPP
#define REGEXCLASS_FILES_FILEOPERATIONS_HPP

#include <optional>

#include "files/FileWalker.hpp"
#include "object/ExpressionState.hpp"
#include "platform/FileServices.hpp"

namespace RegexClass {

/// The walker for the settings and the locale model of `state`; none when there is nothing to walk
/// or nothing to search for: an empty pattern, or an expression that is empty or no good in the
/// Perl syntax. The expression is also parsed as the object has it.
std::optional<FileWalker> WalkerFor(ExpressionState& state);

unsigned int GrepFiles(ExpressionState& state);
unsigned int FindFiles(ExpressionState& state);
/// Asks `services` for all that the rewriting needs of the system.
unsigned int ChangeFiles(ExpressionState& state, platform::FileServices& services);

}  // namespace RegexClass

#endif  // REGEXCLASS_FILES_FILEOPERATIONS_HPP
