// SPDX-License-Identifier: BSL-1.0
// For the implementation of this folder alone: directories by their descriptors.
#ifndef REGEXCLASS_PLATFORM_POSIX_OPENDIRECTORY_HPP
#define REGEXCLASS_PLATFORM_POSIX_OPENDIRECTORY_HPP

#include <dirent.h>
#include <list>
#include <sys/types.h>

#include "platform/Directory.hpp"
#include "platform/posix/Descriptor.hpp"

namespace RegexClass::platform {

struct Directory::System {
  /// The directories of a walk that are open, the one opened first in front.
  using Opened = std::list<System*>;
  using Opening = int;

  System(DirectoryPointer above, std::string component, Links links);
  System(const System&) = delete;
  ~System();

  /// Opens the directory unless it is open. The descriptor stays the directory's, and is good
  /// until another one of the walk is opened.
  Error Open(int& descriptor);
  /// Opens it anew, to be read from its start. The descriptor is the directory's from now on.
  Error OpenToRead(int& descriptor);

  DirectoryPointer parent;  // null for the current directory
  std::string name;
  std::size_t pathLength;
  Links links;
  bool asMeant = true;
  Descriptor descriptor;
  FileIdentity identity;
  bool identified = false;
  std::shared_ptr<Opened> opened;
  System* below = nullptr;  // the one that was opened last of those in here, while it is open

 private:
  Error OpenIn(int directory, int access, Descriptor& opening);
  void Keep(Descriptor opening);
  void Close();
  bool OpenFromBelow();
};

/// What something is by its mode.
DirectoryEntry::Kind KindByMode(mode_t mode);
/// What has that name in an open directory; kOther also for what can't be told.
DirectoryEntry::Kind KindOf(int directory, const char* name);
/// What an entry is, as far as the directory tells it; asked for where it doesn't.
template <class Entry>
DirectoryEntry::Kind KindOf(int directory, const Entry& entry) {
  return entry.d_type != DT_UNKNOWN ? KindByMode(DTTOIF(entry.d_type))
                                    : KindOf(directory, entry.d_name);
}

}  // namespace RegexClass::platform

#endif  // REGEXCLASS_PLATFORM_POSIX_OPENDIRECTORY_HPP
