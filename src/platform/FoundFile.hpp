// SPDX-License-Identifier: BSL-1.0
// A file that a walk has come to.
#ifndef REGEXCLASS_PLATFORM_FOUNDFILE_HPP
#define REGEXCLASS_PLATFORM_FOUNDFILE_HPP

#include <string>

#include "platform/Directory.hpp"

namespace RegexClass::platform {

struct FoundFile {
  std::string name;            ///< As the pattern leads to it.
  DirectoryPointer directory;  ///< Which it is in, and whose path begins the name.
  Links links = Links::kMeant;
  FileIdentity identity;  ///< Of the file that was read by that name.
  bool isFile = false;    ///< The directory has called it a regular file.

  /// The name that it has in its directory.
  std::string Entry() const { return name.substr(directory->PathLength()); }
};

}  // namespace RegexClass::platform

#endif  // REGEXCLASS_PLATFORM_FOUNDFILE_HPP
