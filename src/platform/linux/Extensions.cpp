// SPDX-License-Identifier: BSL-1.0
// What Linux has beyond POSIX, with any C library.
#include "platform/posix/Extensions.hpp"

#include <cerrno>
#include <cstdlib>
#include <cstring>
#include <dirent.h>
#include <fcntl.h>
#include <string_view>
#include <sys/stat.h>
#include <sys/xattr.h>
#include <unistd.h>
#include <utility>

#include "platform/posix/Calls.hpp"
#include "platform/posix/OpenDirectory.hpp"

namespace RegexClass::platform {
namespace {

// Where files may have 32 bits for their sizes, other names are for all sizes.
#ifdef __GLIBC__
using SystemEntry = dirent64;
constexpr auto kGetEntries = &::getdents64;
#else
using SystemEntry = dirent;
constexpr auto kGetEntries = &::getdents;
#endif
constexpr std::size_t kMostOfAttributes = 65536;  // both of names and of a value

/// Calls the system's function for the entries, whose buffer has another type in each C library.
template <class Buffer, class Size, class Count, std::size_t size>
ssize_t ReadBuffer(Count (*read)(int, Buffer*, Size), int descriptor, char (&buffer)[size]) {
  void* const start = buffer;
  return read(descriptor, static_cast<Buffer*>(start), static_cast<Size>(size));
}

using Stretches = std::vector<std::pair<off_t, off_t>>;

/// The stretches of the first `size` bytes that take no space, where the file system tells.
Stretches HolesOf([[maybe_unused]] int file, [[maybe_unused]] off_t size) {
  Stretches holes;
#ifdef SEEK_HOLE
  const off_t offset = lseek(file, 0, SEEK_CUR);
  for (off_t at = 0; at < size;) {
    const off_t begin = lseek(file, at, SEEK_HOLE);
    if (begin == -1 || begin >= size) break;
    const off_t end = lseek(file, begin, SEEK_DATA);
    at = end == -1 ? size : end;
    holes.emplace_back(begin, at);
  }
  lseek(file, offset, SEEK_SET);
#endif
  return holes;
}

void Dig(int file, const Stretches& holes) {
  for (const auto& [begin, end] : holes) {
    fallocate(file, FALLOC_FL_PUNCH_HOLE | FALLOC_FL_KEEP_SIZE, begin, end - begin);
  }
}

}  // namespace

const int kOpenToPass = O_PATH;

Error ReadEntries(int directory, std::vector<DirectoryEntry>& entries) {
  // Without readdir, whose stream is as large as this buffer, made anew for each directory, and
  // owns the descriptor.
  alignas(SystemEntry) char buffer[32768];
  for (;;) {
    const ssize_t size = Uninterrupted([&] { return ReadBuffer(kGetEntries, directory, buffer); });
    // One that has been removed has no entries.
    if (size <= 0) return size == 0 || errno == ENOENT ? 0 : errno;
    for (ssize_t at = 0; at < size;) {
      const auto& entry = *reinterpret_cast<const SystemEntry*>(buffer + at);
      at += entry.d_reclen;
      const std::string_view name = entry.d_name;
      if (name == "." || name == "..") continue;
      entries.push_back({std::string(name), KindOf(directory, entry)});
    }
  }
}

int OpenUnnamed(const char* directory) {
  return openat(AT_FDCWD, directory, O_TMPFILE | O_RDWR | O_EXCL | O_CLOEXEC, S_IRUSR | S_IWUSR);
}

Error ReserveSpace(int file, off_t size) {
  struct stat before = {};
  if (size == 0) return 0;
  if (fstat(file, &before) == -1) return errno;
  const auto holes = HolesOf(file, before.st_size);
  const Error error = Outcome(Uninterrupted([&] {
    return WithinSizeLimit([&] { return fallocate(file, FALLOC_FL_KEEP_SIZE, 0, size); });
  }));
  if (error == EOPNOTSUPP || error == ENOSYS) return 0;  // this file system can't promise
  if (error != 0) {  // gives back what was reserved before the space ran out
    Dig(file, holes);
    Uninterrupted([&] { return ftruncate(file, before.st_size); });
    const timespec times[] = {before.st_atim, before.st_mtim};
    futimens(file, times);
  }
  return error;
}

void DigHolesOf(int file, int model) {
  struct stat status = {};
  if (fstat(model, &status) == 0) Dig(file, HolesOf(model, status.st_size));
}

Error SyncDevice(int file) { return Outcome(syncfs(file)); }

const char* const kAccessList = "system.posix_acl_access";
const char* const kCapabilities = "security.capability";

Error ReadExtended(int file, ExtendedAttributes& attributes) {
  std::vector<char> names(kMostOfAttributes);
  const ssize_t size = flistxattr(file, names.data(), names.size());
  if (size == -1) return errno == EOPNOTSUPP || errno == ENOSYS ? 0 : errno;
  for (const char* name = names.data(); name < names.data() + size; name += strlen(name) + 1) {
    std::vector<char> value(kMostOfAttributes);
    const ssize_t length = fgetxattr(file, name, value.data(), value.size());
    if (length == -1) return errno;
    value.resize(static_cast<std::size_t>(length));
    attributes[name] = std::move(value);
  }
  return 0;
}

std::vector<char> ReadExtended(int file, const char* name) {
  char value[64];
  const ssize_t size = fgetxattr(file, name, value, sizeof value);
  return size > 0 ? std::vector<char>(value, value + size) : std::vector<char>();
}

Error SetExtended(int file, const char* name, const std::vector<char>& value) {
  return Outcome(fsetxattr(file, name, value.data(), value.size(), 0));
}

Error RemoveExtended(int file, const char* name) { return Outcome(fremovexattr(file, name)); }

bool KeepsNames([[maybe_unused]] int directory) {
#ifdef STATX_ATTR_APPEND
  struct statx status = {};
  return statx(directory, "", AT_EMPTY_PATH, 0, &status) == 0 &&
         (status.stx_attributes & (STATX_ATTR_APPEND | STATX_ATTR_IMMUTABLE)) != 0;
#else
  return false;
#endif
}

Error RenameToFreeName([[maybe_unused]] int directory, [[maybe_unused]] const char* from,
                       [[maybe_unused]] const char* to) {
#ifdef RENAME_NOREPLACE
  return Outcome(renameat2(directory, from, directory, to, RENAME_NOREPLACE));
#else
  return ENOSYS;
#endif
}

const char* TrustedVariable(const char* name) { return secure_getenv(name); }

}  // namespace RegexClass::platform
