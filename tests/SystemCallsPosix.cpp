// SPDX-License-Identifier: BSL-1.0
// What a program defines takes the place of the C library's, for shared libraries, too.
#include <cerrno>
#include <dlfcn.h>
#include <string>

#include "SystemCalls.hpp"

namespace RegexClass::test {

Word CallSystem(std::string_view name, Words w) {
  const int error = AskHook(name, w);
  const bool isMade = IsTransfer(name) || name == "close";
  if (error != 0 && !isMade) return errno = error, -1;
  void* symbol = dlsym(RTLD_NEXT, (std::string(name) + "64").c_str());
  if (symbol == nullptr) symbol = dlsym(RTLD_NEXT, name.data());
  const auto function = reinterpret_cast<Word (*)(Word, Word, Word, Word, Word)>(symbol);
  const Word result = function(w[0], w[1], w[2], w[3], w[4]);
  return error != 0 ? (errno = error, -1) : result;
}

}  // namespace RegexClass::test

#define REGEXCLASS_HOOK_SYMBOL(name, symbol)                                           \
  extern "C" [[gnu::visibility("default")]] long Hooked_##name(long, long, long, long, \
                                                               long) __asm__(symbol);  \
  long Hooked_##name(long a, long b, long c, long d, long e) {                         \
    return RegexClass::test::CallSystem(#name, {a, b, c, d, e});                       \
  }
#define REGEXCLASS_HOOK(name) REGEXCLASS_HOOK_SYMBOL(name, #name)
// Those that know of offsets in files have other names where these are longer than words.
#if defined(__GLIBC__) && __SIZEOF_LONG__ == 4
#define REGEXCLASS_HOOK64(name) REGEXCLASS_HOOK_SYMBOL(name, #name "64")
#else
#define REGEXCLASS_HOOK64(name) REGEXCLASS_HOOK_SYMBOL(name, #name)
#endif
REGEXCLASS_HOOK(close)
REGEXCLASS_HOOK64(fallocate)
REGEXCLASS_HOOK(fchmod)
REGEXCLASS_HOOK(fchown)
REGEXCLASS_HOOK64(fcntl)
REGEXCLASS_HOOK(fdatasync)
REGEXCLASS_HOOK(fgetxattr)
REGEXCLASS_HOOK(flistxattr)
REGEXCLASS_HOOK(flock)
REGEXCLASS_HOOK(fremovexattr)
REGEXCLASS_HOOK(fsetxattr)
REGEXCLASS_HOOK64(fstat)
REGEXCLASS_HOOK64(fstatat)
REGEXCLASS_HOOK64(ftruncate)
REGEXCLASS_HOOK(getdents64)
REGEXCLASS_HOOK(getentropy)
REGEXCLASS_HOOK(linkat)
REGEXCLASS_HOOK64(lseek)
REGEXCLASS_HOOK64(mkostemp)
REGEXCLASS_HOOK64(openat)
REGEXCLASS_HOOK(read)
REGEXCLASS_HOOK(readlinkat)
REGEXCLASS_HOOK(renameat)
REGEXCLASS_HOOK(renameat2)
REGEXCLASS_HOOK(statx)
REGEXCLASS_HOOK(syncfs)
REGEXCLASS_HOOK(unlink)
REGEXCLASS_HOOK(unlinkat)
REGEXCLASS_HOOK(write)
