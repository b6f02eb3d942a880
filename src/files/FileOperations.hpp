// SPDX-License-Identifier: BSL-1.0
// The operations on the files of a pattern.
#ifndef REGEXCLASS_FILES_FILEOPERATIONS_HPP
#define REGEXCLASS_FILES_FILEOPERATIONS_HPP

#include <optional>
#include <string>
#include <vector>

#include "files/FileWalker.hpp"
#include "object/ExpressionState.hpp"

namespace RegexClass {

/// The walker for the settings and the locale model of `state`; none when there is nothing to walk
/// or nothing to search for: an empty pattern, or an expression that is empty or no good in the
/// Perl syntax. The expression is also parsed as the object has it. `found` is what becomes of
/// links that no pattern spells out.
std::optional<FileWalker> WalkerFor(ExpressionState& state, platform::Links found);

std::vector<std::string> SelectFiles(ExpressionState& state);
unsigned int GrepFiles(ExpressionState& state);
unsigned int FindFiles(ExpressionState& state);
unsigned int ChangeFiles(ExpressionState& state);
bool RewriteFile(ExpressionState& state, const std::string& name, const std::string& source,
                 std::size_t named);

}  // namespace RegexClass

#endif  // REGEXCLASS_FILES_FILEOPERATIONS_HPP
