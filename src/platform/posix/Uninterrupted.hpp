// SPDX-License-Identifier: BSL-1.0
// For the implementation of this folder alone: calls of the system that a signal may interrupt.
#ifndef REGEXCLASS_PLATFORM_POSIX_UNINTERRUPTED_HPP
#define REGEXCLASS_PLATFORM_POSIX_UNINTERRUPTED_HPP

#include <cerrno>

namespace RegexClass::platform {

/// Calls `call`, which gives -1 when it fails, until no signal gets in its way.
template <class Call>
auto Uninterrupted(Call call) {
  auto result = call();
  while (result == -1 && errno == EINTR) result = call();
  return result;
}

}  // namespace RegexClass::platform

#endif  // REGEXCLASS_PLATFORM_POSIX_UNINTERRUPTED_HPP
