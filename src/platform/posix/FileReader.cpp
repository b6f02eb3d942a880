// SPDX-License-Identifier: BSL-1.0
#include "platform/FileReader.hpp"

#include <cerrno>
#include <fcntl.h>
#include <sys/stat.h>
#include <unistd.h>

#include "platform/posix/Calls.hpp"
#include "platform/posix/Descriptor.hpp"
#include "platform/posix/OpenDirectory.hpp"

namespace RegexClass::platform {
namespace {

/// Opens a regular file for reading by its name in an open directory, and tells its status; 0 and
/// no descriptor when something else has the name. `isFile` is what the directory has told.
Error OpenRegular(int directory, const char* name, bool isFile, Descriptor& file,
                  struct stat& status) {
  // Opening alone can do something to a pipe or a device, so that the type is asked for first; and
  // again below, of the file that was opened.
  if (!isFile) {
    if (::fstatat(directory, name, &status, 0) != 0) return errno;
    if (!S_ISREG(status.st_mode)) return 0;
  }
  const int flags = O_RDONLY | O_NONBLOCK | O_CLOEXEC | O_NOCTTY | (isFile ? O_NOFOLLOW : 0);
  file = Descriptor(Uninterrupted([&] { return ::openat(directory, name, flags); }));
  if (file.Number() < 0 || ::fstat(file.Number(), &status) != 0) return errno;
  if (!S_ISREG(status.st_mode)) file = Descriptor();
  return 0;
}

}  // namespace

FileReader::Outcome FileReader::Look(const FoundFile& found) {
  if (found.isFile) return Outcome::kRead;
  int directory = -1;
  if (const platform::Error error = found.directory->ForPlatform().Open(directory)) {
    return Failed(Outcome::kNotOpened, error);
  }
  struct stat status = {};
  if (::fstatat(directory, found.Entry().c_str(), &status, 0) != 0) {
    return Failed(Outcome::kNotOpened, errno);
  }
  return S_ISREG(status.st_mode) ? Outcome::kRead : Outcome::kNotAFile;
}

FileReader::Outcome FileReader::Read(const FoundFile& found) {
  int directory = -1;
  if (const platform::Error error = found.directory->ForPlatform().Open(directory)) {
    return Failed(Outcome::kNotOpened, error);
  }
  const char* const name = found.name.c_str() + found.directory->PathLength();
  Descriptor file;
  struct stat status = {};
  if (const platform::Error error = OpenRegular(directory, name, found.isFile, file, status)) {
    return Failed(Outcome::kNotOpened, error);
  }
  if (file.Number() < 0) return Outcome::kNotAFile;
  identity_ = {status.st_dev, status.st_ino};
  return ReadToEnd(static_cast<std::uint64_t>(status.st_size),
                   [&](char* buffer, std::size_t size, std::size_t& count) -> platform::Error {
                     const ssize_t done =
                         Uninterrupted([&] { return ::read(file.Number(), buffer, size); });
                     if (done < 0) return errno;
                     count = static_cast<std::size_t>(done);
                     return 0;
                   });
}

}  // namespace RegexClass::platform
