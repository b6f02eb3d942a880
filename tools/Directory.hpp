// SPDX-License-Identifier: BSL-1.0
// Directories that stay what they were when a walk came through them.
#ifndef REGEXCLASS_TOOLS_DIRECTORY_HPP
#define REGEXCLASS_TOOLS_DIRECTORY_HPP

#include <string>

#include "FileList.hpp"

namespace tool {

/// The directory of a listed file, held open. Links in what the user has spelled out are followed,
/// others aren't, so that nobody who may write to a directory of the walk can lead it elsewhere.
class Directory {
 public:
  Directory() = default;
  ~Directory();
  Directory(const Directory&) = delete;
  Directory& operator=(const Directory&) = delete;

  /// Opens the directory of `file`, unless it is open already. Gives the system's number of what
  /// failed; 0 when nothing did.
  int Open(const ListedFile& file);
  int Descriptor() const { return descriptor_; }
  /// A pattern by which the library comes to the file in the directory, and perhaps to others
  /// there. There is no dot in it before the file's own name, and a link is followed only if it is
  /// named.
  std::string PatternOf(const ListedFile& file) const;

 private:
  std::string name_;
  int descriptor_ = -1;
};

/// The file's name in its directory.
std::string NameIn(const std::string& file);

}  // namespace tool

#endif  // REGEXCLASS_TOOLS_DIRECTORY_HPP
