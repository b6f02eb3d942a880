// The locale that the system has on record for the user who runs the process.
#ifndef REGEXCLASS_PLATFORM_USERLOCALE_HPP
#define REGEXCLASS_PLATFORM_USERLOCALE_HPP

#include <locale>

namespace RegexClass::platform {

/// The user's locale, asked for afresh at each call. The classic locale when the one on record
/// isn't installed.
std::locale UserLocale();

}  // namespace RegexClass::platform

#endif  // REGEXCLASS_PLATFORM_USERLOCALE_HPP
