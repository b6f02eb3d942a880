// SPDX-License-Identifier: BSL-1.0
#include "platform/RewriteTarget.hpp"

#include <cerrno>
#include <fcntl.h>
#include <sys/file.h>
#include <sys/stat.h>
#include <unistd.h>
#include <utility>

#include "platform/posix/Attributes.hpp"
#include "platform/posix/OpenDirectory.hpp"
#include "platform/posix/OpenFile.hpp"

namespace RegexClass::platform {
namespace {

constexpr mode_t kAnyWrite = 0222;

/// A descriptor of the caller's for a directory.
Error Duplicate(Directory& directory, Descriptor& descriptor) {
  int number = -1;
  if (const Error error = directory.ForPlatform().Open(number)) return error;
  descriptor = Descriptor(fcntl(number, F_DUPFD_CLOEXEC, 0));
  return descriptor.Number() >= 0 ? 0 : errno;
}

/// Opens the directory that holds a file which was found, and tells its name in there. A link that
/// wasn't meant isn't followed to it, nor passed on the way.
Error OpenDirectoryOf(const FoundFile& file, Descriptor& descriptor, std::string& entry) {
  DirectoryPointer directory = file.directory;
  entry = file.Entry();
  if (file.links == Links::kMeant) {
    if (const Error error = file.directory->Resolve(directory, entry)) return error;
  }
  if (const Error error = Duplicate(*directory, descriptor)) return error;
  return directory->IsReachedAsMeant() ? 0 : ELOOP;
}

/// Fails when what is open is no regular file.
Error CheckRegular(int descriptor, struct stat& status) {
  if (fstat(descriptor, &status) == -1) return errno;
  if (S_ISDIR(status.st_mode)) return EISDIR;
  return S_ISREG(status.st_mode) ? 0 : EINVAL;
}

}  // namespace

Error Original::CheckUnchanged() const {
  const auto same = [](const timespec& a, const timespec& b) {
    return a.tv_sec == b.tv_sec && a.tv_nsec == b.tv_nsec;
  };
  struct stat now = {};
  if (fstat(descriptor, &now) == -1) return errno;
  return now.st_size == opened.st_size && same(now.st_mtim, opened.st_mtim) &&
                 same(now.st_ctim, opened.st_ctim)
             ? 0
             : kErrorChanged;
}

RewriteTarget::RewriteTarget() : system_(std::make_unique<System>()) {}
RewriteTarget::~RewriteTarget() = default;

Error RewriteTarget::Look(const FoundFile& file, FileToRewrite& told) {
  Descriptor directory;
  std::string entry;
  struct stat status = {};
  if (const Error error = OpenDirectoryOf(file, directory, entry)) return error;
  if (fstatat(directory.Number(), entry.c_str(), &status, AT_SYMLINK_NOFOLLOW) == -1) {
    return errno;
  }
  told.identity = IdentityOf(status);
  told.writable = (status.st_mode & kAnyWrite) != 0;  // what it is, opening it tells
  return 0;
}

Error RewriteTarget::Open(const FoundFile& file) {
  system_->found = file;
  if (const Error error = OpenDirectoryOf(file, *system_->directory, system_->entry)) return error;
  const auto open = [&](int access) {
    return system_->file.ForPlatform().Own(Uninterrupted([&] {
      return openat(system_->directory->Number(), system_->entry.c_str(),
                    access | O_NOFOLLOW | O_CLOEXEC | O_NOCTTY | O_NONBLOCK);
    }));
  };
  system_->unwritable = open(O_RDWR);
  if (system_->unwritable != 0) {
    if (const Error error = open(O_RDONLY)) return error;
  }
  const int descriptor = system_->file.ForPlatform().Number();
  struct stat& status = system_->original.opened;
  system_->original.descriptor = descriptor;
  if (const Error error = CheckRegular(descriptor, status)) return error;
  if (IdentityOf(status) != file.identity) return ESTALE;
  // A file system without locks isn't a reason to refuse.
  if (flock(descriptor, LOCK_EX | LOCK_NB) == -1 && errno == EWOULDBLOCK) return errno;
  if (fstat(descriptor, &status) == -1) return errno;
  system_->capabilities = ReadExtended(descriptor, kCapabilities);
  return 0;
}

File& RewriteTarget::Content() { return system_->file; }
Error RewriteTarget::Unwritable() { return system_->unwritable; }
Error RewriteTarget::CheckUnchanged() { return system_->original.CheckUnchanged(); }
bool RewriteTarget::HasOtherNames() { return system_->original.opened.st_nlink > 1; }

Error RewriteTarget::OpenSource(const FoundFile& source, std::unique_ptr<File>& content) {
  Descriptor directory;
  if (const Error error = Duplicate(*source.directory, directory)) return error;
  auto file = std::make_unique<File>();
  const auto open = [&] {
    return openat(directory.Number(), source.Entry().c_str(),
                  O_RDONLY | O_NOFOLLOW | O_CLOEXEC | O_NOCTTY | O_NONBLOCK);
  };
  if (const Error error = file->ForPlatform().Own(Uninterrupted(open))) return error;
  struct stat status = {};
  if (const Error error = CheckRegular(file->ForPlatform().Number(), status)) return error;
  if (IdentityOf(status) == IdentityOf(system_->original.opened)) return EEXIST;
  if (status.st_uid != system_->original.opened.st_uid && status.st_uid != geteuid()) return EPERM;
  content = std::move(file);
  return 0;
}

Error RewriteTarget::CreateReplacement(std::unique_ptr<NewFile>& file) {
  return system_->Create(NewFile::System::Kind::kReplacement, system_->directory, system_->entry,
                         file);
}

Error RewriteTarget::CreateCopy(const std::string& name, Present present,
                                std::unique_ptr<NewFile>& file) {
  auto directory = std::make_shared<Descriptor>();
  const std::size_t last = name.rfind('/') + 1;  // 0 without a slash
  const DirectoryPointer above = system_->found.directory->Above(last);
  if (above == nullptr) return EINVAL;
  if (const Error error = Duplicate(*above, *directory)) return error;
  const auto kind = present == Present::kKept ? NewFile::System::Kind::kCopyThatReplacesNothing
                                              : NewFile::System::Kind::kCopy;
  return system_->Create(kind, directory, name.substr(last), file);
}

Error RewriteTarget::RestoreAttributes() {
  struct stat status = {};
  const int descriptor = system_->file.ForPlatform().Number();
  if (fstat(descriptor, &status) == -1) return errno;
  const mode_t mode = system_->original.opened.st_mode & kModeBits;
  if ((status.st_mode & kModeBits) != mode && fchmod(descriptor, mode) == -1) return errno;
  if (ReadExtended(descriptor, kCapabilities) == system_->capabilities) return 0;
  return SetExtended(descriptor, kCapabilities, system_->capabilities);
}

Error RewriteTarget::System::Create(NewFile::System::Kind kind, std::shared_ptr<Descriptor> in,
                                    const std::string& name,
                                    std::unique_ptr<NewFile>& created) const {
  auto made = std::make_unique<NewFile::System>(kind, original, std::move(in), name);
  Error error = made->CheckName();
  if (error == 0) error = made->Create();
  if (error == 0) created = std::make_unique<NewFile>(std::move(made));
  return error;
}

}  // namespace RegexClass::platform
