// What a call of the operating system fails with.
#ifndef REGEXCLASS_PLATFORM_ERROR_HPP
#define REGEXCLASS_PLATFORM_ERROR_HPP

namespace RegexClass::platform {

/// An error number of the system; 0 when the call did all that it was asked for.
using Error = int;

/// Whether the number says that a name leads nowhere: nothing there, a link to nothing or to
/// itself, or a path through something that is no directory.
bool LeadsNowhere(Error error);

}  // namespace RegexClass::platform

#endif  // REGEXCLASS_PLATFORM_ERROR_HPP
