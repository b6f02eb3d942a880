// SPDX-License-Identifier: BSL-1.0
// For the implementation of this folder alone: names of files as the system itself has them.
//
// Outside they are texts in the code page of the process. In here they are paths from the root, in
// the form that has no limit to its length and of which no part is read as anything but a name.
#ifndef REGEXCLASS_PLATFORM_WINDOWS_PATH_HPP
#define REGEXCLASS_PLATFORM_WINDOWS_PATH_HPP

#include <string>
#include <windows.h>

namespace RegexClass::platform {

/// What a call of the system writes into a buffer, of which it tells the size that it needs; empty
/// when it fails.
template <class Call>
std::wstring TextFrom(Call call) {
  std::wstring text(MAX_PATH, L'\0');
  DWORD size = call(text.data(), static_cast<DWORD>(text.size()));
  if (size >= text.size()) {
    text.resize(size + std::size_t{1});
    size = call(text.data(), static_cast<DWORD>(text.size()));
  }
  text.resize(size < text.size() ? size : 0);
  return text;
}

/// Empty for what is no text in the code page.
std::wstring Wide(const std::string& text);
/// False when the code page lacks a character of the text, of which another one would make the name
/// of another file.
bool Narrow(const std::wstring& text, std::string& narrow);

/// The path that a name leads to from the directory `from`; empty when that is a device or a pipe.
std::wstring FullPath(const std::wstring& from, const std::string& name);
std::wstring CurrentPath();
/// The path of what has the name `entry` in the directory; empty when no file can have it: a
/// device's, one that stands for others, or for a part of a file.
std::wstring PathIn(const std::wstring& directory, const std::string& entry);
std::wstring Joined(const std::wstring& directory, const std::wstring& name);

}  // namespace RegexClass::platform

#endif  // REGEXCLASS_PLATFORM_WINDOWS_PATH_HPP
