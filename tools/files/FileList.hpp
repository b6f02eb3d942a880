// SPDX-License-Identifier: BSL-1.0
// From arguments to the files that a command works on.
#ifndef REGEXCLASS_TOOLS_FILES_FILELIST_HPP
#define REGEXCLASS_TOOLS_FILES_FILELIST_HPP

#include <cstddef>
#include <functional>
#include <optional>
#include <string>
#include <string_view>
#include <vector>

#include "output/Names.hpp"

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
  bool hardLinks = false;   ///< Change files with several names, too.
  bool linksApart = false;  ///< Links that were found come after all files.
};

struct ListedFile {
  std::string name;       ///< As it is printed.
  std::size_t named = 0;  ///< How much of the name, from its start, the user has spelled out.
  bool found = false;     ///< By recursion, so that it isn't wanted if it is binary.
  bool link = false;      ///< Found as a link; told for a choice that has links apart.
  /// With the first of several files that were found in one directory and follow each other: how
  /// many they are. Elsewhere 0.
  std::size_t together = 0;

  bool IsNamed() const { return named == name.size(); }
};

/// Lists regular files, and links to them, each once: argument by argument, in the byte order of
/// names, a directory's own files before those below it. `take` gets them as they are found, those
/// of a directory at a time; `problems` what has gone wrong, in words.
///
/// An argument that names something that exists stands for itself, whatever characters are in it,
/// so that the names that a shell makes of its patterns mean what they say; a directory stands for
/// its files. What names nothing is a problem, unless it is a pattern as the library has them,
/// whose last component is applied in all directories below too when the choice says so. Names that
/// a list brings aren't spelled out by the user.
///
/// `object` walks and selects. Throws Failure when no files are named.
void ListFiles(const FileChoice& choice, const RE& object,
               const std::function<void(std::vector<ListedFile> files)>& take,
               std::vector<std::string>& problems);

/// Lets the operations of `object` come to the same files, in one walk that lists and searches, but
/// for the rules of git. `onFile` is called for each. What is returned makes a listed file of the
/// name by which the walk comes to one. `choice` must outlive the walk. Throws Failure as
/// ListFiles.
std::function<ListedFile(const std::string& name)> PrepareWalk(const FileChoice& choice, RE& object,
                                                               const std::function<void()>& onFile,
                                                               std::vector<std::string>& problems);

/// The problem in words.
std::string InWords(const RE::FileSearchProblem& problem);

/// Whether there is a zero byte in the first 8 KiB of a file's content.
bool LooksBinary(std::string_view content);

}  // namespace tool

#endif  // REGEXCLASS_TOOLS_FILES_FILELIST_HPP
