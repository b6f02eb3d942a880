// SPDX-License-Identifier: BSL-1.0
#include "platform/NewFile.hpp"

#include <cerrno>
#include <cstdint>
#include <cstdio>
#include <fcntl.h>
#include <unistd.h>
#include <utility>

#include "platform/posix/Attributes.hpp"
#include "platform/posix/Extensions.hpp"
#include "platform/posix/OpenFile.hpp"

namespace RegexClass::platform {

NewFile::NewFile(std::unique_ptr<System> system) : system_(std::move(system)) {}
NewFile::~NewFile() = default;

File& NewFile::Content() { return system_->file; }

Error NewFile::Publish() {
  const bool isReplacement = system_->kind == System::Kind::kReplacement;
  const int copy = system_->file.ForPlatform().Number();
  Attributes attributes;
  Error error = attributes.Read(system_->original.descriptor);
  if (error == 0) error = isReplacement ? attributes.Set(copy) : attributes.SetAsPrivate(copy);
  if (error == 0) error = system_->CheckName();
  if (error == 0 && isReplacement) error = system_->original.CheckUnchanged();
  if (error == 0) error = system_->Rename();
  if (error != 0) return error;
  system_->file.ForPlatform().descriptor = Descriptor();  // the content is the file's now
  return 0;
}

NewFile::System::~System() {
  if (!temporaryName.empty()) unlinkat(directory->Number(), temporaryName.c_str(), 0);
}

Error NewFile::System::Create() {
  if (KeepsNames(directory->Number())) return EPERM;  // and the file would stay
  for (int attempt = 0; attempt < 100; ++attempt) {
    std::uint64_t chance = 0;
    if (getentropy(&chance, sizeof chance) == -1) return errno;
    std::string name = ".Regex" + std::to_string(chance);
    const Error error = file.ForPlatform().Own(Uninterrupted([&] {
      return openat(directory->Number(), name.c_str(),
                    O_RDWR | O_CREAT | O_EXCL | O_NOFOLLOW | O_CLOEXEC, S_IRUSR | S_IWUSR);
    }));
    if (error == 0) temporaryName = std::move(name);
    if (error != EEXIST) return error;
  }
  return EEXIST;
}

Error NewFile::System::CheckName() const {
  struct stat ours = {};
  struct stat present = {};
  if (fstat(original.descriptor, &ours) == -1) return errno;
  const bool exists =
      fstatat(directory->Number(), entry.c_str(), &present, AT_SYMLINK_NOFOLLOW) == 0;
  const bool same = exists && IdentityOf(ours) == IdentityOf(present);
  if (kind == Kind::kReplacement) {
    return same ? (ours.st_nlink == 1 ? 0 : EMLINK) : ESTALE;
  }
  if (same || (exists && kind == Kind::kCopyThatReplacesNothing)) return EEXIST;
  return exists && S_ISDIR(present.st_mode) ? EISDIR : 0;
}

Error NewFile::System::Rename() {
  const int in = directory->Number();
  const char* const from = temporaryName.c_str();
  const char* const to = entry.c_str();
  Error error = kind == Kind::kCopyThatReplacesNothing ? RenameToFreeName(in, from, to)
                                                       : Outcome(renameat(in, from, in, to));
  if (kind == Kind::kCopyThatReplacesNothing && (error == EINVAL || error == ENOSYS)) {
    error = Outcome(linkat(in, from, in, to, 0));             // not for this file system
    if (error == 0 && unlinkat(in, from, 0) == -1) return 0;  // tried again at the end
  }
  if (error == 0) temporaryName.clear();
  return error;
}

}  // namespace RegexClass::platform
