// SPDX-License-Identifier: BSL-1.0
#include "platform/FileServices.hpp"

#include <algorithm>
#include <cerrno>
#include <cstdio>
#include <cstdlib>
#include <cstring>
#include <fcntl.h>
#include <filesystem>
#include <map>
#include <sys/file.h>
#include <sys/random.h>
#include <sys/stat.h>
#include <sys/types.h>
#include <sys/xattr.h>
#include <unistd.h>
#include <utility>
#include <vector>

#include "platform/posix/Descriptor.hpp"
#include "platform/posix/OpenDirectory.hpp"
#include "platform/posix/Uninterrupted.hpp"

namespace RegexClass::platform {
namespace {

constexpr mode_t kPermissions = 0777;
constexpr mode_t kModeBits = 07777;
constexpr mode_t kAnyWrite = 0222;
constexpr mode_t kGroup = 0070;
constexpr mode_t kOthers = 0007;
constexpr const char* kCapability = "security.capability";

/// The error of a call that gives -1 when it fails.
Error Outcome(int result) { return result == -1 ? errno : 0; }

/// Repeats `step`, which transfers up to the given number of bytes at the given offset of the
/// buffer, until `size` bytes are done, none come any more or it fails.
template <class Step>
Error Transfer(std::size_t size, std::size_t& done, Step step) {
  for (done = 0; done < size;) {
    const ssize_t count = Uninterrupted([&] { return step(done, size - done); });
    if (count == -1) return errno;
    if (count == 0) break;
    done += static_cast<std::size_t>(count);
  }
  return 0;
}

class PosixFile final : public File {
 public:
  /// Takes over the descriptor that a call has just given, or gives the error of that call. The
  /// object comes before the call, so that nothing can go wrong between the two.
  Error Own(int descriptor) {
    const Error error = Outcome(descriptor);
    descriptor_ = platform::Descriptor(descriptor);
    return error;
  }

  Error Read(char* buffer, std::size_t size, std::size_t& count) override {
    return Transfer(size, count, [&](std::size_t offset, std::size_t rest) {
      return read(Descriptor(), buffer + offset, rest);
    });
  }

  Error Write(const char* buffer, std::size_t size) override {
    std::size_t count = 0;
    const Error error = Transfer(size, count, [&](std::size_t offset, std::size_t rest) {
      return write(Descriptor(), buffer + offset, rest);
    });
    return error == 0 && count < size ? EIO : error;
  }

  std::uint64_t Offset() override {
    const off_t offset = lseek(Descriptor(), 0, SEEK_CUR);
    return offset == -1 ? 0 : static_cast<std::uint64_t>(offset);
  }

  Error Rewind() override { return lseek(Descriptor(), 0, SEEK_SET) == -1 ? errno : 0; }

  Error Size(std::uint64_t& size) override {
    struct stat status = {};
    const Error error = Outcome(fstat(Descriptor(), &status));
    size = static_cast<std::uint64_t>(status.st_size);
    return error;
  }

  Error Reserve(std::uint64_t size) override {
    struct stat before = {};
    if (size == 0) return 0;
    if (fstat(Descriptor(), &before) == -1) return errno;
    const auto holes = Holes(before.st_size);
    const Error error = Outcome(Uninterrupted(
        [&] { return fallocate(Descriptor(), FALLOC_FL_KEEP_SIZE, 0, static_cast<off_t>(size)); }));
    if (error == EOPNOTSUPP || error == ENOSYS) return 0;  // this file system can't promise
    if (error != 0) {  // gives back what was reserved before the space ran out
      for (const auto& [begin, end] : holes) {
        fallocate(Descriptor(), FALLOC_FL_PUNCH_HOLE | FALLOC_FL_KEEP_SIZE, begin, end - begin);
      }
      Truncate(static_cast<std::uint64_t>(before.st_size));
      const timespec times[] = {before.st_atim, before.st_mtim};
      futimens(Descriptor(), times);
    }
    return error;
  }

  Error Truncate(std::uint64_t size) override {
    return Outcome(
        Uninterrupted([&] { return ftruncate(Descriptor(), static_cast<off_t>(size)); }));
  }

  Error Close() override {
    const int descriptor = descriptor_.Release();
    const Error error = descriptor < 0 ? 0 : Outcome(close(descriptor));
    return error == EINTR ? 0 : error;  // closed all the same, and nothing is known to be lost
  }

  int Descriptor() const { return descriptor_.Number(); }

 private:
  /// The stretches of the first `size` bytes that take no space, where the file system tells.
  std::vector<std::pair<off_t, off_t>> Holes(off_t size) const {
    std::vector<std::pair<off_t, off_t>> holes;
    const off_t offset = lseek(Descriptor(), 0, SEEK_CUR);
    for (off_t at = 0; at < size;) {
      const off_t begin = lseek(Descriptor(), at, SEEK_HOLE);
      if (begin == -1 || begin >= size) break;
      const off_t end = lseek(Descriptor(), begin, SEEK_DATA);
      at = end == -1 ? size : end;
      holes.emplace_back(begin, at);
    }
    lseek(Descriptor(), offset, SEEK_SET);
    return holes;
  }

  platform::Descriptor descriptor_;
};

FileIdentity IdentityOf(const struct stat& status) { return {status.st_dev, status.st_ino}; }

/// A descriptor of the caller's for a directory.
Error Duplicate(Directory& directory, Descriptor& descriptor) {
  int number = -1;
  if (const Error error = directory.ForPlatform().Open(number)) return error;
  descriptor = Descriptor(fcntl(number, F_DUPFD_CLOEXEC, 0));
  return descriptor.Number() >= 0 ? 0 : errno;
}

/// Opens the directory that holds a file which was found, and gives its name in there. A link that
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

using Value = std::vector<char>;

/// The extended attributes of an open file by their names, the access list among them. A file
/// system without any has none.
Error ReadAttributes(int descriptor, std::map<std::string, Value>& attributes) {
  Value names(65536);  // the most that the system gives
  const ssize_t size = flistxattr(descriptor, names.data(), names.size());
  if (size == -1) return errno == EOPNOTSUPP || errno == ENOSYS ? 0 : errno;
  for (const char* name = names.data(); name < names.data() + size; name += strlen(name) + 1) {
    Value value(65536);
    const ssize_t length = fgetxattr(descriptor, name, value.data(), value.size());
    if (length == -1) return errno;
    value.resize(static_cast<std::size_t>(length));
    attributes[name] = std::move(value);
  }
  return 0;
}

/// Makes the extended attributes of an open file `wanted`, those of which the names are in `which`.
template <class Which>
Error WriteAttributes(int descriptor, const std::map<std::string, Value>& wanted, Which which) {
  std::map<std::string, Value> present;
  if (const Error error = ReadAttributes(descriptor, present)) return error;
  for (const auto& [name, value] : present) {
    if (!which(name) || wanted.count(name) != 0) continue;
    if (fremovexattr(descriptor, name.c_str()) == -1) return errno;
  }
  for (const auto& [name, value] : wanted) {
    const auto found = present.find(name);
    if (!which(name) || (found != present.end() && found->second == value)) continue;
    if (fsetxattr(descriptor, name.c_str(), value.data(), value.size(), 0) == -1) return errno;
  }
  return 0;
}

constexpr const char* kAccessList = "system.posix_acl_access";

/// Gives `copy` the owner, mode and extended attributes of `original`, all of them or none.
Error SetAs(int original, int copy) {
  struct stat from = {};
  struct stat to = {};
  std::map<std::string, Value> attributes;
  if (fstat(original, &from) == -1 || fstat(copy, &to) == -1) return errno;
  if (const Error error = ReadAttributes(original, attributes)) return error;
  if ((from.st_uid != to.st_uid || from.st_gid != to.st_gid) &&
      fchown(copy, from.st_uid, from.st_gid) == -1) {
    return errno;
  }
  // The access list comes before the mode, which counts as a part of it.
  const auto all = [](const std::string&) { return true; };
  if (const Error error = WriteAttributes(copy, attributes, all)) return error;
  if (fchmod(copy, from.st_mode & kModeBits) == -1) return errno;
  if (fstat(copy, &to) == -1) return errno;
  return (from.st_mode & kModeBits) == (to.st_mode & kModeBits) ? 0 : EPERM;
}

/// Gives `copy` the owner of `original` as far as the process may do that, and permissions and
/// access list that let nobody read it who may not read the original.
Error SetAsPrivateAs(int original, int copy) {
  struct stat from = {};
  struct stat to = {};
  std::map<std::string, Value> attributes;
  if (fstat(original, &from) == -1) return errno;
  if (const Error error = ReadAttributes(original, attributes)) return error;
  if (fchown(copy, from.st_uid, from.st_gid) == -1) {
    // The group alone is within an ordinary user's rights, if he belongs to it. Whether it worked
    // is looked at below.
    const int ignored = fchown(copy, static_cast<uid_t>(-1), from.st_gid);
    static_cast<void>(ignored);
  }
  if (fstat(copy, &to) == -1) return errno;
  const bool sameGroup = from.st_gid == to.st_gid;
  const bool hasList = attributes.count(kAccessList) != 0;
  const auto isList = [](const std::string& name) { return name == kAccessList; };
  mode_t mode = from.st_mode & kPermissions;
  if (!hasList || !sameGroup || WriteAttributes(copy, attributes, isList) != 0) {
    if (const Error error = WriteAttributes(copy, {}, isList)) return error;  // the directory's
    // With a list, the bits of the mode don't tell what a group may do.
    if (hasList) {
      mode &= ~(kGroup | kOthers);
    } else if (!sameGroup) {
      mode &= ~kGroup | (mode & kOthers) << 3;
    }
  }
  return Outcome(fchmod(copy, mode));
}

class PosixNewFile final : public NewFile {
 public:
  enum class Kind { kReplacement, kCopy };

  PosixNewFile(Kind kind, int original, Descriptor directory, std::string entry)
      : kind_(kind),
        original_(original),
        directory_(std::move(directory)),
        entry_(std::move(entry)) {}
  ~PosixNewFile() override {
    if (!name_.empty()) unlinkat(directory_.Number(), name_.c_str(), 0);
  }

  Error Create() {
    for (int attempt = 0; attempt < 100; ++attempt) {
      std::uint64_t chance = 0;
      if (getrandom(&chance, sizeof chance, 0) != static_cast<ssize_t>(sizeof chance)) return errno;
      std::string name = ".Regex" + std::to_string(chance);
      const Error error = file_.Own(Uninterrupted([&] {
        return openat(directory_.Number(), name.c_str(),
                      O_RDWR | O_CREAT | O_EXCL | O_NOFOLLOW | O_CLOEXEC, S_IRUSR | S_IWUSR);
      }));
      if (error == 0) name_ = std::move(name);
      if (error != EEXIST) return error;
    }
    return EEXIST;
  }

  File& Content() override { return file_; }

  /// Whether the name is free for this file.
  Error CheckName() const {
    struct stat original = {};
    struct stat present = {};
    if (fstat(original_, &original) == -1) return errno;
    const bool exists =
        fstatat(directory_.Number(), entry_.c_str(), &present, AT_SYMLINK_NOFOLLOW) == 0;
    const bool same = exists && IdentityOf(original) == IdentityOf(present);
    if (kind_ == Kind::kReplacement) {
      return same ? (original.st_nlink == 1 ? 0 : EMLINK) : ESTALE;
    }
    if (same) return EEXIST;
    return exists && S_ISDIR(present.st_mode) ? EISDIR : 0;
  }

  Error Publish() override {
    const int copy = file_.Descriptor();
    Error error =
        kind_ == Kind::kReplacement ? SetAs(original_, copy) : SetAsPrivateAs(original_, copy);
    if (error == 0) error = CheckName();
    if (error == 0) {
      error = Outcome(
          renameat(directory_.Number(), name_.c_str(), directory_.Number(), entry_.c_str()));
    }
    if (error != 0) return error;
    name_.clear();
    file_.Close();  // has no more to say: the content is the file's
    return 0;
  }

 private:
  const Kind kind_;
  const int original_;  // of the target, which outlasts this object
  const Descriptor directory_;
  const std::string entry_;
  std::string name_;  // of chance, while the file has it
  PosixFile file_;
};

class PosixTarget final : public Target {
 public:
  Error Open(const FoundFile& file) {
    found_ = file;
    if (const Error error = OpenDirectoryOf(file, directory_, entry_)) return error;
    const auto open = [&](int access) {
      return file_.Own(Uninterrupted([&] {
        return openat(directory_.Number(), entry_.c_str(),
                      access | O_NOFOLLOW | O_CLOEXEC | O_NOCTTY | O_NONBLOCK);
      }));
    };
    unwritable_ = open(O_RDWR);
    if (unwritable_ != 0) {
      if (const Error error = open(O_RDONLY)) return error;
    }
    const int descriptor = file_.Descriptor();
    struct stat status = {};
    if (fstat(descriptor, &status) == -1) return errno;
    if (S_ISDIR(status.st_mode)) return EISDIR;
    if (!S_ISREG(status.st_mode)) return EINVAL;
    if (IdentityOf(status) != file.identity) return ESTALE;
    mode_ = status.st_mode & kModeBits;
    capability_ = Capability();
    // A file system without locks isn't a reason to refuse.
    if (flock(descriptor, LOCK_EX | LOCK_NB) == -1 && errno == EWOULDBLOCK) return errno;
    return 0;
  }

  File& Content() override { return file_; }
  Error Unwritable() override { return unwritable_; }

  Error CreateReplacement(std::unique_ptr<NewFile>& file) override {
    Descriptor directory(fcntl(directory_.Number(), F_DUPFD_CLOEXEC, 0));
    return directory.Number() < 0
               ? errno
               : Create(PosixNewFile::Kind::kReplacement, std::move(directory), entry_, file);
  }

  Error CreateCopy(const std::string& name, std::unique_ptr<NewFile>& file) override {
    Descriptor directory;
    const std::size_t last = name.rfind('/') + 1;  // 0 without a slash
    const DirectoryPointer above = found_.directory->Above(last);
    if (above == nullptr) return EINVAL;
    if (const Error error = Duplicate(*above, directory)) return error;
    return Create(PosixNewFile::Kind::kCopy, std::move(directory), name.substr(last), file);
  }

  Error RestoreAttributes() override {
    struct stat status = {};
    const int descriptor = file_.Descriptor();
    if (fstat(descriptor, &status) == -1) return errno;
    if ((status.st_mode & kModeBits) != mode_ && fchmod(descriptor, mode_) == -1) return errno;
    if (Capability() == capability_) return 0;
    return Outcome(fsetxattr(descriptor, kCapability, capability_.data(), capability_.size(), 0));
  }

 private:
  Error Create(PosixNewFile::Kind kind, Descriptor directory, const std::string& entry,
               std::unique_ptr<NewFile>& file) {
    auto created =
        std::make_unique<PosixNewFile>(kind, file_.Descriptor(), std::move(directory), entry);
    Error error = created->CheckName();
    if (error == 0) error = created->Create();
    if (error == 0) file = std::move(created);
    return error;
  }

  std::string Capability() const {
    char value[64];
    const ssize_t size = fgetxattr(file_.Descriptor(), kCapability, value, sizeof value);
    return size > 0 ? std::string(value, static_cast<std::size_t>(size)) : std::string();
  }

  FoundFile found_;
  Descriptor directory_;
  std::string entry_;
  PosixFile file_;
  Error unwritable_ = 0;
  mode_t mode_ = 0;
  std::string capability_;  // the file capabilities in the system's own form; empty for none
};

/// The directory that the given way of naming leads to: TMPDIR in a trusted environment, the
/// system's own, or wherever applications are told to put temporary files.
std::string TemporaryDirectory(TemporaryNaming naming) {
  if (naming == TemporaryNaming::kSecond) return P_tmpdir;
  if (naming == TemporaryNaming::kFirst) {
    const char* const directory = secure_getenv("TMPDIR");
    return directory != nullptr && *directory != '\0' ? directory : P_tmpdir;
  }
  std::error_code error;
  return std::filesystem::temp_directory_path(error).string();  // empty on failure
}

class PosixFileServices final : public FileServices {
 public:
  bool MayRewrite(const FoundFile& file) override {
    Descriptor directory;
    std::string entry;
    struct stat status = {};
    return OpenDirectoryOf(file, directory, entry) == 0 &&
           fstatat(directory.Number(), entry.c_str(), &status, AT_SYMLINK_NOFOLLOW) == 0 &&
           S_ISREG(status.st_mode) && (status.st_mode & kAnyWrite) != 0;
  }

  Error Open(const FoundFile& file, std::unique_ptr<Target>& target) override {
    auto opened = std::make_unique<PosixTarget>();
    const Error error = opened->Open(file);
    if (error == 0) target = std::move(opened);
    return error;
  }

  Error CreateTemporary(TemporaryNaming naming, TemporaryFile& temporary) override {
    const std::string directory = TemporaryDirectory(naming);
    if (directory.empty()) return ENOENT;
    std::string name =
        directory + (naming == TemporaryNaming::kSecond ? "/fileXXXXXX" : "/RegexXXXXXX");
    auto file = std::make_unique<PosixFile>();
    // A new file, for its owner alone. Without a name nobody else comes to it, and it ends with
    // its descriptor.
    if (const Error error = file->Own(mkostemp(name.data(), O_CLOEXEC))) return error;
    if (unlink(name.c_str()) == -1) return errno;
    temporary.file = std::move(file);
    temporary.name = std::move(name);
    return 0;
  }
};

}  // namespace

FileServices& FileServices::System() {
  static PosixFileServices services;
  return services;
}

}  // namespace RegexClass::platform
