// SPDX-License-Identifier: BSL-1.0
#include "platform/posix/Attributes.hpp"

#include <cerrno>
#include <unistd.h>

#include "platform/posix/Calls.hpp"

namespace RegexClass::platform {
namespace {

constexpr mode_t kPermissions = 0777;
constexpr mode_t kGroup = 0070;
constexpr mode_t kOthers = 0007;

/// Makes the extended attributes of an open file `wanted`, those of which the names are in `which`.
template <class Which>
Error WriteExtended(int file, const ExtendedAttributes& wanted, Which which) {
  ExtendedAttributes present;
  if (const Error error = ReadExtended(file, present)) return error;
  for (const auto& [name, value] : present) {
    if (!which(name) || wanted.count(name) != 0) continue;
    if (const Error error = RemoveExtended(file, name.c_str())) return error;
  }
  for (const auto& [name, value] : wanted) {
    const auto found = present.find(name);
    if (!which(name) || (found != present.end() && found->second == value)) continue;
    if (const Error error = SetExtended(file, name.c_str(), value)) return error;
  }
  return 0;
}

}  // namespace

Error Attributes::Read(int original) {
  return fstat(original, &status_) == -1 ? errno : ReadExtended(original, extended_);
}

Error Attributes::Set(int copy) const {
  struct stat to = {};
  if (fstat(copy, &to) == -1) return errno;
  if ((status_.st_uid != to.st_uid || status_.st_gid != to.st_gid) &&
      fchown(copy, status_.st_uid, status_.st_gid) == -1) {
    return errno;
  }
  // The access list comes before the mode, which counts as a part of it.
  const auto all = [](const std::string&) { return true; };
  if (const Error error = WriteExtended(copy, extended_, all)) return error;
  if (fchmod(copy, status_.st_mode & kModeBits) == -1) return errno;
  if (fstat(copy, &to) == -1) return errno;
  return (status_.st_mode & kModeBits) == (to.st_mode & kModeBits) ? 0 : EPERM;
}

Error Attributes::SetAsPrivate(int copy) const {
  struct stat to = {};
  if (fchown(copy, status_.st_uid, status_.st_gid) == -1) {
    // The group alone is within an ordinary user's rights, if he belongs to it. Whether it worked
    // is looked at below.
    const int ignored = fchown(copy, static_cast<uid_t>(-1), status_.st_gid);
    static_cast<void>(ignored);
  }
  if (fstat(copy, &to) == -1) return errno;
  const bool sameGroup = status_.st_gid == to.st_gid;
  const bool hasList = extended_.count(kAccessList) != 0;
  const auto isList = [](const std::string& name) { return name == kAccessList; };
  mode_t mode = status_.st_mode & kPermissions;
  if (!hasList || !sameGroup || WriteExtended(copy, extended_, isList) != 0) {
    if (const Error error = WriteExtended(copy, {}, isList)) return error;  // the directory's
    // With a list, the bits of the mode don't tell what a group may do.
    if (hasList) {
      mode &= ~(kGroup | kOthers);
    } else if (!sameGroup) {  // to whom the others may belong whom the original denies
      mode &= ~kOthers & (~kGroup | (mode & kOthers) << 3);
    }
  }
  return Outcome(fchmod(copy, mode));
}

}  // namespace RegexClass::platform
