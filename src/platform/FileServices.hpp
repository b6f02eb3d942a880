// What the rewriting of files asks of the operating system.
//
// One object stands for the system; a test puts its own in its place and lets any call fail.
#ifndef REGEXCLASS_PLATFORM_FILESERVICES_HPP
#define REGEXCLASS_PLATFORM_FILESERVICES_HPP

#include <cstddef>
#include <cstdint>
#include <memory>
#include <string>

namespace RegexClass::platform {

/// An error number of the system; 0 when the call did all that it was asked for.
using Error = int;

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

/// The ways of finding a name for a temporary file.
enum class TemporaryNaming {
  kSystemDirectory,      ///< A name of the system's own, in its directory for temporary files.
  kUserDirectory,        ///< A name that begins with Regex, in the TMPDIR of a trusted environment.
  kApplicationDirectory  ///< The same, wherever applications are told to put temporary files.
};

/// What writing to a file may change beside its bytes and times.
struct Attributes {
  std::uint32_t mode = 0;  ///< The permissions, with the set-user, set-group and sticky bits.
  std::string capability;  ///< The file capabilities in the system's own form; empty for none.
};

/// All files are named by path; symbolic links are followed. May be used by any number of threads
/// at once.
class FileServices {
 public:
  virtual ~FileServices() = default;

  /// Opens a file for reading. Others may read it meanwhile; programs that lock what they write
  /// are kept out, and one that is writing now makes this fail.
  virtual Error OpenForReading(const std::string& name, std::unique_ptr<File>& file) = 0;

  /// Opens a regular file for writing over its bytes, which stay until they are written over.
  /// Fails while a program that locks what it reads or writes has it open.
  virtual Error OpenForOverwriting(const std::string& name, std::unique_ptr<File>& file) = 0;

  /// Opens `name` as OpenForOverwriting() does, to take a copy of the file `original`: creates it
  /// if need be, and tells so in `created`. It gets the permissions of the original, less what
  /// would let anyone read it who may not read the original, and less the set-user and set-group
  /// bits. Fails when both names are those of one file.
  virtual Error OpenForCopyOf(const std::string& original, const std::string& name,
                              std::unique_ptr<File>& file, bool& created) = 0;

  virtual Error CreateTemporary(TemporaryNaming naming, TemporaryFile& temporary) = 0;

  virtual Error Remove(const std::string& name) = 0;

  /// True when no one has the permission to write, or when that can't be told.
  virtual bool IsReadOnly(const std::string& name) = 0;

  virtual Error GetAttributes(const std::string& name, Attributes& attributes) = 0;
  /// Changes only what differs, so that it doesn't fail for one who has nothing to change.
  virtual Error SetAttributes(const std::string& name, const Attributes& attributes) = 0;

  /// The system that the process runs on.
  static FileServices& System();
};

}  // namespace RegexClass::platform

#endif  // REGEXCLASS_PLATFORM_FILESERVICES_HPP
