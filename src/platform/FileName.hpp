// SPDX-License-Identifier: BSL-1.0
// How names of files and patterns for them are written.
#ifndef REGEXCLASS_PLATFORM_FILENAME_HPP
#define REGEXCLASS_PLATFORM_FILENAME_HPP

#include <cstddef>
#include <string>
#include <string_view>

namespace RegexClass::platform {

/// The characters that separate the components of a path; the first is the one to write.
std::string_view Separators();

/// How long the start of a path is that leads away from the current directory, such as `/`.
std::size_t RootLength(std::string_view path);

/// The offset of the first of `characters` in a pattern that isn't escaped, or the pattern's size.
std::size_t FindUnescaped(std::string_view pattern, std::string_view characters);

/// The name that a component without special characters stands for.
std::string WithoutEscapes(std::string_view component);

/// Whether `name`, one component of a path, matches `pattern`, in which `*`, `?` and bracket sets
/// are special, by the rules that RegularExpression::SetFilesToMatch tells.
bool NameMatches(const std::string& pattern, const std::string& name);

}  // namespace RegexClass::platform

#endif  // REGEXCLASS_PLATFORM_FILENAME_HPP
