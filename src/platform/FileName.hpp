// How a file name is compared with a pattern.
#ifndef REGEXCLASS_PLATFORM_FILENAME_HPP
#define REGEXCLASS_PLATFORM_FILENAME_HPP

#include <string>

namespace RegexClass::platform {

/// Whether `name`, one component of a path, matches `pattern`, in which `*`, `?` and bracket sets
/// are special and a backslash takes the meaning from the next character. A dot in first place is
/// matched by a dot alone. What a character is, and what a range holds, is the C library's current
/// locale's to say.
bool NameMatches(const std::string& pattern, const std::string& name);

}  // namespace RegexClass::platform

#endif  // REGEXCLASS_PLATFORM_FILENAME_HPP
