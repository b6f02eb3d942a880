// SPDX-License-Identifier: BSL-1.0
#include "platform/FileSystem.hpp"

#include <algorithm>
#include <utility>

#include "platform/windows/Handle.hpp"

namespace tool {

namespace {

constexpr DWORD kShareAll = FILE_SHARE_READ | FILE_SHARE_WRITE | FILE_SHARE_DELETE;

/// What a call of the system writes into a buffer, of which it tells the size that it needs.
template <class Call>
std::string TextFrom(Call call) {
  std::string text(MAX_PATH, '\0');
  DWORD size = call(text.data(), static_cast<DWORD>(text.size()));
  if (size >= text.size()) {
    text.resize(size + std::size_t{1});
    size = call(text.data(), static_cast<DWORD>(text.size()));
  }
  text.resize(size < text.size() ? size : 0);
  return text;
}

/// The system has a full name of its own for what is a device in every directory, such as NUL.
bool IsDevice(const std::string& path) {
  const std::string full = TextFrom([&path](char* text, DWORD size) {
    return GetFullPathNameA(path.c_str(), size, text, nullptr);
  });
  return full.rfind(R"(\\.\)", 0) == 0;
}

Handle OpenAs(const std::string& path, DWORD flags, DWORD access = FILE_READ_ATTRIBUTES,
              DWORD share = kShareAll) {
  return Handle(CreateFileA(path.c_str(), access, share, nullptr, OPEN_EXISTING,
                            FILE_FLAG_BACKUP_SEMANTICS | flags, nullptr));
}

/// Whether a reparse point is a symbolic link or a junction, and no file that some service stores
/// elsewhere.
bool IsLink(HANDLE handle) {
  FILE_ATTRIBUTE_TAG_INFO tag = {};
  return !GetFileInformationByHandleEx(handle, FileAttributeTagInfo, &tag, sizeof tag) ||
         IsReparseTagNameSurrogate(tag.ReparseTag);
}

std::uint64_t InOne(DWORD high, DWORD low) { return std::uint64_t{high} << 32U | low; }

std::uint64_t NumberOf(const BY_HANDLE_FILE_INFORMATION& status) {
  return InOne(status.nFileIndexHigh, status.nFileIndexLow);
}

FileStatus StatusWith(const std::string& path, DWORD flags) {
  FileStatus told;
  told.kind = FileStatus::kOther;
  if (IsDevice(path)) return told;
  const Handle handle = OpenAs(path, flags);
  BY_HANDLE_FILE_INFORMATION status = {};
  if (handle.get() == INVALID_HANDLE_VALUE || !GetFileInformationByHandle(handle.get(), &status)) {
    told.kind = FileStatus::kNothing;
    told.error = LastErrno();
    return told;
  }
  const DWORD attributes = status.dwFileAttributes;
  if ((attributes & FILE_ATTRIBUTE_REPARSE_POINT) != 0 && IsLink(handle.get())) {
    told.kind = FileStatus::kLink;
  } else if ((attributes & FILE_ATTRIBUTE_DIRECTORY) != 0) {
    told.kind = FileStatus::kDirectory;
  } else if (GetFileType(handle.get()) == FILE_TYPE_DISK) {
    told.kind = FileStatus::kFile;
  }
  told.readOnly = (attributes & FILE_ATTRIBUTE_READONLY) != 0;
  told.otherNames = status.nNumberOfLinks > 1;
  told.device = status.dwVolumeSerialNumber;
  told.number = NumberOf(status);
  told.size = InOne(status.nFileSizeHigh, status.nFileSizeLow);
  told.time = InOne(status.ftLastWriteTime.dwHighDateTime, status.ftLastWriteTime.dwLowDateTime);
  return told;
}

/// The text in characters of the system's own, in capitals.
std::wstring Capitals(const std::string& text) {
  const auto size = static_cast<int>(text.size());
  std::wstring wide(text.size(), L'\0');
  wide.resize(static_cast<std::size_t>(
      MultiByteToWideChar(CP_ACP, 0, text.data(), size, wide.data(), size)));
  CharUpperBuffW(wide.data(), static_cast<DWORD>(wide.size()));
  return wide;
}

/// Whether `c` is in the set that begins after a bracket at `set`; `set` goes to its end, and
/// stays when there is none.
bool IsInSet(const wchar_t*& set, wchar_t c) {
  const wchar_t* at = set;
  const bool negated = *at == L'!' || *at == L'^';
  if (negated) ++at;
  bool found = false;
  for (const wchar_t* const first = at; *at != L'\0' && (*at != L']' || at == first); ++at) {
    const wchar_t low = *at;
    if (at[1] == L'-' && at[2] != L']' && at[2] != L'\0') at += 2;
    found = found || (low <= c && c <= *at);
  }
  if (*at == L'\0') return false;
  set = at;
  return found != negated;
}

bool Matches(const wchar_t* pattern, const wchar_t* name) {
  for (; *pattern != L'\0'; ++pattern, ++name) {
    if (*pattern == L'*') {
      while (pattern[1] == L'*') ++pattern;
      for (;; ++name) {
        if (Matches(pattern + 1, name)) return true;
        if (*name == L'\0') return false;
      }
    }
    if (*name == L'\0') return false;
    if (*pattern == L'[') {
      const wchar_t* set = pattern + 1;
      const bool found = IsInSet(set, *name);
      const bool isSet = set != pattern + 1;
      if (isSet ? !found : *name != L'[') return false;
      if (isSet) pattern = set;
    } else if (*pattern != L'?' && *pattern != *name) {
      return false;
    }
  }
  return *name == L'\0';
}

}  // namespace

const std::string_view kSeparators = "\\/";
const char kEscape = '\0';
const bool kStarTakesDots = true;

std::size_t OwnNameAt(const std::string& path) { return path.find_last_of("\\/:") + 1; }

std::size_t RootLength(const std::string& path) {
  const std::string mark = path.substr(0, 4);
  const std::size_t drive = mark == R"(\\?\)" || mark == R"(\\.\)" ? mark.size() : 0;
  const std::size_t at = path.find(':', drive) == drive + 1 ? drive + 2 : drive;
  return std::min(path.find_first_not_of(kSeparators, at), path.size());
}

std::string WithSlashes(std::string path) {
  std::replace(path.begin(), path.end(), '\\', '/');
  return path;
}

std::string Escaped(const std::string& name) {
  std::string escaped;
  for (const char c : name) {
    if (c == '[') {
      escaped += "[[]";
    } else if (c == ';') {
      escaped += "[:-<]";  // whose other characters are in no name
    } else {
      escaped += c;
    }
  }
  return escaped;
}

bool NameMatches(const std::string& pattern, const std::string& name, bool hidesDots) {
  if (hidesDots && name[0] == '.' && pattern[0] != '.') return false;
  if (pattern == "*.*") return true;  // as everybody knows it here
  return Matches(Capitals(pattern).c_str(), Capitals(name).c_str());
}

FileStatus StatusOf(const std::string& path) { return StatusWith(path, 0); }

FileStatus StatusOfLink(const std::string& path) {
  return StatusWith(path, FILE_FLAG_OPEN_REPARSE_POINT);
}

int WriteError(const std::string& path) {
  const Handle file = OpenAs(path, 0, GENERIC_WRITE);
  return file.get() != INVALID_HANDLE_VALUE ? 0 : LastErrno();
}

std::string KeyOf(const std::string& path) {
  const std::string directory = DirectoryOf(path);
  const Handle handle = OpenAs(directory.empty() ? "." : directory, 0);
  BY_HANDLE_FILE_INFORMATION status = {};
  if (handle.get() == INVALID_HANDLE_VALUE || !GetFileInformationByHandle(handle.get(), &status)) {
    return path;
  }
  std::string name = OwnName(path);
  CharUpperBuffA(name.data(), static_cast<DWORD>(name.size()));
  return std::to_string(status.dwVolumeSerialNumber) + ':' + std::to_string(NumberOf(status)) +
         '/' + name;
}

bool IsHidden(const std::string& path) {
  const DWORD attributes = GetFileAttributesA(path.c_str());
  return attributes != INVALID_FILE_ATTRIBUTES && (attributes & FILE_ATTRIBUTE_HIDDEN) != 0;
}

HeldDirectory::~HeldDirectory() { const Handle held(reinterpret_cast<HANDLE>(handle_)); }

/// While the handle of a directory is open without sharing its deletion, nobody gives its name, or
/// one above it, to something else.
int HeldDirectory::Hold(const std::string& file, std::size_t named) {
  const std::string path = DirectoryOf(file);
  Handle held(reinterpret_cast<HANDLE>(handle_));
  handle_ = -1;
  if (held.get() == INVALID_HANDLE_VALUE || path != path_) {
    const auto open = [](const std::string& directory, DWORD flags) {
      return OpenAs(directory, flags, FILE_LIST_DIRECTORY, FILE_SHARE_READ | FILE_SHARE_WRITE);
    };
    std::size_t at = OwnNameAt(path.substr(0, named));
    held = open(at == 0 ? "." : path.substr(0, at), 0);
    while (held.get() != INVALID_HANDLE_VALUE && at < path.size()) {
      at = path.find_first_not_of(kSeparators, path.find_first_of(kSeparators, at));
      at = std::min(at, path.size());
      Handle below = open(path.substr(0, at), FILE_FLAG_OPEN_REPARSE_POINT);
      if (tool::StatusOfLink(path.substr(0, at)).kind == FileStatus::kLink) return ELOOP;
      held = std::move(below);
    }
    if (held.get() == INVALID_HANDLE_VALUE) return LastErrno();
    path_ = path;
  }
  handle_ = reinterpret_cast<std::intptr_t>(held.release());
  return 0;
}

FileStatus HeldDirectory::StatusOf(const std::string& name) const {
  return StatusOfLink(path_ + name);
}

int HeldDirectory::Remove(const std::string& name) const {
  return DeleteFileA((path_ + name).c_str()) ? 0 : LastErrno();
}

void HeldDirectory::MarkCopy(const std::string&, const std::string&) const {}
std::string HeldDirectory::CopyMark(const std::string&) const { return ""; }

}  // namespace tool
