// SPDX-License-Identifier: BSL-1.0
#include "platform/FileServices.hpp"

#include <algorithm>
#include <cerrno>
#include <csignal>
#include <cstdio>
#include <cstdlib>
#include <cstring>
#include <fcntl.h>
#include <filesystem>
#include <map>
#include <sys/file.h>
#include <sys/random.h>
#include <sys/resource.h>
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

/// Makes a call that fails with EFBIG where a file would become larger than the process is allowed,
/// and keeps from the process the signal that comes with that and would end it.
template <class Call>
auto WithinSizeLimit(Call call) {
  sigset_t signal;
  sigset_t before;
  sigset_t pending;
  sigemptyset(&signal);
  sigemptyset(&pending);
  sigaddset(&signal, SIGXFSZ);
  pthread_sigmask(SIG_BLOCK, &signal, &before);
  if (sigismember(&before, SIGXFSZ) == 1) sigpending(&pending);
  const auto result = call();
  const int error = errno;
  if (result == -1 && error == EFBIG && sigismember(&pending, SIGXFSZ) != 1) {
    const timespec none = {};
    Uninterrupted([&] { return sigtimedwait(&signal, nullptr, &none); });
  }
  pthread_sigmask(SIG_SETMASK, &before, nullptr);
  errno = error;
  return result;
}

bool IsZeros(const char* bytes, std::size_t size) {
  return size == 0 || (*bytes == 0 && std::memcmp(bytes, bytes + 1, size - 1) == 0);
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
    if (!leavesHoles_) return WriteAll(buffer, size);
    off_t offset = lseek(Descriptor(), 0, SEEK_CUR);
    bool skipped = false;
    for (std::size_t at = 0; at < size;) {
      std::size_t end = at;
      do {  // as many pieces, each of a block, as have zeros alone, or as have not
        const auto behind = static_cast<std::size_t>(offset) + (end - at);
        const std::size_t piece = std::min(size - end, kHole - behind % kHole);
        const bool zeros = IsZeros(buffer + end, piece);
        if (end != at && zeros != skipped) break;
        skipped = zeros;
        end += piece;
      } while (end < size);
      offset += static_cast<off_t>(end - at);
      if (skipped && lseek(Descriptor(), offset, SEEK_SET) == -1) return errno;
      if (!skipped) {
        if (const Error error = WriteAll(buffer + at, end - at)) return error;
      }
      at = end;
    }
    return skipped ? Truncate(static_cast<std::uint64_t>(offset)) : 0;
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
    const Error error = Outcome(Uninterrupted([&] {
      return WithinSizeLimit([&] {
        return fallocate(Descriptor(), FALLOC_FL_KEEP_SIZE, 0, static_cast<off_t>(size));
      });
    }));
    if (error == EOPNOTSUPP || error == ENOSYS) return 0;  // this file system can't promise
    if (error != 0) {  // gives back what was reserved before the space ran out
      Dig(holes);
      Truncate(static_cast<std::uint64_t>(before.st_size));
      const timespec times[] = {before.st_atim, before.st_mtim};
      futimens(Descriptor(), times);
    }
    return error;
  }

  Error Truncate(std::uint64_t size) override {
    return Outcome(Uninterrupted([&] {
      return WithinSizeLimit([&] { return ftruncate(Descriptor(), static_cast<off_t>(size)); });
    }));
  }

  Error Sync() override {
    const Error error = Outcome(Uninterrupted([&] { return fdatasync(Descriptor()); }));
    return error == EINVAL || error == ENOSYS ? 0 : error;  // nothing to bring it to
  }

  bool HasHoles() override {
    struct stat status = {};
    static constexpr off_t kUnit = 512;  // of the number of blocks, whatever the file system's
    return fstat(Descriptor(), &status) == 0 && status.st_blocks * kUnit < status.st_size;
  }
  void LeaveHoles() override { leavesHoles_ = true; }
  void DigHolesOf(File& model) override {
    struct stat status = {};
    const auto& other = static_cast<const PosixFile&>(model);
    if (fstat(other.Descriptor(), &status) == 0) Dig(other.Holes(status.st_size));
  }

  Error Close() override {
    const int descriptor = descriptor_.Release();
    const Error error = descriptor < 0 ? 0 : Outcome(close(descriptor));
    return error == EINTR ? 0 : error;  // closed all the same, and nothing is known to be lost
  }

  int Descriptor() const { return descriptor_.Number(); }

 private:
  using Stretches = std::vector<std::pair<off_t, off_t>>;

  Error WriteAll(const char* buffer, std::size_t size) {
    std::size_t count = 0;
    const Error error = Transfer(size, count, [&](std::size_t offset, std::size_t rest) {
      return WithinSizeLimit([&] { return write(Descriptor(), buffer + offset, rest); });
    });
    return error == 0 && count < size ? EIO : error;
  }

  /// The stretches of the first `size` bytes that take no space, where the file system tells.
  Stretches Holes(off_t size) const {
    Stretches holes;
#ifdef SEEK_HOLE
    const off_t offset = lseek(Descriptor(), 0, SEEK_CUR);
    for (off_t at = 0; at < size;) {
      const off_t begin = lseek(Descriptor(), at, SEEK_HOLE);
      if (begin == -1 || begin >= size) break;
      const off_t end = lseek(Descriptor(), begin, SEEK_DATA);
      at = end == -1 ? size : end;
      holes.emplace_back(begin, at);
    }
    lseek(Descriptor(), offset, SEEK_SET);
#else
    static_cast<void>(size);
#endif
    return holes;
  }
  void Dig(const Stretches& holes) const {
    for (const auto& [begin, end] : holes) {
      fallocate(Descriptor(), FALLOC_FL_PUNCH_HOLE | FALLOC_FL_KEEP_SIZE, begin, end - begin);
    }
  }

  static constexpr std::size_t kHole = 4096;  // file systems have no smaller ones

  platform::Descriptor descriptor_;
  bool leavesHoles_ = false;
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
    } else if (!sameGroup) {  // to whom the others may belong whom the original denies
      mode &= ~kOthers & (~kGroup | (mode & kOthers) << 3);
    }
  }
  return Outcome(fchmod(copy, mode));
}

/// An open file, and what it was like when it was opened.
struct Original {
  /// Fails with kErrorChanged when it isn't like that any more.
  Error CheckUnchanged() const {
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

  int descriptor = -1;
  struct stat opened = {};
};

/// Whether nothing in the directory can be renamed, as far as the system tells.
bool KeepsNames([[maybe_unused]] int directory) {
#ifdef STATX_ATTR_APPEND
  struct statx status = {};
  return statx(directory, "", AT_EMPTY_PATH, 0, &status) == 0 &&
         (status.stx_attributes & (STATX_ATTR_APPEND | STATX_ATTR_IMMUTABLE)) != 0;
#else
  return false;
#endif
}

class PosixNewFile final : public NewFile {
 public:
  enum class Kind { kReplacement, kCopy, kCopyThatReplacesNothing };

  PosixNewFile(Kind kind, const Original& original, std::shared_ptr<Descriptor> directory,
               std::string entry)
      : kind_(kind),
        original_(original),
        holder_(std::move(directory)),
        directory_(*holder_),
        entry_(std::move(entry)) {}
  ~PosixNewFile() override {
    if (!name_.empty()) unlinkat(directory_.Number(), name_.c_str(), 0);
  }

  Error Create() {
    if (KeepsNames(directory_.Number())) return EPERM;  // and the file would stay
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
    if (fstat(original_.descriptor, &original) == -1) return errno;
    const bool exists =
        fstatat(directory_.Number(), entry_.c_str(), &present, AT_SYMLINK_NOFOLLOW) == 0;
    const bool same = exists && IdentityOf(original) == IdentityOf(present);
    if (kind_ == Kind::kReplacement) {
      return same ? (original.st_nlink == 1 ? 0 : EMLINK) : ESTALE;
    }
    if (same || (exists && kind_ == Kind::kCopyThatReplacesNothing)) return EEXIST;
    return exists && S_ISDIR(present.st_mode) ? EISDIR : 0;
  }

  Error Publish() override {
    const int copy = file_.Descriptor();
    Error error = kind_ == Kind::kReplacement ? SetAs(original_.descriptor, copy)
                                              : SetAsPrivateAs(original_.descriptor, copy);
    if (error == 0) error = CheckName();
    if (error == 0 && kind_ == Kind::kReplacement) error = original_.CheckUnchanged();
    if (error == 0) error = Rename();
    if (error != 0) return error;
    name_.clear();
    file_.Close();  // has no more to say: the content is the file's
    return 0;
  }

 private:
  Error Rename() {
    const int directory = directory_.Number();
    const char* const from = name_.c_str();
    const char* const to = entry_.c_str();
    if (kind_ != Kind::kCopyThatReplacesNothing) {
      return Outcome(renameat(directory, from, directory, to));
    }
#ifdef RENAME_NOREPLACE
    const Error error = Outcome(renameat2(directory, from, directory, to, RENAME_NOREPLACE));
    if (error != EINVAL && error != ENOSYS) return error;  // else not for this file system
#endif
    if (linkat(directory, from, directory, to, 0) == -1) return errno;
    unlinkat(directory, from, 0);
    return 0;
  }

  const Kind kind_;
  const Original& original_;  // of the target, which outlasts this object
  const std::shared_ptr<Descriptor> holder_;
  const Descriptor& directory_;
  const std::string entry_;
  std::string name_;  // of chance, while the file has it
  PosixFile file_;
};

class PosixTarget final : public Target {
 public:
  Error Open(const FoundFile& file) {
    found_ = file;
    if (const Error error = OpenDirectoryOf(file, *directory_, entry_)) return error;
    const auto open = [&](int access) {
      return file_.Own(Uninterrupted([&] {
        return openat(directory_->Number(), entry_.c_str(),
                      access | O_NOFOLLOW | O_CLOEXEC | O_NOCTTY | O_NONBLOCK);
      }));
    };
    unwritable_ = open(O_RDWR);
    if (unwritable_ != 0) {
      if (const Error error = open(O_RDONLY)) return error;
    }
    original_.descriptor = file_.Descriptor();
    struct stat& status = original_.opened;
    if (fstat(original_.descriptor, &status) == -1) return errno;
    if (S_ISDIR(status.st_mode)) return EISDIR;
    if (!S_ISREG(status.st_mode)) return EINVAL;
    if (IdentityOf(status) != file.identity) return ESTALE;
    // A file system without locks isn't a reason to refuse.
    if (flock(original_.descriptor, LOCK_EX | LOCK_NB) == -1 && errno == EWOULDBLOCK) return errno;
    if (fstat(original_.descriptor, &status) == -1) return errno;
    capability_ = Capability();
    return 0;
  }

  File& Content() override { return file_; }
  Error Unwritable() override { return unwritable_; }
  Error CheckUnchanged() override { return original_.CheckUnchanged(); }
  bool HasOtherNames() override { return original_.opened.st_nlink > 1; }

  Error OpenSource(const FoundFile& source, std::unique_ptr<File>& content) override {
    Descriptor directory;
    if (const Error error = Duplicate(*source.directory, directory)) return error;
    auto file = std::make_unique<PosixFile>();
    const Error error = file->Own(Uninterrupted([&] {
      return openat(directory.Number(), source.Entry().c_str(),
                    O_RDONLY | O_NOFOLLOW | O_CLOEXEC | O_NOCTTY | O_NONBLOCK);
    }));
    if (error != 0) return error;
    struct stat status = {};
    if (fstat(file->Descriptor(), &status) == -1) return errno;
    if (S_ISDIR(status.st_mode)) return EISDIR;
    if (!S_ISREG(status.st_mode)) return EINVAL;
    if (IdentityOf(status) == IdentityOf(original_.opened)) return EEXIST;
    if (status.st_uid != original_.opened.st_uid && status.st_uid != geteuid()) return EPERM;
    content = std::move(file);
    return 0;
  }

  Error CreateReplacement(std::unique_ptr<NewFile>& file) override {
    return Create(PosixNewFile::Kind::kReplacement, directory_, entry_, file);
  }

  Error CreateCopy(const std::string& name, Present present,
                   std::unique_ptr<NewFile>& file) override {
    auto directory = std::make_shared<Descriptor>();
    const std::size_t last = name.rfind('/') + 1;  // 0 without a slash
    const DirectoryPointer above = found_.directory->Above(last);
    if (above == nullptr) return EINVAL;
    if (const Error error = Duplicate(*above, *directory)) return error;
    const auto kind = present == Present::kKept ? PosixNewFile::Kind::kCopyThatReplacesNothing
                                                : PosixNewFile::Kind::kCopy;
    return Create(kind, directory, name.substr(last), file);
  }

  Error RestoreAttributes() override {
    struct stat status = {};
    const int descriptor = file_.Descriptor();
    if (fstat(descriptor, &status) == -1) return errno;
    const mode_t mode = original_.opened.st_mode & kModeBits;
    if ((status.st_mode & kModeBits) != mode && fchmod(descriptor, mode) == -1) return errno;
    if (Capability() == capability_) return 0;
    return Outcome(fsetxattr(descriptor, kCapability, capability_.data(), capability_.size(), 0));
  }

 private:
  Error Create(PosixNewFile::Kind kind, std::shared_ptr<Descriptor> directory,
               const std::string& entry, std::unique_ptr<NewFile>& file) {
    auto created = std::make_unique<PosixNewFile>(kind, original_, std::move(directory), entry);
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
  const std::shared_ptr<Descriptor> directory_ = std::make_shared<Descriptor>();
  std::string entry_;
  PosixFile file_;
  Original original_;
  Error unwritable_ = 0;
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
  Error Look(const FoundFile& file, FileToRewrite& told) override {
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

  Error Open(const FoundFile& file, std::unique_ptr<Target>& target) override {
    auto opened = std::make_unique<PosixTarget>();
    const Error error = opened->Open(file);
    if (error == 0) target = std::move(opened);
    return error;
  }

  Error CreateTemporary(TemporaryNaming naming, TemporaryFile& temporary) override {
    const std::string directory = TemporaryDirectory(naming);
    if (directory.empty()) return ENOENT;
    std::string name = directory + "/Regex";
    auto file = std::make_unique<PosixFile>();
    // A new file, for its owner alone. Without a name nobody else comes to it, and it ends with
    // its descriptor. Not every file system can make one that never had a name.
    Error unnamed = ENOSYS;
#ifdef O_TMPFILE
    unnamed = file->Own(Uninterrupted([&] {
      return openat(AT_FDCWD, directory.c_str(), O_TMPFILE | O_RDWR | O_EXCL | O_CLOEXEC,
                    S_IRUSR | S_IWUSR);
    }));
#endif
    if (unnamed != 0) {
      name += "XXXXXX";
      if (const Error error = file->Own(mkostemp(name.data(), O_CLOEXEC))) return error;
      if (unlink(name.c_str()) == -1) return errno;
    }
    temporary.file = std::move(file);
    temporary.name = std::move(name);
    return 0;
  }

  std::vector<Error> SyncTogether(const std::vector<File*>& files) override {
    std::map<dev_t, Error> devices;
    std::vector<Error> errors;
    for (File* const file : files) {
      const int descriptor = static_cast<const PosixFile*>(file)->Descriptor();
      struct stat status = {};
      Error error = Outcome(fstat(descriptor, &status));
      if (error == 0) {
        const auto [device, isNew] = devices.emplace(status.st_dev, 0);
        if (isNew) device->second = Outcome(syncfs(descriptor));
        error = device->second;
      }
      // What the whole device has failed at may have been someone else's.
      errors.push_back(error == 0 ? 0 : file->Sync());
    }
    return errors;
  }

  std::size_t MostTogether() override {
    // Each takes up to five descriptors, and there are others who need some.
    static constexpr rlim_t kMost = 64;
    static constexpr rlim_t kShare = 16;
    rlimit limit = {};
    if (getrlimit(RLIMIT_NOFILE, &limit) != 0) return 1;
    return static_cast<std::size_t>(std::clamp<rlim_t>(limit.rlim_cur / kShare, 1, kMost));
  }
};

}  // namespace

FileServices& FileServices::System() {
  static PosixFileServices services;
  return services;
}

}  // namespace RegexClass::platform
