// SPDX-License-Identifier: BSL-1.0
#ifndef REGEXCLASS_PLATFORM_REWRITETARGET_HPP
#define REGEXCLASS_PLATFORM_REWRITETARGET_HPP

#include <memory>
#include <string>

#include "platform/FoundFile.hpp"
#include "platform/NewFile.hpp"

namespace RegexClass::platform {

/// What can be told of a file before it is opened for its rewriting.
struct FileToRewrite {
  bool writable = false;  ///< Somebody has the permission to write to it.
  FileIdentity identity;
};

/// What is asked of a saved copy when something has its name already.
enum class Present { kReplaced, kKept };

/// A file that was opened once for its rewriting, and is locked to the end of the object against
/// programs that lock with flock. All that is done to it is done through this object.
class RewriteTarget {
 public:
  struct System;  // of the platform

  /// Looks at the file that was found. Fails as Open() does.
  static Error Look(const FoundFile& file, FileToRewrite& told);

  /// None is open yet.
  RewriteTarget();
  RewriteTarget(const RewriteTarget&) = delete;
  ~RewriteTarget();

  /// Opens the file that was found, and locks it. Fails when the name has become another file's or
  /// leads through a link that the caller hasn't spelled out (kErrorStale, or the number of the
  /// link), and while another program has a lock on it.
  Error Open(const FoundFile& file);
  /// The file itself, for reading.
  File& Content();
  /// Why the content can't be written over; 0 when it can.
  Error Unwritable();
  /// Fails with kErrorChanged when the file has been written to since it was opened, or anything
  /// else of it has changed.
  Error CheckUnchanged();
  bool HasOtherNames();
  /// Opens a file to take the content from: a regular one, not by a link, of the same owner or the
  /// caller's own, where files have owners. Fails with kErrorExists when it is this file.
  Error OpenSource(const FoundFile& source, std::unique_ptr<File>& content);
  /// A file to take the place of this one, with the same owner, permissions, access list and
  /// extended attributes. Fails where it couldn't: when the file has other names, too
  /// (kErrorManyNames), or when no file can be made beside it; its Publish() fails with kErrorStale
  /// when the name is no longer this file's, with kErrorChanged as CheckUnchanged(), and with other
  /// numbers when something can't be kept.
  Error CreateReplacement(std::unique_ptr<NewFile>& file);
  /// A file of the name `name`, a name like that of the file, for a copy. It gets the permissions
  /// of the original, less what would let anyone read it who may not read the original, and less
  /// the set-user and set-group bits. Fails when the name is this file's or a directory's, and
  /// with kKept, also when it is published, when it is any.
  Error CreateCopy(const std::string& name, Present present, std::unique_ptr<NewFile>& file);
  /// Puts back what writing over the content has changed beside it: mode and file capabilities.
  /// Changes only what differs, so that it doesn't fail for one who has nothing to change.
  Error RestoreAttributes();

 private:
  const std::unique_ptr<System> system_;
};

}  // namespace RegexClass::platform

#endif  // REGEXCLASS_PLATFORM_REWRITETARGET_HPP
