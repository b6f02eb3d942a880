// SPDX-License-Identifier: BSL-1.0
// For POSIX systems alone: how calls of the system are made.
#ifndef REGEXCLASS_PLATFORM_POSIX_CALLS_HPP
#define REGEXCLASS_PLATFORM_POSIX_CALLS_HPP

#include <cerrno>
#include <csignal>

#include "platform/Error.hpp"

namespace RegexClass::platform {

/// The error of a call that returns -1 when it fails.
inline Error Outcome(int result) { return result == -1 ? errno : 0; }

/// Calls `call`, which returns -1 when it fails, until no signal gets in its way.
template <class Call>
auto Uninterrupted(Call call) {
  auto result = call();
  while (result == -1 && errno == EINTR) result = call();
  return result;
}

/// Makes a call that fails with EFBIG where a file would become larger than the process is allowed,
/// and keeps from the process the signal that comes with that and would end it.
template <class Call>
auto WithinSizeLimit(Call call) {
  sigset_t signal;
  sigset_t before;
  sigset_t pending;
  sigemptyset(&signal);
  sigemptyset(&pending);
  sigaddset(&signal, SIGXFSZ);
  pthread_sigmask(SIG_BLOCK, &signal, &before);
  if (sigismember(&before, SIGXFSZ) == 1) sigpending(&pending);
  const auto result = call();
  const int error = errno;
  if (result == -1 && error == EFBIG && sigismember(&pending, SIGXFSZ) != 1) {
    const timespec none = {};
    Uninterrupted([&] { return sigtimedwait(&signal, nullptr, &none); });
  }
  pthread_sigmask(SIG_SETMASK, &before, nullptr);
  errno = error;
  return result;
}

}  // namespace RegexClass::platform

#endif  // REGEXCLASS_PLATFORM_POSIX_CALLS_HPP
