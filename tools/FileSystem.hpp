// SPDX-License-Identifier: BSL-1.0
// Names of files and what has them, by the rules of the system: with an implementation in a folder
// for each. Errors are numbers of errno; 0 is none.
#ifndef REGEXCLASS_TOOLS_FILESYSTEM_HPP
#define REGEXCLASS_TOOLS_FILESYSTEM_HPP

#include <cstddef>
#include <cstdint>
#include <string>
#include <string_view>
#include <vector>

namespace tool {

// ---------------------------------------------------------------------------------------- names

/// The characters that separate the components of a path; the first is the one to write.
extern const std::string_view kSeparators;

/// Where the last component of a path begins: at its end, when it is written as a directory's.
std::size_t OwnNameAt(const std::string& path);
inline std::string OwnName(const std::string& path) { return path.substr(OwnNameAt(path)); }
/// What stands in front of it; empty for a name in the current directory.
inline std::string DirectoryOf(const std::string& path) { return path.substr(0, OwnNameAt(path)); }

/// How long a mark at the start of a path is that is no component, whatever characters it has.
std::size_t MarkLength(const std::string& path);

/// The path with / between its components, which programs of other systems take.
std::string WithSlashes(std::string path);

// ------------------------------------------------------------------------------------- patterns

/// The character that takes its meaning in a pattern from the one behind it; zero where there is
/// none.
extern const char kEscape;
/// Whether * stands for names with a dot at the start, too, when the library reads it.
extern const bool kStarTakesDots;

/// What the library takes for exactly this name.
std::string Escaped(const std::string& name);

/// Whether a name matches a pattern, both without separators. With `hidesDots` a dot at the start
/// of the name is matched by a dot alone.
bool NameMatches(const std::string& pattern, const std::string& name, bool hidesDots);

// ---------------------------------------------------------------------------- what has the names

struct FileStatus {
  enum Kind { kNothing, kFile, kDirectory, kLink, kOther };
  Kind kind = kNothing;
  int error = 0;            ///< Why there is nothing.
  bool readOnly = false;    ///< Nobody has permission to write to it.
  bool otherNames = false;  ///< There are hard links to it.
};
/// Of what a link leads to.
FileStatus StatusOf(const std::string& path);
/// Of the link itself.
FileStatus StatusOfLink(const std::string& path);

/// Why the process can't write to the file.
int WriteError(const std::string& path);

/// One name for what has this path, whatever way leads to its directory and in whatever case it is
/// written; a link that the last component may be isn't followed.
std::string KeyOf(const std::string& path);
/// The same of a name that a listing gave, in the directory whose own key is `directory`.
std::string KeyIn(const std::string& directory, const std::string& name);
/// The same of what a link leads to.
std::string KeyOfTarget(const std::string& path);

/// Whether the system hides what has this path, by more than its name.
bool IsHidden(const std::string& path);

struct Entry {
  std::string name;
  FileStatus::Kind kind;  ///< Of what a link leads to.
  bool link;
  bool hidden;  ///< By more than its name.
};
struct Listing {
  std::vector<Entry> entries;  ///< In the byte order of their names.
  bool opened = false;
  int error = 0;
};
/// Lists the entries of a directory, as it stands before a name.
Listing List(const std::string& directory);

/// A directory that is held, so that nobody who may write to one above can lead a path elsewhere.
class Directory {
 public:
  Directory() = default;
  ~Directory();
  Directory(const Directory&) = delete;
  Directory& operator=(const Directory&) = delete;

  /// Holds the directory of a file, unless it is held already. In the first `named` characters of
  /// the path links are followed.
  int Hold(const std::string& file, std::size_t named);
  /// Of what has a name in the directory, no link being followed.
  FileStatus StatusOf(const std::string& name) const;
  /// Puts one file of the directory in the place of another.
  int Replace(const std::string& file, const std::string& by) const;

 private:
  std::string path_;
  std::intptr_t handle_ = -1;
};

}  // namespace tool

#endif  // REGEXCLASS_TOOLS_FILESYSTEM_HPP
