// SPDX-License-Identifier: BSL-1.0
// The rules of .gitignore, asked of git.
#ifndef REGEXCLASS_TOOLS_FILES_IGNOREDFILES_HPP
#define REGEXCLASS_TOOLS_FILES_IGNOREDFILES_HPP

#include <string>
#include <unordered_set>
#include <vector>

namespace tool {

/// Which of the names, relative to `directory` (empty for the current one), git ignores. Throws
/// Failure when git isn't there or the directory lies in no repository.
std::unordered_set<std::string> IgnoredFiles(const std::string& directory,
                                             const std::vector<std::string>& names);

}  // namespace tool

#endif  // REGEXCLASS_TOOLS_FILES_IGNOREDFILES_HPP
