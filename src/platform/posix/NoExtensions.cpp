// SPDX-License-Identifier: BSL-1.0
// A system of which nothing but POSIX is known.
#include <cerrno>
#include <cstdlib>
#include <dirent.h>
#include <fcntl.h>
#include <memory>
#include <string_view>
#include <unistd.h>

#include "platform/posix/Descriptor.hpp"
#include "platform/posix/Extensions.hpp"
#include "platform/posix/OpenDirectory.hpp"

namespace RegexClass::platform {

#ifdef O_SEARCH
const int kOpenToPass = O_SEARCH;
#else
const int kOpenToPass = O_RDONLY;
#endif

Error ReadEntries(int directory, std::vector<DirectoryEntry>& entries) {
  Descriptor own(fcntl(directory, F_DUPFD_CLOEXEC, 0));
  if (own.Number() < 0) return errno;
  const std::unique_ptr<DIR, int (*)(DIR*)> stream(fdopendir(own.Number()), &closedir);
  if (stream == nullptr) return errno;
  own.Release();
  for (;;) {
    errno = 0;
    const dirent* const entry = readdir(stream.get());
    // One that has been removed has no entries.
    if (entry == nullptr) return errno == ENOENT ? 0 : errno;
    const std::string_view name = entry->d_name;
    if (name == "." || name == "..") continue;
    entries.push_back({std::string(name), KindOf(directory, *entry)});
  }
}

int OpenUnnamed(const char*) { return errno = ENOSYS, -1; }

Error ReserveSpace(int, off_t) { return 0; }  // can't promise
void DigHolesOf(int, int) {}
Error SyncDevice(int) { return ENOSYS; }  // each file is synced then

const char* const kAccessList = "";
const char* const kCapabilities = "";
Error ReadExtended(int, ExtendedAttributes&) { return 0; }
std::vector<char> ReadExtended(int, const char*) { return {}; }
Error SetExtended(int, const char*, const std::vector<char>&) { return 0; }
Error RemoveExtended(int, const char*) { return 0; }

bool KeepsNames(int) { return false; }
Error RenameToFreeName(int, const char*, const char*) { return ENOSYS; }

const char* TrustedVariable(const char* name) {
  return getuid() == geteuid() && getgid() == getegid() ? std::getenv(name) : nullptr;
}

}  // namespace RegexClass::platform
