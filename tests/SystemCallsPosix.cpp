// SPDX-License-Identifier: BSL-1.0
// What a program defines takes the place of the C library's, for shared libraries, too.
#include <cerrno>
#include <dlfcn.h>

#include "SystemCalls.hpp"

namespace RegexClass::test {

Word CallSystem(std::string_view name, Words w) {
  const int error = AskHook(name, w);
  const bool isMade = IsTransfer(name) || name == "close";
  if (error != 0 && !isMade) return errno = error, -1;
  const auto function =
      reinterpret_cast<Word (*)(Word, Word, Word, Word, Word)>(dlsym(RTLD_NEXT, name.data()));
  const Word result = function(w[0], w[1], w[2], w[3], w[4]);
  return error != 0 ? (errno = error, -1) : result;
}

}  // namespace RegexClass::test

#define REGEXCLASS_HOOK(name)                                                          \
  extern "C" [[gnu::visibility("default")]] long Hooked_##name(long, long, long, long, \
                                                               long) __asm__(#name);   \
  long Hooked_##name(long a, long b, long c, long d, long e) {                         \
    return RegexClass::test::CallSystem(#name, {a, b, c, d, e});                       \
  }
REGEXCLASS_HOOK(close)
REGEXCLASS_HOOK(fallocate)
REGEXCLASS_HOOK(fchmod)
REGEXCLASS_HOOK(fchown)
REGEXCLASS_HOOK(fcntl)
REGEXCLASS_HOOK(fgetxattr)
REGEXCLASS_HOOK(flistxattr)
REGEXCLASS_HOOK(flock)
REGEXCLASS_HOOK(fremovexattr)
REGEXCLASS_HOOK(fsetxattr)
REGEXCLASS_HOOK(fstat)
REGEXCLASS_HOOK(fstatat)
REGEXCLASS_HOOK(ftruncate)
REGEXCLASS_HOOK(getdents64)
REGEXCLASS_HOOK(getrandom)
REGEXCLASS_HOOK(lseek)
REGEXCLASS_HOOK(mkostemp)
REGEXCLASS_HOOK(openat)
REGEXCLASS_HOOK(read)
REGEXCLASS_HOOK(readlinkat)
REGEXCLASS_HOOK(renameat)
REGEXCLASS_HOOK(unlink)
REGEXCLASS_HOOK(unlinkat)
REGEXCLASS_HOOK(write)
