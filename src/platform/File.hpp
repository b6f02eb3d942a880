// SPDX-License-Identifier: BSL-1.0
// Files that are read and written piece by piece.
#ifndef REGEXCLASS_PLATFORM_FILE_HPP
#define REGEXCLASS_PLATFORM_FILE_HPP

#include <cstddef>
#include <cstdint>
#include <memory>
#include <vector>

#include "platform/Error.hpp"

namespace RegexClass::platform {

/// An open file, with one offset for reading and writing. Closed with the object.
class File {
 public:
  struct System;  // of the platform

  /// None is open yet.
  File();
  File(const File&) = delete;
  ~File();

  /// Reads `size` bytes, and tells in `count` how many came: fewer only at the end of the file or
  /// after an error.
  Error Read(char* buffer, std::size_t size, std::size_t& count);
  /// Writes all of `size` bytes, or fails.
  Error Write(const char* buffer, std::size_t size);
  /// How far the file has been read or written, from its start; 0 when that can't be told.
  std::uint64_t Offset();
  /// Goes back to the start.
  Error Rewind();
  /// The file's length in bytes.
  Error Size(std::uint64_t& size);
  /// Makes sure that there is space for a length of `size` bytes, so that writing them doesn't
  /// fail for want of it, where the file system is able to promise that. On failure the file is as
  /// it was.
  Error Reserve(std::uint64_t size);
  /// Sets the file's length to `size`.
  Error Truncate(std::uint64_t size);
  /// Returns when the content is on the device, where the file system has one.
  Error Sync();
  /// Whether there are stretches of zeros that take no space.
  bool HasHoles();
  /// From now on long stretches of zeros that are written take no space, where that can be.
  void LeaveHoles();
  /// Gives up the space of the stretches that take none in `model`, a file of the same content.
  void DigHolesOf(File& model);

  /// Does what Sync() does for each of several files, at less than its price. Returns an error for
  /// each.
  static std::vector<Error> SyncTogether(const std::vector<File*>& files);
  /// How many files can be rewritten at a time; 1 where SyncTogether() has no other price.
  static std::size_t MostTogether();

  System& ForPlatform() { return *system_; }

 private:
  const std::unique_ptr<System> system_;
};

}  // namespace RegexClass::platform

#endif  // REGEXCLASS_PLATFORM_FILE_HPP
