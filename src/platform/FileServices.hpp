// SPDX-License-Identifier: BSL-1.0
// What the rewriting of files asks of the operating system.
//
// One object stands for the system; a test puts its own in its place and lets any call fail.
#ifndef REGEXCLASS_PLATFORM_FILESERVICES_HPP
#define REGEXCLASS_PLATFORM_FILESERVICES_HPP

#include <cstddef>
#include <cstdint>
#include <memory>
#include <string>
#include <vector>

#include "platform/FoundFile.hpp"

namespace RegexClass::platform {

/// An open file, with one offset for reading and writing. Closed with the object.
class File {
 public:
  virtual ~File() = default;

  /// Reads `size` bytes, and tells in `count` how many came: fewer only at the end of the file or
  /// after an error.
  virtual Error Read(char* buffer, std::size_t size, std::size_t& count) = 0;
  /// Writes all of `size` bytes, or fails.
  virtual Error Write(const char* buffer, std::size_t size) = 0;
  /// How far the file has been read or written, from its start; 0 when that can't be told.
  virtual std::uint64_t Offset() = 0;
  /// Goes back to the start.
  virtual Error Rewind() = 0;
  /// The file's length in bytes.
  virtual Error Size(std::uint64_t& size) = 0;
  /// Makes sure that there is space for a length of `size` bytes, so that writing them doesn't
  /// fail for want of it, where the file system is able to promise that. On failure the file is as
  /// it was.
  virtual Error Reserve(std::uint64_t size) = 0;
  /// Gives the file the length `size`.
  virtual Error Truncate(std::uint64_t size) = 0;
  /// Returns when the content is on the device, where the file system has one.
  virtual Error Sync() = 0;
  /// Whether there are stretches of zeros that take no space.
  virtual bool HasHoles() = 0;
  /// From now on long stretches of zeros that are written take no space, where that can be.
  virtual void LeaveHoles() = 0;
  /// Gives up the space of the stretches that take none in `model`, a file of the same content.
  virtual void DigHolesOf(File& model) = 0;
  /// Closes the file ahead of the object's end, for the error that only closing may bring up.
  virtual Error Close() = 0;
};

/// A temporary file: empty, open for writing and reading, and for no one else. Nothing of it is
/// left when the object ends, nor when the process is killed.
struct TemporaryFile {
  std::unique_ptr<File> file;
  std::string name;
};

/// The ways of finding a name for a temporary file, in the order in which they are to be tried.
enum class TemporaryNaming { kFirst, kSecond, kThird };

/// A new file beside another, which appears under its name only when it is whole: until then its
/// name is one of chance, and nobody else may open it. An object that ends before takes the file
/// with it.
class NewFile {
 public:
  virtual ~NewFile() = default;
  virtual File& Content() = 0;
  /// Gives the file its owner, permissions, access list and attributes, and renames it over
  /// whatever has its name; a link of that name is replaced and not followed.
  virtual Error Publish() = 0;
};

/// What is asked of a saved copy when something has its name already.
enum class Present { kReplaced, kKept };

/// A file that was opened once for its rewriting, and is locked to the end of the object against
/// programs that lock with flock. All that is done to it is done through this object.
class Target {
 public:
  virtual ~Target() = default;
  /// The file itself, for reading.
  virtual File& Content() = 0;
  /// Why the content can't be written over; 0 when it can.
  virtual Error Unwritable() = 0;
  /// Fails with kErrorChanged when the file has been written to since it was opened, or anything
  /// else of it has changed.
  virtual Error CheckUnchanged() = 0;
  virtual bool HasOtherNames() = 0;
  /// Opens a file to take the content from: a regular one, not by a link, of the same owner or the
  /// caller's own, where files have owners. Fails with kErrorExists when it is this file.
  virtual Error OpenSource(const FoundFile& source, std::unique_ptr<File>& content) = 0;
  /// A file to take the place of this one, with the same owner, permissions, access list and
  /// extended attributes. Fails where it couldn't: when the file has other names, too
  /// (kErrorManyNames), or when no file can be made beside it; its Publish() fails with kErrorStale
  /// when the name is no longer this file's, with kErrorChanged as CheckUnchanged(), and with other
  /// numbers when something can't be kept.
  virtual Error CreateReplacement(std::unique_ptr<NewFile>& file) = 0;
  /// A file of the name `name`, a name like that of the file, for a copy. It gets the permissions
  /// of the original, less what would let anyone read it who may not read the original, and less
  /// the set-user and set-group bits. Fails when the name is this file's or a directory's, and
  /// with kKept, also when it is published, when it is any.
  virtual Error CreateCopy(const std::string& name, Present present,
                           std::unique_ptr<NewFile>& file) = 0;
  /// Puts back what writing over the content has changed beside it: mode and file capabilities.
  /// Changes only what differs, so that it doesn't fail for one who has nothing to change.
  virtual Error RestoreAttributes() = 0;
};

/// What can be told of a file before it is opened for its rewriting.
struct FileToRewrite {
  bool writable = false;  ///< Somebody has the permission to write to it.
  FileIdentity identity;
};

/// May be used by any number of threads at once.
class FileServices {
 public:
  virtual ~FileServices() = default;

  /// Looks at the file that was found. Fails as Open() does.
  virtual Error Look(const FoundFile& file, FileToRewrite& told) = 0;

  /// Opens the file that was found, and locks it. Fails when the name has become another file's or
  /// leads through a link that the caller hasn't spelled out (kErrorStale, or the number of the
  /// link), and while another program has a lock on it.
  virtual Error Open(const FoundFile& file, std::unique_ptr<Target>& target) = 0;

  virtual Error CreateTemporary(TemporaryNaming naming, TemporaryFile& temporary) = 0;

  /// Does what Sync() does for each of several files, at less than its price. Gives an error for
  /// each.
  virtual std::vector<Error> SyncTogether(const std::vector<File*>& files) = 0;
  /// How many files to rewrite can be open at a time; 1 where SyncTogether() has no other price.
  virtual std::size_t MostTogether() = 0;

  /// The system that the process runs on.
  static FileServices& System();
};

}  // namespace RegexClass::platform

#endif  // REGEXCLASS_PLATFORM_FILESERVICES_HPP
