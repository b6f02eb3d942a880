// SPDX-License-Identifier: BSL-1.0
// For the implementation of this folder alone: what a file has beside its content.
#ifndef REGEXCLASS_PLATFORM_POSIX_ATTRIBUTES_HPP
#define REGEXCLASS_PLATFORM_POSIX_ATTRIBUTES_HPP

#include <sys/stat.h>

#include "platform/Error.hpp"
#include "platform/posix/Extensions.hpp"

namespace RegexClass::platform {

constexpr mode_t kModeBits = 07777;

/// Owner, mode and extended attributes of a file, the access list among them.
class Attributes {
 public:
  /// Reads those of an open file.
  Error Read(int original);
  /// Sets the same for `copy`, all of them or none.
  Error Set(int copy) const;
  /// Sets the owner of `copy` as far as the process may do that, and permissions and access list
  /// that let nobody read it who may not read the original.
  Error SetAsPrivate(int copy) const;

 private:
  struct stat status_ = {};
  ExtendedAttributes extended_;
};

}  // namespace RegexClass::platform

#endif  // REGEXCLASS_PLATFORM_POSIX_ATTRIBUTES_HPP
