// SPDX-License-Identifier: BSL-1.0
// The copies that change-files keeps of what it changes.
#ifndef REGEXCLASS_TOOLS_FILES_SAVEDCOPIES_HPP
#define REGEXCLASS_TOOLS_FILES_SAVEDCOPIES_HPP

#include <string>
#include <vector>

#include "files/FileList.hpp"

namespace tool {

/// The name of the copy of `file`: with the extension in place of what stands after the last dot
/// of the file's own name, or added to a name without a dot.
std::string CopyName(const std::string& file, const std::string& extension);

/// The extension with which the library, for which the last dot of the whole path counts, names the
/// copy of `file` so.
std::string ExtensionFor(const std::string& file, const std::string& extension);

/// Whether the file's name has that extension, in upper or lower case.
bool HasExtension(const std::string& file, const std::string& extension);

/// The files on disk that have a copy of that name.
std::vector<std::string> FilesWithCopy(const std::string& copy, const std::string& extension);

/// Says, in words, what stands against saving copies of `files`: two of them would share one, or
/// one would be a file that the user has named in `listed`, or that is there already.
std::vector<std::string> CopyConflicts(const std::vector<ListedFile>& files,
                                       const std::vector<ListedFile>& listed,
                                       const std::string& extension);

}  // namespace tool

#endif  // REGEXCLASS_TOOLS_FILES_SAVEDCOPIES_HPP
