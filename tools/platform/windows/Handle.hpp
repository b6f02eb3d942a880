// SPDX-License-Identifier: BSL-1.0
// For the implementation of this folder alone: a handle that is closed with its owner, and errors.
#ifndef REGEXCLASS_TOOLS_PLATFORM_WINDOWS_HANDLE_HPP
#define REGEXCLASS_TOOLS_PLATFORM_WINDOWS_HANDLE_HPP

#include <cerrno>
#include <memory>
#include <system_error>
#include <windows.h>

namespace tool {

struct CloseHandleOf {
  void operator()(HANDLE handle) const {
    if (handle != INVALID_HANDLE_VALUE) CloseHandle(handle);
  }
};
/// May hold INVALID_HANDLE_VALUE.
using Handle = std::unique_ptr<void, CloseHandleOf>;

/// The number of errno that says most nearly what the system's last error says.
inline int LastErrno() {
  const auto error = static_cast<int>(GetLastError());
  const auto condition = std::system_category().default_error_condition(error);
  return condition.category() == std::generic_category() && condition ? condition.value() : EIO;
}

}  // namespace tool

#endif  // REGEXCLASS_TOOLS_PLATFORM_WINDOWS_HANDLE_HPP
