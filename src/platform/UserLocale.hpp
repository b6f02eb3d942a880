// SPDX-License-Identifier: BSL-1.0
// The locale that the system has on record for the user who runs the process.
#ifndef REGEXCLASS_PLATFORM_USERLOCALE_HPP
#define REGEXCLASS_PLATFORM_USERLOCALE_HPP

#include <locale>
#include <string>

namespace RegexClass::platform {

/// The user's locale, asked for afresh at each call. The classic locale when the one on record
/// isn't installed.
std::locale UserLocale();

/// How the user's language and country are called in that language, such as Deutsch and
/// Deutschland, in the locale's character encoding.
struct NativeNames {
  std::string language;
  std::string country;
};

/// The names of the locale that the user gets messages in: the first of LC_ALL, LC_MESSAGES and
/// LANG that is set. A name that the system doesn't know is empty, as both are in the C locale.
NativeNames UserNativeNames();

}  // namespace RegexClass::platform

#endif  // REGEXCLASS_PLATFORM_USERLOCALE_HPP
