// SPDX-License-Identifier: BSL-1.0
#include "platform/Directory.hpp"

#include <cerrno>
#include <climits>
#include <fcntl.h>
#include <sys/stat.h>
#include <utility>

#include "platform/posix/Calls.hpp"
#include "platform/posix/Extensions.hpp"
#include "platform/posix/OpenDirectory.hpp"

namespace RegexClass::platform {
namespace {

/// How many directories of a walk stay open.
constexpr std::size_t kMostOpen = 32;
constexpr int kMostLinks = 40;  // as many as the system itself follows

std::string WithoutSlashesBehind(std::string component) {
  while (component.size() > 1 && component.back() == '/') component.pop_back();
  return component;
}

}  // namespace

DirectoryEntry::Kind KindByMode(mode_t mode) {
  if (S_ISDIR(mode)) return DirectoryEntry::kDirectory;
  if (S_ISLNK(mode)) return DirectoryEntry::kLink;
  return S_ISREG(mode) ? DirectoryEntry::kFile : DirectoryEntry::kOther;
}

DirectoryEntry::Kind KindOf(int directory, const char* name) {
  struct stat status = {};
  const bool told = ::fstatat(directory, name, &status, AT_SYMLINK_NOFOLLOW) == 0;
  return told ? KindByMode(status.st_mode) : DirectoryEntry::kOther;
}

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
  Descriptor opening(
      ::openat(below->descriptor.Number(), "..", kOpenToPass | O_DIRECTORY | O_CLOEXEC));
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
    if (const Error error = next.OpenIn(above, kOpenToPass, opening)) return error;
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
  return ReadEntries(descriptor, entries);
}

DirectoryEntry Directory::EntryOf(const std::string& name) {
  int descriptor = -1;
  if (system_->Open(descriptor) != 0) return {name, DirectoryEntry::kOther};
  return {name, KindOf(descriptor, name.c_str())};
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
