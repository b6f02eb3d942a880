// SPDX-License-Identifier: BSL-1.0
// From arguments to the files that a command works on.
#ifndef REGEXCLASS_TOOLS_FILELIST_HPP
#define REGEXCLASS_TOOLS_FILELIST_HPP

#include <cstddef>
#include <functional>
#include <optional>
#include <string>
#include <string_view>
#include <vector>

namespace tool {

/// What the command line says about the files to take.
struct FileChoice {
  std::vector<std::string> arguments;  ///< Names of files and directories, and patterns.
  std::string patterns;                ///< Of a settings file, with ; between them.
  std::optional<std::string> listFile;
  std::vector<std::string> excluded;
  bool nullNames = false;
  bool recursive = false;
  bool hidden = false;
  bool binary = false;
  bool ignoreFiles = false;
};

struct ListedFile {
  std::string name;       ///< As it is printed.
  std::size_t named = 0;  ///< How much of the name, from its start, the user has spelled out.
  bool found = false;     ///< By recursion, so that it isn't wanted if it is binary.
  /// With the first file of a directory: how many follow each other, itself included, that are all
  /// that * stands for there; 0 when others are left out.
  std::size_t together = 0;
};

/// Lists regular files, and links to them, each once: argument by argument, in the byte order of
/// names, a directory's own files before those below it. `take` gets them as they are found, those
/// of a directory at a time; `problems` what has gone wrong, in words.
///
/// An argument that names something that exists stands for itself, whatever characters are in it,
/// so that the names that a shell makes of its patterns mean what they say; a directory stands for
/// its files. What names nothing is a problem, unless it is a pattern, as glob(7) has them, whose
/// last component is applied in all directories below too when the choice says so.
void ListFiles(const FileChoice& choice,
               const std::function<void(std::vector<ListedFile> files)>& take,
               std::vector<std::string>& problems);

/// The directory, as it stands before a name, when all that is chosen is to be found by a walk
/// through it that takes what IsTaken says.
std::optional<std::string> OnlyTree(const FileChoice& choice);
bool IsTaken(const FileChoice& choice, const std::string& path, bool isDirectory);

/// Whether there is a zero byte in the first 8 KiB of a file's content.
constexpr std::size_t kLookedAt = 8192;
bool LooksBinary(std::string_view content);
/// The first `most` bytes of a file; those before an error when it can't be read.
std::string ContentOf(const std::string& file, std::size_t most);

}  // namespace tool

#endif  // REGEXCLASS_TOOLS_FILELIST_HPP
