// SPDX-License-Identifier: BSL-1.0
// For POSIX systems alone: what POSIX has no call for. Each system's folder has a source of this;
// posix/NoExtensions.cpp serves those without a folder.
#ifndef REGEXCLASS_PLATFORM_POSIX_EXTENSIONS_HPP
#define REGEXCLASS_PLATFORM_POSIX_EXTENSIONS_HPP

#include <map>
#include <string>
#include <sys/types.h>
#include <vector>

#include "platform/Directory.hpp"

namespace RegexClass::platform {

/// How a directory is opened that is passed through and not read.
extern const int kOpenToPass;

/// Adds what is left to read of an open directory, `.` and `..` excepted. As many entries as can be
/// read before an error.
Error ReadEntries(int directory, std::vector<DirectoryEntry>& entries);

/// Opens a new file in a directory that never has a name; -1 and errno where that can't be.
int OpenUnnamed(const char* directory);

/// File::Reserve.
Error ReserveSpace(int file, off_t size);
/// File::DigHolesOf.
void DigHolesOf(int file, int model);
/// Brings all files of the device that `file` lies on to the device.
Error SyncDevice(int file);

/// What a file has beside its content and its status, by names; an access list may be among it.
using ExtendedAttributes = std::map<std::string, std::vector<char>>;
/// The name of the access list, and that of what writing to a file may take from it.
extern const char* const kAccessList;
extern const char* const kCapabilities;

/// Reads those of an open file. A file system without any has none.
Error ReadExtended(int file, ExtendedAttributes& attributes);
/// Reads one of them; empty when there is none.
std::vector<char> ReadExtended(int file, const char* name);
Error SetExtended(int file, const char* name, const std::vector<char>& value);
Error RemoveExtended(int file, const char* name);

/// Whether nothing in the directory can be renamed, as far as the system tells.
bool KeepsNames(int directory);
/// Renames a file in its directory, and fails when the new name is taken; with ENOSYS or EINVAL
/// where there is no such call.
Error RenameToFreeName(int directory, const char* from, const char* to);

/// A variable of the environment; null for a program that runs with more rights than its user has.
const char* TrustedVariable(const char* name);

}  // namespace RegexClass::platform

#endif  // REGEXCLASS_PLATFORM_POSIX_EXTENSIONS_HPP
