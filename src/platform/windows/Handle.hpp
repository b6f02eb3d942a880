// SPDX-License-Identifier: BSL-1.0
// For the implementation of this folder alone: a handle with an owner, and the system's last error.
#ifndef REGEXCLASS_PLATFORM_WINDOWS_HANDLE_HPP
#define REGEXCLASS_PLATFORM_WINDOWS_HANDLE_HPP

#include <utility>
#include <windows.h>

#include "platform/Directory.hpp"
#include "platform/Error.hpp"

namespace RegexClass::platform {

/// Closes a handle with the object.
class Handle {
 public:
  Handle() = default;
  explicit Handle(HANDLE value) : value_(value) {}
  Handle(Handle&& source) noexcept : value_(source.Release()) {}
  Handle& operator=(Handle&& source) noexcept {
    std::swap(value_, source.value_);
    return *this;
  }
  ~Handle() {
    if (IsOpen()) CloseHandle(value_);
  }

  HANDLE Value() const { return value_; }
  bool IsOpen() const { return value_ != INVALID_HANDLE_VALUE; }
  HANDLE Release() { return std::exchange(value_, INVALID_HANDLE_VALUE); }

 private:
  HANDLE value_ = INVALID_HANDLE_VALUE;
};

/// The error of the call that has just failed; never 0.
inline Error LastError() {
  const DWORD error = GetLastError();
  return error != 0 ? static_cast<Error>(error) : ERROR_GEN_FAILURE;
}

inline FileIdentity IdentityOf(const BY_HANDLE_FILE_INFORMATION& file) {
  return {file.dwVolumeSerialNumber, std::uint64_t{file.nFileIndexHigh} << 32 | file.nFileIndexLow};
}

/// Whether what was opened without following links is one: a symbolic link or a junction, and no
/// file that some service stores elsewhere.
inline bool IsLink(HANDLE handle, const BY_HANDLE_FILE_INFORMATION& file) {
  if ((file.dwFileAttributes & FILE_ATTRIBUTE_REPARSE_POINT) == 0) return false;
  FILE_ATTRIBUTE_TAG_INFO tag = {};
  return !GetFileInformationByHandleEx(handle, FileAttributeTagInfo, &tag, sizeof tag) ||
         IsReparseTagNameSurrogate(tag.ReparseTag);
}

}  // namespace RegexClass::platform

#endif  // REGEXCLASS_PLATFORM_WINDOWS_HANDLE_HPP
