// SPDX-License-Identifier: BSL-1.0
#include "platform/Directory.hpp"

#include <cerrno>
#include <climits>
#include <dirent.h>
#include <fcntl.h>
#include <string_view>
#include <sys/stat.h>
#include <utility>

#include "platform/posix/OpenDirectory.hpp"
#include "platform/posix/Uninterrupted.hpp"

namespace RegexClass::platform {
namespace {

/// How many directories of a walk stay open.
constexpr std::size_t kMostOpen = 32;
constexpr int kMostLinks = 40;  // as many as the system itself follows

std::string WithoutSlashesBehind(std::string component) {
  while (component.size() > 1 && component.back() == '/') component.pop_back();
  return component;
}

DirectoryEntry::Kind KindByMode(mode_t mode) {
  if (S_ISDIR(mode)) return DirectoryEntry::kDirectory;
  if (S_ISLNK(mode)) return DirectoryEntry::kLink;
  return S_ISREG(mode) ? DirectoryEntry::kFile : DirectoryEntry::kOther;
}

/// What an entry is, as far as the directory tells it; asked for where it doesn't.
DirectoryEntry::Kind KindOf(int directory, const dirent64& entry) {
  if (entry.d_type != DT_UNKNOWN) return KindByMode(DTTOIF(entry.d_type));
  struct stat status = {};
  const bool told = ::fstatat(directory, entry.d_name, &status, AT_SYMLINK_NOFOLLOW) == 0;
  return told ? KindByMode(status.st_mode) : DirectoryEntry::kOther;
}

/// Calls the system's function for the entries, to whose buffer each C library gives another type.
template <class Buffer, class Size, class Count, std::size_t size>
ssize_t ReadEntries(Count (*read)(int, Buffer*, Size), int descriptor, char (&buffer)[size]) {
  void* const start = buffer;
  return read(descriptor, static_cast<Buffer*>(start), static_cast<Size>(size));
}

}  // namespace

Directory::System::System(DirectoryPointer above, std::string component, Links ofName)
    : parent(std::move(above)), links(ofName) {
  pathLength = component.size();
  if (parent != nullptr) {
    const System& upper = parent->ForPlatform();
    pathLength += upper.pathLength;
    opened = upper.opened;
    name = WithoutSlashesBehind(std::move(component));
  } else {
    opened = std::make_shared<Opened>();
    name = ".";
  }
}

Directory::System::~System() {
  Close();
  // One by one, since destructors of thousands don't fit into each other on the stack.
  while (parent != nullptr && parent.use_count() == 1) {
    parent->ForPlatform().Close();
    DirectoryPointer next = std::move(parent->ForPlatform().parent);
    parent = std::move(next);
  }
}

void Directory::System::Close() {
  if (descriptor.Number() < 0) return;
  descriptor = Descriptor();
  opened->remove(this);
  if (parent != nullptr && parent->ForPlatform().below == this) {
    parent->ForPlatform().below = nullptr;
  }
}

void Directory::System::Keep(Descriptor opening) {
  descriptor = std::move(opening);
  if (parent == nullptr) return;
  parent->ForPlatform().below = this;
  opened->push_back(this);
  if (opened->size() > kMostOpen) opened->front()->Close();
}

/// Opens the directory from one below it, which is what a walk comes back from.
bool Directory::System::OpenFromBelow() {
  if (below == nullptr || below->links != Links::kRefused) return false;
  Descriptor opening(::openat(below->descriptor.Number(), "..", O_PATH | O_DIRECTORY | O_CLOEXEC));
  struct stat status = {};
  if (opening.Number() < 0 || ::fstat(opening.Number(), &status) != 0) return false;
  if (FileIdentity{status.st_dev, status.st_ino} != identity) return false;
  Keep(std::move(opening));
  return true;
}

Error Directory::System::OpenIn(int directory, int access, Descriptor& opening) {
  const int flags = access | O_DIRECTORY | O_CLOEXEC;
  const auto open = [&](int more) {
    opening =
        Descriptor(Uninterrupted([&] { return ::openat(directory, name.c_str(), flags | more); }));
    return opening.Number() >= 0;
  };
  if (!open(links == Links::kMeant ? 0 : O_NOFOLLOW)) {
    if (links != Links::kFollowed || !LeadsNowhere(errno) || !open(0)) return errno;
    asMeant = false;
  }
  struct stat status = {};
  if (::fstat(opening.Number(), &status) != 0) return errno;
  const FileIdentity present = {status.st_dev, status.st_ino};
  if (std::exchange(identified, true) && present != identity) return ESTALE;
  identity = present;
  if (parent != nullptr && !parent->IsReachedAsMeant()) asMeant = false;
  return 0;
}

Error Directory::System::Open(int& number) {
  std::vector<System*> closed;
  for (System* at = this; at != nullptr && at->descriptor.Number() < 0;
       at = at->parent != nullptr ? &at->parent->ForPlatform() : nullptr) {
    if (at->OpenFromBelow()) break;
    closed.push_back(at);
  }
  for (; !closed.empty(); closed.pop_back()) {
    System& next = *closed.back();
    const int above =
        next.parent != nullptr ? next.parent->ForPlatform().descriptor.Number() : AT_FDCWD;
    Descriptor opening;
    if (const Error error = next.OpenIn(above, O_PATH, opening)) return error;
    next.Keep(std::move(opening));
  }
  number = descriptor.Number();
  return 0;
}

Error Directory::System::OpenToRead(int& number) {
  int above = AT_FDCWD;
  if (parent != nullptr) {
    if (const Error error = parent->ForPlatform().Open(above)) return error;
  }
  Descriptor opening;
  if (const Error error = OpenIn(above, O_RDONLY, opening)) return error;
  Close();
  Keep(std::move(opening));
  number = descriptor.Number();
  return 0;
}

Error Directory::List(std::vector<DirectoryEntry>& entries, bool& opened) {
  int descriptor = -1;
  opened = false;
  if (const Error error = system_->OpenToRead(descriptor)) return error;
  opened = true;
  // Without readdir, whose stream is as large as this buffer, made anew for each directory, and
  // owns the descriptor.
  alignas(dirent64) char buffer[32768];
  for (;;) {
    const ssize_t size =
        Uninterrupted([&] { return ReadEntries(::getdents64, descriptor, buffer); });
    // One that has been removed has no entries.
    if (size <= 0) return size == 0 || errno == ENOENT ? 0 : errno;
    for (ssize_t at = 0; at < size;) {
      const auto& entry = *reinterpret_cast<const dirent64*>(buffer + at);
      at += entry.d_reclen;
      const std::string_view name = entry.d_name;
      if (name == "." || name == "..") continue;
      entries.push_back({std::string(name), KindOf(descriptor, entry)});
    }
  }
}

DirectoryEntry Directory::EntryOf(const std::string& name) {
  int descriptor = -1;
  struct stat status = {};
  if (system_->Open(descriptor) != 0 ||
      ::fstatat(descriptor, name.c_str(), &status, AT_SYMLINK_NOFOLLOW) != 0) {
    return {name, DirectoryEntry::kOther};
  }
  return {name, KindByMode(status.st_mode)};
}

Error Directory::Resolve(DirectoryPointer& directory, std::string& name) {
  directory = shared_from_this();
  for (int i = 0; i < kMostLinks; ++i) {
    int descriptor = -1;
    if (const Error error = directory->system_->Open(descriptor)) return error;
    std::string target(PATH_MAX, '\0');
    const ssize_t size = ::readlinkat(descriptor, name.c_str(), target.data(), target.size());
    if (size < 0) return errno == EINVAL || errno == ENOENT ? 0 : errno;
    target.resize(static_cast<std::size_t>(size));
    const std::size_t last = target.rfind('/') + 1;  // 0 without a slash
    if (last != 0) directory = directory->Below(target.substr(0, last), Links::kMeant);
    name = target.substr(last);
  }
  return ELOOP;
}

}  // namespace RegexClass::platform
