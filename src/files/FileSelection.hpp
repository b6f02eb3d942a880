// SPDX-License-Identifier: BSL-1.0
// From file patterns to files.
#ifndef REGEXCLASS_FILES_FILESELECTION_HPP
#define REGEXCLASS_FILES_FILESELECTION_HPP

#include <functional>
#include <string>
#include <string_view>

#include "platform/FoundFile.hpp"

namespace RegexClass {

/// Who is told what a pattern selects. The two below `select` answer whether to go on; with the
/// first false the selection ends.
struct FileVisitor {
  /// Whether the walk takes something in a directory that it has read. `selected` is what the
  /// pattern and the recursion say.
  std::function<bool(const std::string& path, platform::DirectoryEntry::Kind kind, bool selected)>
      select;
  /// A name that the pattern selects, no directory's. What it leads to needn't be a regular file,
  /// and hasn't been identified. May be exchanged for another, whose memory is used again.
  std::function<bool(platform::FoundFile& file)> file;
  /// A directory whose names can't be told: because it can't be opened, or can't be read to its
  /// end. `error` is the system's number.
  std::function<bool(const std::string& directory, bool opened, int error)> failure;
};

/// Visits what `patterns` selects, by the rules that RegularExpression::SetFilesToMatch tells.
/// `found` is what becomes of links that no pattern spells out: kFollowed, or kRefused, by which
/// they are passed over as if they weren't there.
///
/// The names of a directory are taken before the first of its files is visited, so that files that
/// a visitor makes there don't matter.
void SelectFiles(std::string_view patterns, bool recursion, platform::Links found,
                 const FileVisitor& visitor);

/// The file of one name, which is no pattern. In its first `named` bytes links are followed, after
/// them there must be none. Touches nothing, so that the file has no identity yet.
platform::FoundFile Locate(const std::string& name, std::size_t named);

}  // namespace RegexClass

#endif  // REGEXCLASS_FILES_FILESELECTION_HPP
