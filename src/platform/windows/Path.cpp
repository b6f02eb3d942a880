// SPDX-License-Identifier: BSL-1.0
#include "platform/windows/Path.hpp"

#include <algorithm>

#include "platform/FileName.hpp"

namespace RegexClass::platform {
namespace {

const std::wstring kMark = LR"(\\?\)";

bool StartsWith(const std::wstring& text, const std::wstring& start) {
  return text.compare(0, start.size(), start) == 0;
}

std::wstring Capitals(std::wstring text) {
  CharUpperBuffW(text.data(), static_cast<DWORD>(text.size()));
  return text;
}

/// Whether the name is a device's in every directory, whatever extension it has.
bool IsDevice(const std::wstring& name) {
  std::wstring base = name.substr(0, name.find(L'.'));
  base.resize(base.find_last_not_of(L' ') + 1);
  base = Capitals(base);
  for (const wchar_t* const device : {L"CON", L"PRN", L"AUX", L"NUL", L"CONIN$", L"CONOUT$"}) {
    if (base == device) return true;
  }
  // The last three digits are superscripts.
  return base.size() == 4 && (StartsWith(base, L"COM") || StartsWith(base, L"LPT")) &&
         std::wstring(L"123456789\u00b9\u00b2\u00b3").find(base[3]) != std::wstring::npos;
}

/// A path as GetFullPathNameW returns it, with the mark of those that the system takes as they are.
std::wstring Marked(const std::wstring& path) {
  std::wstring marked = path;
  if (!StartsWith(path, kMark)) {
    marked = StartsWith(path, LR"(\\)") ? kMark + L"UNC" + path.substr(1) : kMark + path;
  }
  // By the mark one may come to everything that the system has.
  const std::wstring rest = Capitals(marked.substr(kMark.size()));
  const bool isDrive =
      rest.size() > 2 && rest[0] >= L'A' && rest[0] <= L'Z' && rest.compare(1, 2, LR"(:\)") == 0;
  const std::wstring share = rest.substr(std::min(rest.find(L'\\', 4), rest.size()));
  const bool isShare = StartsWith(rest, LR"(UNC\)") && !StartsWith(rest, LR"(UNC\.\)") &&
                       !StartsWith(share, LR"(\PIPE\)") && !StartsWith(share, LR"(\MAILSLOT\)");
  return isDrive || isShare || StartsWith(rest, L"VOLUME{") ? marked : std::wstring();
}

}  // namespace

std::wstring Wide(const std::string& text) {
  const int size = static_cast<int>(text.size());
  std::wstring wide(text.size(), L'\0');
  wide.resize(static_cast<std::size_t>(
      MultiByteToWideChar(CP_ACP, MB_ERR_INVALID_CHARS, text.data(), size, wide.data(), size)));
  return wide;
}

bool Narrow(const std::wstring& text, std::string& narrow) {
  const int size = static_cast<int>(text.size());
  narrow.resize(4 * text.size());
  narrow.resize(static_cast<std::size_t>(
      WideCharToMultiByte(CP_ACP, 0, text.data(), size, narrow.data(),
                          static_cast<int>(narrow.size()), nullptr, nullptr)));
  return Wide(narrow) == text;
}

std::wstring FullPath(const std::wstring& from, const std::string& name) {
  std::wstring path = Wide(name);
  if (RootLength(name) == 0) {
    if (from.empty() || (path.empty() && !name.empty())) return std::wstring();
    // Without the mark, so that what leads upwards is followed.
    const std::wstring share = kMark + L"UNC";
    const bool isShare = StartsWith(from, share + L'\\');
    const std::wstring start =
        isShare ? L'\\' + from.substr(share.size()) : from.substr(kMark.size());
    path = Joined(start, path);
  }
  if (StartsWith(path, kMark)) return Marked(path);
  return Marked(TextFrom([&](wchar_t* text, DWORD size) {
    return GetFullPathNameW(path.c_str(), size, text, nullptr);
  }));
}

std::wstring CurrentPath() {
  return Marked(
      TextFrom([](wchar_t* text, DWORD size) { return GetCurrentDirectoryW(size, text); }));
}

std::wstring PathIn(const std::wstring& directory, const std::string& entry) {
  const std::wstring name = Wide(entry);
  const bool isNone = name.empty() || name == L"." || name == L".." || IsDevice(name) ||
                      name.find_first_of(LR"(<>:"/\|?*)") != std::wstring::npos;
  return directory.empty() || isNone ? std::wstring() : Joined(directory, name);
}

std::wstring Joined(const std::wstring& directory, const std::wstring& name) {
  return directory.back() == L'\\' ? directory + name : directory + L'\\' + name;
}

}  // namespace RegexClass::platform
