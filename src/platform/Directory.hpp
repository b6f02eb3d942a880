// SPDX-License-Identifier: BSL-1.0
// Directories on the way of a walk, each opened by its name in the one above.
#ifndef REGEXCLASS_PLATFORM_DIRECTORY_HPP
#define REGEXCLASS_PLATFORM_DIRECTORY_HPP

#include <cstddef>
#include <cstdint>
#include <memory>
#include <string>
#include <vector>

#include "platform/Error.hpp"

namespace RegexClass::platform {

/// What makes two names those of one file.
struct FileIdentity {
  std::uint64_t device = 0;
  std::uint64_t number = 0;

  bool operator==(const FileIdentity& other) const {
    return device == other.device && number == other.number;
  }
  bool operator!=(const FileIdentity& other) const { return !(*this == other); }
};

/// What becomes of a name that is a link's.
enum class Links {
  kMeant,     ///< It is followed: the caller has spelled it out.
  kFollowed,  ///< It is followed to be searched; but anybody may have put it there, and nothing
              ///< after it is rewritten.
  kRefused,   ///< It isn't followed.
};

/// Something in a directory.
struct DirectoryEntry {
  enum Kind { kDirectory, kLink, kFile, kOther };
  std::string name;
  Kind kind;
};

class Directory;
using DirectoryPointer = std::shared_ptr<Directory>;

/// A directory that is open whenever it is asked for something, and stays the same one: who swaps
/// it for another gets an error and no one else's files.
///
/// However many there are of a walk, a few of them are open at a time; the others are opened again
/// by way of those above. For one thread at a time, together with all that come from the same
/// Current().
class Directory : public std::enable_shared_from_this<Directory> {
 public:
  struct System;  // of the platform

  /// The current directory, whose path is empty.
  static DirectoryPointer Current();
  explicit Directory(std::unique_ptr<System> system);
  Directory(const Directory&) = delete;
  ~Directory();

  /// The directory with that name in this one, or wherever an absolute name leads. Its path is that
  /// of this one and `component`, which may have separators at its end, and inside where links are
  /// meant. Touches nothing yet.
  DirectoryPointer Below(const std::string& component, Links links);
  /// The one of the directories above, or this one, whose path has `length` characters, with a
  /// separator at its end; null when there is none.
  DirectoryPointer Above(std::size_t length);
  std::size_t PathLength() const;

  /// Whether no link has led here but those that were meant. Only after it has been open.
  bool IsReachedAsMeant() const;
  Error Identify(FileIdentity& identity);
  /// The entries without the directory itself and the one above, in no order, and as many as can
  /// be told before an error. `opened` tells whether the directory could be opened.
  Error List(std::vector<DirectoryEntry>& entries, bool& opened);
  /// What has that name in the directory, under the name that the directory has it by; kOther also
  /// for what can't be told.
  DirectoryEntry EntryOf(const std::string& name);
  /// Follows the link that `name` may be to where a file has its own name: `name` in `directory`.
  /// A name that isn't there is its own.
  Error Resolve(DirectoryPointer& directory, std::string& name);

  System& ForPlatform() { return *system_; }

 private:
  const std::unique_ptr<System> system_;
};

}  // namespace RegexClass::platform

#endif  // REGEXCLASS_PLATFORM_DIRECTORY_HPP
