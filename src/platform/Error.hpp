// SPDX-License-Identifier: BSL-1.0
// What a call of the operating system fails with.
#ifndef REGEXCLASS_PLATFORM_ERROR_HPP
#define REGEXCLASS_PLATFORM_ERROR_HPP

namespace RegexClass::platform {

/// An error number of the system; 0 when the call did all that it was asked for.
using Error = int;

/// Whether the number says that a name leads nowhere: nothing there, a link to nothing or to
/// itself, or a path through something that is no directory.
bool LeadsNowhere(Error error);
/// Whether the number says that there is no space left to write to.
bool IsOutOfSpace(Error error);

// What the library itself fails with.

extern const Error kErrorBroken;     ///< Less was read or written than there is.
extern const Error kErrorStale;      ///< A name has become another file's.
extern const Error kErrorTooLarge;   ///< A file has more bytes than can be dealt with.
extern const Error kErrorDenied;     ///< Nobody has the permission.
extern const Error kErrorExists;     ///< A name is taken.
extern const Error kErrorManyNames;  ///< A file has several names.
constexpr Error kErrorChanged = -1;  ///< A file has been written to; no number of a system's.

}  // namespace RegexClass::platform

#endif  // REGEXCLASS_PLATFORM_ERROR_HPP
