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

/// A file that was opened once for its rewriting, and is locked to the end of the object against
/// programs that lock with flock. All that is done to it is done through this object.
class Target {
 public:
  virtual ~Target() = default;
  /// The file itself, for reading.
  virtual File& Content() = 0;
  /// Why the content can't be written over; 0 when it can.
  virtual Error Unwritable() = 0;
  /// A file to take the place of this one, with the same owner, permissions, access list and
  /// extended attributes. Fails where it couldn't: when the file has other names, too, or when no
  /// file can be made beside it; its Publish() fails with kErrorStale when the name is no longer
  /// this file's, and with other numbers when something can't be kept.
  virtual Error CreateReplacement(std::unique_ptr<NewFile>& file) = 0;
  /// A file of the name `name`, a name like that of the file, for a copy. It gets the permissions
  /// of the original, less what would let anyone read it who may not read the original, and less
  /// the set-user and set-group bits. Fails when the name is this file's or a directory's.
  virtual Error CreateCopy(const std::string& name, std::unique_ptr<NewFile>& file) = 0;
  /// Puts back what writing over the content has changed beside it: mode and file capabilities.
  /// Changes only what differs, so that it doesn't fail for one who has nothing to change.
  virtual Error RestoreAttributes() = 0;
};

/// May be used by any number of threads at once.
class FileServices {
 public:
  virtual ~FileServices() = default;

  /// Whether the file may be rewritten: somebody has the permission to write to it, and the walk
  /// has come to it by no link but those that the caller has spelled out.
  virtual bool MayRewrite(const FoundFile& file) = 0;

  /// Opens the file that was found, and locks it. Fails when the name has become another file's or
  /// leads through a link that the caller hasn't spelled out (kErrorStale, or the number of the
  /// link), and while another program has a lock on it.
  virtual Error Open(const FoundFile& file, std::unique_ptr<Target>& target) = 0;

  virtual Error CreateTemporary(TemporaryNaming naming, TemporaryFile& temporary) = 0;

  /// The system that the process runs on.
  static FileServices& System();
};

}  // namespace RegexClass::platform

#endif  // REGEXCLASS_PLATFORM_FILESERVICES_HPP
