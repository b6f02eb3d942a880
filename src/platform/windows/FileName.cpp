// SPDX-License-Identifier: BSL-1.0
#include "platform/FileName.hpp"

#include <algorithm>
#include <windows.h>

namespace RegexClass::platform {
namespace {

bool IsSeparator(char c) { return Separators().find(c) != std::string_view::npos; }

std::size_t SkipSeparators(std::string_view path, std::size_t at) {
  return std::min(path.find_first_not_of(Separators(), at), path.size());
}

/// The text in characters of the system's own, in capitals.
std::wstring Capitals(const std::string& text) {
  const int size = static_cast<int>(text.size());
  std::wstring wide(text.size(), L'\0');
  wide.resize(static_cast<std::size_t>(
      MultiByteToWideChar(CP_ACP, 0, text.data(), size, wide.data(), size)));
  CharUpperBuffW(wide.data(), static_cast<DWORD>(wide.size()));
  return wide;
}

/// Whether `c` is in the set that begins at `at`, after its bracket; `at` goes past the set, and
/// stays when there is no end to it.
bool IsInSet(const std::wstring& pattern, std::size_t& at, wchar_t c) {
  std::size_t i = at;
  const bool negated = i < pattern.size() && (pattern[i] == L'!' || pattern[i] == L'^');
  if (negated) ++i;
  bool found = false;
  for (const std::size_t first = i; i < pattern.size() && (pattern[i] != L']' || i == first); ++i) {
    const bool isRange = i + 2 < pattern.size() && pattern[i + 1] == L'-' && pattern[i + 2] != L']';
    const wchar_t low = pattern[i];
    if (isRange) i += 2;
    found = found || (low <= c && c <= pattern[i]);
  }
  if (i == pattern.size()) return false;
  at = i + 1;
  return found != negated;
}

}  // namespace

std::string_view Separators() { return "\\/"; }

std::size_t RootLength(std::string_view path) {
  if (path.size() >= 2 && path[1] == ':') return SkipSeparators(path, 2);
  const std::size_t leading = SkipSeparators(path, 0);
  if (leading != 2) return leading;
  if (path.size() > 3 && (path[2] == '?' || path[2] == '.') && IsSeparator(path[3])) {
    return 4 + RootLength(path.substr(4));  // a mark for paths that the system doesn't look through
  }
  std::size_t end = 2;  // of the server's name, then of the share's
  for (int i = 0; i < 2; ++i) {
    end = SkipSeparators(path, std::min(path.find_first_of(Separators(), end), path.size()));
  }
  return end;
}

std::size_t FindUnescaped(std::string_view pattern, std::string_view characters) {
  return std::min(pattern.find_first_of(characters), pattern.size());
}

std::string WithoutEscapes(std::string_view component) { return std::string(component); }

bool NameMatches(const std::string& pattern, const std::string& name) {
  if (pattern == "*.*") return true;  // as everybody knows it here
  const std::wstring wanted = Capitals(pattern);
  const std::wstring text = Capitals(name);
  std::size_t at = 0;
  std::size_t i = 0;
  std::size_t star = std::wstring::npos;  // after the last one that was met
  std::size_t covered = 0;                // and how far it reaches
  while (i < text.size()) {
    std::size_t next = at + 1;
    bool same = at < wanted.size() && (wanted[at] == L'?' || wanted[at] == text[i]);
    if (at < wanted.size() && wanted[at] == L'[') {
      const bool inSet = IsInSet(wanted, next, text[i]);
      if (next != at + 1) same = inSet;
    }
    if (at < wanted.size() && wanted[at] == L'*') {
      star = ++at;
      covered = i;
    } else if (same) {
      at = next;
      ++i;
    } else if (star != std::wstring::npos) {
      at = star;
      i = ++covered;
    } else {
      return false;
    }
  }
  return wanted.find_first_not_of(L'*', at) == std::wstring::npos;
}

}  // namespace RegexClass::platform
