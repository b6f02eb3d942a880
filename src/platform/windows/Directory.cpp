// SPDX-License-Identifier: BSL-1.0
#include "platform/Directory.hpp"

#include <utility>

#include "platform/FileName.hpp"
#include "platform/windows/OpenDirectory.hpp"
#include "platform/windows/Path.hpp"

namespace RegexClass::platform {
namespace {

std::string WithoutSeparatorsBehind(const std::string& component) {
  return component.substr(0, component.find_last_not_of(Separators()) + 1);
}

bool IsLink(const WIN32_FIND_DATAW& found) {
  return (found.dwFileAttributes & FILE_ATTRIBUTE_REPARSE_POINT) != 0 &&
         (found.dwReserved0 == 0 || IsReparseTagNameSurrogate(found.dwReserved0));
}

DirectoryEntry::Kind KindOf(const WIN32_FIND_DATAW& found) {
  if (IsLink(found)) return DirectoryEntry::kLink;
  const bool isDirectory = (found.dwFileAttributes & FILE_ATTRIBUTE_DIRECTORY) != 0;
  return isDirectory ? DirectoryEntry::kDirectory : DirectoryEntry::kFile;
}

struct FindHandle {
  HANDLE value;
  ~FindHandle() {
    if (value != INVALID_HANDLE_VALUE) FindClose(value);
  }
};

}  // namespace

Directory::System::System(DirectoryPointer above, const std::string& component, Links ofName)
    : parent(std::move(above)), name(component), pathLength(component.size()), links(ofName) {
  if (parent == nullptr) {
    path = CurrentPath();
    return;
  }
  const System& upper = parent->ForPlatform();
  pathLength += upper.pathLength;
  path = links == Links::kMeant ? FullPath(upper.path, component)
                                : PathIn(upper.path, WithoutSeparatorsBehind(component));
}

Directory::System::~System() {
  // One by one, since destructors of thousands don't fit into each other on the stack.
  while (parent != nullptr && parent.use_count() == 1) {
    DirectoryPointer next = std::move(parent->ForPlatform().parent);
    parent = std::move(next);
  }
}

Error Directory::System::Open(Handle& handle) {
  Handle above;  // keeps those above as they are until this one is known
  if (!identified && parent != nullptr) {
    if (const Error error = parent->ForPlatform().Open(above)) return error;
    asMeant = asMeant && parent->IsReachedAsMeant();
  }
  BY_HANDLE_FILE_INFORMATION status = {};
  const auto open = [&](DWORD flag) -> Error {
    const auto with = [&](DWORD access, DWORD share) {
      handle = Handle(CreateFileW(path.c_str(), access, share, nullptr, OPEN_EXISTING,
                                  FILE_FLAG_BACKUP_SEMANTICS | flag, nullptr));
      return handle.IsOpen();
    };
    constexpr DWORD kShare = FILE_SHARE_READ | FILE_SHARE_WRITE;
    // One that may be passed but not listed, or that somebody is about to delete, takes the second.
    if (!with(FILE_LIST_DIRECTORY, kShare) &&
        !with(FILE_READ_ATTRIBUTES, kShare | FILE_SHARE_DELETE)) {
      return LastError();
    }
    return GetFileInformationByHandle(handle.Value(), &status) ? 0 : LastError();
  };
  if (const Error error = open(links == Links::kMeant ? 0 : FILE_FLAG_OPEN_REPARSE_POINT)) {
    return error;
  }
  if (links != Links::kMeant && platform::IsLink(handle.Value(), status)) {
    if (links == Links::kRefused) return ERROR_CANT_ACCESS_FILE;
    asMeant = false;
    if (const Error error = open(0)) return error;
  }
  if ((status.dwFileAttributes & FILE_ATTRIBUTE_DIRECTORY) == 0) return ERROR_DIRECTORY;
  if (std::exchange(identified, true) && IdentityOf(status) != identity) return kErrorStale;
  identity = IdentityOf(status);
  return 0;
}

std::wstring Directory::System::PathOf(const std::string& entry) const {
  return PathIn(path, entry);
}

Error Directory::List(std::vector<DirectoryEntry>& entries, bool& opened) {
  Handle directory;
  opened = false;
  if (const Error error = system_->Open(directory)) return error;
  const std::wstring all = Joined(system_->path, L"*");
  WIN32_FIND_DATAW entry = {};
  const FindHandle found = {FindFirstFileExW(all.c_str(), FindExInfoBasic, &entry,
                                             FindExSearchNameMatch, nullptr,
                                             FIND_FIRST_EX_LARGE_FETCH)};
  if (found.value == INVALID_HANDLE_VALUE) {
    const Error error = LastError();
    return error == ERROR_FILE_NOT_FOUND ? 0 : error;
  }
  opened = true;
  Error error = 0;
  do {
    std::string name;
    if (!Narrow(entry.cFileName, name)) {
      error = ERROR_NO_UNICODE_TRANSLATION;
    } else if (name != "." && name != "..") {
      entries.push_back({name, KindOf(entry)});
    }
  } while (FindNextFileW(found.value, &entry));
  const Error last = LastError();
  return last == ERROR_NO_MORE_FILES ? error : last;
}

DirectoryEntry Directory::EntryOf(const std::string& name) {
  WIN32_FIND_DATAW entry = {};
  const FindHandle found = {FindFirstFileW(system_->PathOf(name).c_str(), &entry)};
  // Whatever case or short form it was written in.
  std::string real;
  if (found.value == INVALID_HANDLE_VALUE || !Narrow(entry.cFileName, real)) {
    return {name, DirectoryEntry::kOther};
  }
  return {real, KindOf(entry)};
}

Error Directory::Resolve(DirectoryPointer& directory, std::string& name) {
  directory = shared_from_this();
  Handle opened;
  if (const Error error = system_->Open(opened)) return error;
  const std::wstring path = system_->PathOf(name);
  WIN32_FIND_DATAW entry = {};
  const FindHandle found = {FindFirstFileW(path.c_str(), &entry)};
  if (found.value == INVALID_HANDLE_VALUE) {
    const Error error = LastError();
    return LeadsNowhere(error) ? 0 : error;
  }
  // Whatever case or short form it was written in.
  if (!Narrow(entry.cFileName, name)) return ERROR_NO_UNICODE_TRANSLATION;
  if (!IsLink(entry)) return 0;

  const Handle target(CreateFileW(path.c_str(), FILE_READ_ATTRIBUTES,
                                  FILE_SHARE_READ | FILE_SHARE_WRITE | FILE_SHARE_DELETE, nullptr,
                                  OPEN_EXISTING, FILE_FLAG_BACKUP_SEMANTICS, nullptr));
  if (!target.IsOpen()) return LastError();
  const std::wstring wide = TextFrom([&](wchar_t* text, DWORD size) {
    return GetFinalPathNameByHandleW(target.Value(), text, size, FILE_NAME_NORMALIZED);
  });
  if (wide.empty()) return LastError();
  std::string real;
  if (!Narrow(wide, real)) return ERROR_NO_UNICODE_TRANSLATION;
  const std::size_t last = real.find_last_of(Separators()) + 1;
  directory = Below(real.substr(0, last), Links::kMeant);
  name = real.substr(last);
  return 0;
}

}  // namespace RegexClass::platform
