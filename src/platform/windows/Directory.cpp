// SPDX-License-Identifier: BSL-1.0
#include "platform/Directory.hpp"

#include <utility>

#include "platform/FileName.hpp"
#include "platform/windows/OpenDirectory.hpp"

namespace RegexClass::platform {
namespace {

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

std::string Joined(const std::string& path, const std::string& name) {
  const bool separated = path.empty() || path.back() == ':' ||
                         Separators().find(path.back()) != std::string_view::npos;
  return separated ? path + name : path + Separators().front() + name;
}

std::string WithoutSeparatorsBehind(const std::string& component) {
  const std::size_t root = RootLength(component);
  return component.substr(0, std::max(root, component.find_last_not_of(Separators()) + 1));
}

/// The path without the mark of those that the system doesn't look through.
std::string WithoutMark(const std::string& path) {
  if (path.rfind(R"(\\?\UNC\)", 0) == 0) return '\\' + path.substr(7);
  return path.rfind(R"(\\?\)", 0) == 0 ? path.substr(4) : path;
}

bool IsLink(const WIN32_FIND_DATAA& found) {
  return (found.dwFileAttributes & FILE_ATTRIBUTE_REPARSE_POINT) != 0 &&
         IsReparseTagNameSurrogate(found.dwReserved0);
}

DirectoryEntry::Kind KindOf(const WIN32_FIND_DATAA& found) {
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
    path = TextFrom([](char* text, DWORD size) { return GetCurrentDirectoryA(size, text); });
    return;
  }
  const System& upper = parent->ForPlatform();
  pathLength += upper.pathLength;
  const std::string bare = WithoutSeparatorsBehind(component);
  path = RootLength(bare) != 0 ? bare : Joined(upper.path, bare);
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
      handle = Handle(CreateFileA(path.c_str(), access, share, nullptr, OPEN_EXISTING,
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

std::string Directory::System::PathOf(const std::string& entry) const {
  return Joined(path, entry);
}

Directory::Directory(std::unique_ptr<System> system) : system_(std::move(system)) {}
Directory::~Directory() = default;

DirectoryPointer Directory::Current() {
  return std::make_shared<Directory>(
      std::make_unique<System>(nullptr, std::string(), Links::kMeant));
}

DirectoryPointer Directory::Below(const std::string& component, Links links) {
  return std::make_shared<Directory>(
      std::make_unique<System>(shared_from_this(), component, links));
}

DirectoryPointer Directory::Above(std::size_t length) {
  DirectoryPointer directory = shared_from_this();
  while (directory->PathLength() > length) {
    const System& system = *directory->system_;
    if (system.parent == nullptr) return nullptr;
    const std::size_t above = system.parent->PathLength();
    if (above < length) {  // inside of a name that the caller has spelled out
      return system.parent->Below(system.name.substr(0, length - above), system.links);
    }
    directory = DirectoryPointer(system.parent);
  }
  return directory->PathLength() == length ? directory : nullptr;
}

std::size_t Directory::PathLength() const { return system_->pathLength; }

bool Directory::IsReachedAsMeant() const { return system_->asMeant; }

Error Directory::Identify(FileIdentity& identity) {
  Handle ignored;
  if (!system_->identified) {
    if (const Error error = system_->Open(ignored)) return error;
  }
  identity = system_->identity;
  return 0;
}

Error Directory::List(std::vector<DirectoryEntry>& entries, bool& opened) {
  Handle directory;
  opened = false;
  if (const Error error = system_->Open(directory)) return error;
  WIN32_FIND_DATAA entry = {};
  const FindHandle found = {FindFirstFileA(system_->PathOf("*").c_str(), &entry)};
  if (found.value == INVALID_HANDLE_VALUE) {
    return GetLastError() == ERROR_FILE_NOT_FOUND ? 0 : LastError();
  }
  opened = true;
  do {
    const std::string name = entry.cFileName;
    if (name != "." && name != "..") entries.push_back({name, platform::KindOf(entry)});
  } while (FindNextFileA(found.value, &entry));
  return GetLastError() == ERROR_NO_MORE_FILES ? 0 : LastError();
}

DirectoryEntry::Kind Directory::KindOf(const std::string& name) {
  WIN32_FIND_DATAA entry = {};
  const FindHandle found = {FindFirstFileA(system_->PathOf(name).c_str(), &entry)};
  if (found.value == INVALID_HANDLE_VALUE) return DirectoryEntry::kOther;
  // In another case or short form it is to be resolved as a link is.
  return name == entry.cFileName ? platform::KindOf(entry) : DirectoryEntry::kLink;
}

Error Directory::Resolve(DirectoryPointer& directory, std::string& name) {
  directory = shared_from_this();
  Handle opened;
  if (const Error error = system_->Open(opened)) return error;
  const std::string path = system_->PathOf(name);
  WIN32_FIND_DATAA entry = {};
  const FindHandle found = {FindFirstFileA(path.c_str(), &entry)};
  if (found.value == INVALID_HANDLE_VALUE) return LeadsNowhere(LastError()) ? 0 : LastError();
  name = entry.cFileName;  // whatever case or short form it was written in
  if (!IsLink(entry)) return 0;

  const Handle target(CreateFileA(path.c_str(), FILE_READ_ATTRIBUTES,
                                  FILE_SHARE_READ | FILE_SHARE_WRITE | FILE_SHARE_DELETE, nullptr,
                                  OPEN_EXISTING, FILE_FLAG_BACKUP_SEMANTICS, nullptr));
  if (!target.IsOpen()) return LastError();
  const std::string real = WithoutMark(TextFrom([&](char* text, DWORD size) {
    return GetFinalPathNameByHandleA(target.Value(), text, size, FILE_NAME_NORMALIZED);
  }));
  const std::size_t last = real.find_last_of(Separators()) + 1;
  if (last == 0) return LastError();
  directory = Below(real.substr(0, last), Links::kMeant);
  name = real.substr(last);
  return 0;
}

}  // namespace RegexClass::platform
