// SPDX-License-Identifier: BSL-1.0
// Names of files and what has them, by the rules of the system: with an implementation in a folder
// for each. Errors are numbers of errno; 0 is none.
#ifndef REGEXCLASS_TOOLS_PLATFORM_FILESYSTEM_HPP
#define REGEXCLASS_TOOLS_PLATFORM_FILESYSTEM_HPP

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

/// How long the start of a path is that leads away from the current directory, such as a separator.
std::size_t RootLength(const std::string& path);

/// The path with / between its components, which programs of other systems take.
std::string WithSlashes(std::string path);

// ------------------------------------------------------------------------------------- patterns

/// The character that takes its meaning in a pattern from the one after it; zero where there is
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
  int error = 0;                         ///< Why there is nothing.
  bool readOnly = false;                 ///< Nobody has permission to write to it.
  bool otherNames = false;               ///< There are hard links to it.
  std::uint64_t device = 0, number = 0;  ///< Which file it is.
  std::uint64_t size = 0, time = 0;      ///< With the last change to its content.

  /// Whether it is the same file with the same content.
  bool operator==(const FileStatus& other) const {
    return kind == other.kind && device == other.device && number == other.number &&
           size == other.size && time == other.time;
  }
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
/// Whether the system hides what has this path, by more than its name.
bool IsHidden(const std::string& path);

/// A directory that is held, so that nobody who may write to one above can lead a path elsewhere.
class HeldDirectory {
 public:
  HeldDirectory() = default;
  ~HeldDirectory();
  HeldDirectory(const HeldDirectory&) = delete;
  HeldDirectory& operator=(const HeldDirectory&) = delete;

  /// Holds the directory of a file, unless it is held already. In the first `named` characters of
  /// the path links are followed.
  int Hold(const std::string& file, std::size_t named);
  /// Of what has a name in the directory, no link being followed.
  FileStatus StatusOf(const std::string& name) const;
  int Remove(const std::string& name) const;

  // A copy can be marked with the name of its file, where the system lets it.

  void MarkCopy(const std::string& copy, const std::string& file) const;
  /// Empty without a mark.
  std::string CopyMark(const std::string& copy) const;

 private:
  std::string path_;
  std::intptr_t handle_ = -1;
};

}  // namespace tool

#endif  // REGEXCLASS_TOOLS_PLATFORM_FILESYSTEM_HPP
