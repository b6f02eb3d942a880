// SPDX-License-Identifier: BSL-1.0
// For the implementation of this folder alone: directories by their handles.
#ifndef REGEXCLASS_PLATFORM_WINDOWS_OPENDIRECTORY_HPP
#define REGEXCLASS_PLATFORM_WINDOWS_OPENDIRECTORY_HPP

#include "platform/Directory.hpp"
#include "platform/windows/Handle.hpp"

namespace RegexClass::platform {

struct Directory::System {
  using Opening = Handle;

  System(DirectoryPointer above, const std::string& component, Links links);
  System(const System&) = delete;
  ~System();

  /// Opens the directory. While the handle is open nobody gives its name, or one above it, to
  /// something else, so that what is opened by a path through it lies in it.
  Error Open(Handle& handle);
  /// The path of what has the name `entry` in it; empty when no file can have that.
  std::wstring PathOf(const std::string& entry) const;

  DirectoryPointer parent;  // null for the current directory
  std::string name;         // as the caller has written it
  std::wstring path;        // from the root; empty when it is none of files
  std::size_t pathLength;   // of what the caller has written
  Links links;
  bool asMeant = true;
  FileIdentity identity;
  bool identified = false;
};

}  // namespace RegexClass::platform

#endif  // REGEXCLASS_PLATFORM_WINDOWS_OPENDIRECTORY_HPP
