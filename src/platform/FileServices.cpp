#include "platform/FileServices.hpp"

#include <cerrno>
#include <cstdio>
#include <cstdlib>
#include <fcntl.h>
#include <filesystem>
#include <sys/file.h>
#include <sys/stat.h>
#include <sys/types.h>
#include <sys/xattr.h>
#include <unistd.h>

#include "platform/Uninterrupted.hpp"

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
  PosixFile() = default;
  PosixFile(const PosixFile&) = delete;
  PosixFile& operator=(const PosixFile&) = delete;
  ~PosixFile() override { Close(); }

  /// Takes over the descriptor that a call has just given, or gives the error of that call. The
  /// object comes before the call, so that nothing can go wrong between the two.
  Error Own(int descriptor) {
    descriptor_ = descriptor;
    return Outcome(descriptor);
  }

  Error Read(char* buffer, std::size_t size, std::size_t& count) override {
    return Transfer(size, count, [&](std::size_t offset, std::size_t rest) {
      return read(descriptor_, buffer + offset, rest);
    });
  }

  Error Write(const char* buffer, std::size_t size) override {
    std::size_t count = 0;
    const Error error = Transfer(size, count, [&](std::size_t offset, std::size_t rest) {
      return write(descriptor_, buffer + offset, rest);
    });
    return error == 0 && count < size ? EIO : error;
  }

  std::uint64_t Offset() override {
    const off_t offset = lseek(descriptor_, 0, SEEK_CUR);
    return offset == -1 ? 0 : static_cast<std::uint64_t>(offset);
  }

  Error Rewind() override { return lseek(descriptor_, 0, SEEK_SET) == -1 ? errno : 0; }

  Error Size(std::uint64_t& size) override {
    struct stat status = {};
    const Error error = Outcome(fstat(descriptor_, &status));
    size = static_cast<std::uint64_t>(status.st_size);
    return error;
  }

  Error Reserve(std::uint64_t size) override {
    std::uint64_t before = 0;
    Error error = Size(before);
    if (error != 0 || size == 0) return error;
    const auto length = static_cast<off_t>(size);
    error = Outcome(
        Uninterrupted([&] { return fallocate(descriptor_, FALLOC_FL_KEEP_SIZE, 0, length); }));
    if (error == EOPNOTSUPP || error == ENOSYS) return 0;  // this file system can't promise
    if (error != 0) Truncate(before);  // gives back what was reserved before the space ran out
    return error;
  }

  Error Truncate(std::uint64_t size) override {
    return Outcome(Uninterrupted([&] { return ftruncate(descriptor_, static_cast<off_t>(size)); }));
  }

  Error Close() override {
    if (descriptor_ == -1) return 0;
    const Error error = Outcome(close(descriptor_));
    descriptor_ = -1;
    return error == EINTR ? 0 : error;  // closed all the same, and nothing is known to be lost
  }

  int Descriptor() const { return descriptor_; }

 private:
  int descriptor_ = -1;
};

/// Opens `name`, which must be a regular file, and locks it. A name that stands for a device or a
/// pipe fails without waiting for its other end.
Error OpenLocked(const std::string& name, int flags, int lock, std::unique_ptr<PosixFile>& file) {
  auto opened = std::make_unique<PosixFile>();
  const Error error = opened->Own(Uninterrupted([&] {
    return open(name.c_str(), flags | O_CLOEXEC | O_NOCTTY | O_NONBLOCK, S_IRUSR | S_IWUSR);
  }));
  if (error != 0) return error;
  struct stat status = {};
  if (fstat(opened->Descriptor(), &status) == -1) return errno;
  if (S_ISDIR(status.st_mode)) return EISDIR;
  if (!S_ISREG(status.st_mode)) return EINVAL;
  // A file system without locks isn't a reason to refuse.
  if (flock(opened->Descriptor(), lock | LOCK_NB) == -1 && errno == EWOULDBLOCK) return errno;
  file = std::move(opened);
  return 0;
}

/// Gives the open file `copy` the owner of `original` if it is new and the process may do that,
/// and the permissions.
Error SetAsPrivateAs(const struct stat& original, int copy, bool created) {
  if (created && fchown(copy, original.st_uid, original.st_gid) == -1) {
    // The group alone is within an ordinary user's rights, if he belongs to it. Whether it worked
    // is looked at below.
    const int ignored = fchown(copy, static_cast<uid_t>(-1), original.st_gid);
    static_cast<void>(ignored);
  }
  struct stat status = {};
  if (fstat(copy, &status) == -1) return errno;
  mode_t mode = original.st_mode & kPermissions;
  if (status.st_gid != original.st_gid) mode &= ~kGroup | (mode & kOthers) << 3;
  return mode == (status.st_mode & kModeBits) ? 0 : Outcome(fchmod(copy, mode));
}

/// The directory that the given way of naming leads to.
std::string TemporaryDirectory(TemporaryNaming naming) {
  if (naming == TemporaryNaming::kSystemDirectory) return P_tmpdir;
  if (naming == TemporaryNaming::kUserDirectory) {
    const char* const directory = secure_getenv("TMPDIR");
    return directory != nullptr && *directory != '\0' ? directory : P_tmpdir;
  }
  std::error_code error;
  return std::filesystem::temp_directory_path(error).string();  // empty on failure
}

class PosixFileServices final : public FileServices {
 public:
  Error OpenForReading(const std::string& name, std::unique_ptr<File>& file) override {
    std::unique_ptr<PosixFile> opened;
    const Error error = OpenLocked(name, O_RDONLY, LOCK_SH, opened);
    file = std::move(opened);
    return error;
  }

  Error OpenForOverwriting(const std::string& name, std::unique_ptr<File>& file) override {
    std::unique_ptr<PosixFile> opened;
    const Error error = OpenLocked(name, O_WRONLY, LOCK_EX, opened);
    file = std::move(opened);
    return error;
  }

  Error OpenForCopyOf(const std::string& original, const std::string& name,
                      std::unique_ptr<File>& file, bool& created) override {
    created = false;
    struct stat from = {};
    struct stat to = {};
    if (stat(original.c_str(), &from) == -1) return errno;
    const bool exists = stat(name.c_str(), &to) == 0;
    if (exists && from.st_dev == to.st_dev && from.st_ino == to.st_ino) return EEXIST;

    std::unique_ptr<PosixFile> opened;
    Error error = OpenLocked(name, O_WRONLY | (exists ? 0 : O_CREAT | O_EXCL), LOCK_EX, opened);
    if (error != 0) return error;
    created = !exists;
    error = SetAsPrivateAs(from, opened->Descriptor(), created);
    file = std::move(opened);
    return error;
  }

  Error CreateTemporary(TemporaryNaming naming, TemporaryFile& temporary) override {
    const std::string directory = TemporaryDirectory(naming);
    if (directory.empty()) return ENOENT;
    std::string name =
        directory + (naming == TemporaryNaming::kSystemDirectory ? "/fileXXXXXX" : "/RegexXXXXXX");
    auto file = std::make_unique<PosixFile>();
    // A new file, for its owner alone. Without a name nobody else comes to it, and it ends with
    // its descriptor.
    if (const Error error = file->Own(mkostemp(name.data(), O_CLOEXEC))) return error;
    if (unlink(name.c_str()) == -1) return errno;
    temporary.file = std::move(file);
    temporary.name = std::move(name);
    return 0;
  }

  Error Remove(const std::string& name) override { return Outcome(unlink(name.c_str())); }

  bool IsReadOnly(const std::string& name) override {
    struct stat status = {};
    return stat(name.c_str(), &status) == -1 || (status.st_mode & kAnyWrite) == 0;
  }

  Error GetAttributes(const std::string& name, Attributes& attributes) override {
    attributes = Attributes();
    struct stat status = {};
    if (stat(name.c_str(), &status) == -1) return errno;
    attributes.mode = status.st_mode & kModeBits;
    attributes.capability = Capability(name);
    return 0;
  }

  Error SetAttributes(const std::string& name, const Attributes& attributes) override {
    Attributes now;
    Error error = GetAttributes(name, now);
    if (error == 0 && now.mode != attributes.mode) {
      error = Outcome(chmod(name.c_str(), attributes.mode));
    }
    if (error == 0 && now.capability != attributes.capability) {
      error = Outcome(setxattr(name.c_str(), kCapability, attributes.capability.data(),
                               attributes.capability.size(), 0));
    }
    return error;
  }

 private:
  static std::string Capability(const std::string& name) {
    char value[64];
    const ssize_t size = getxattr(name.c_str(), kCapability, value, sizeof value);
    return size > 0 ? std::string(value, static_cast<std::size_t>(size)) : std::string();
  }
};

}  // namespace

FileServices& FileServices::System() {
  static PosixFileServices services;
  return services;
}

}  // namespace RegexClass::platform
