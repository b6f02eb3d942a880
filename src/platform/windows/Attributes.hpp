// SPDX-License-Identifier: BSL-1.0
// For the implementation of this folder alone: what a file has beside its content.
#ifndef REGEXCLASS_PLATFORM_WINDOWS_ATTRIBUTES_HPP
#define REGEXCLASS_PLATFORM_WINDOWS_ATTRIBUTES_HPP

#include <string>
#include <vector>

#include "platform/windows/Handle.hpp"

namespace RegexClass::platform {

/// The attributes that a program may set.
constexpr DWORD kSettable = FILE_ATTRIBUTE_ARCHIVE | FILE_ATTRIBUTE_HIDDEN |
                            FILE_ATTRIBUTE_NOT_CONTENT_INDEXED | FILE_ATTRIBUTE_SYSTEM;

/// The access list of a file, where the file system has such.
class AccessList {
 public:
  explicit AccessList(const std::wstring& path);
  AccessList(const AccessList&) = delete;

  /// For the making of a file; null for the list that comes from the directory.
  SECURITY_ATTRIBUTES* ForNewFile() { return list_.empty() ? nullptr : &attributes_; }

 private:
  std::vector<char> list_;
  SECURITY_ATTRIBUTES attributes_ = {sizeof(SECURITY_ATTRIBUTES), nullptr, FALSE};
};

/// Copies what a file has beside its content under names of their own (streams) to another file.
Error CopyStreams(const std::wstring& from, const std::wstring& to);

}  // namespace RegexClass::platform

#endif  // REGEXCLASS_PLATFORM_WINDOWS_ATTRIBUTES_HPP
