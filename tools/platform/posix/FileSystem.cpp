// SPDX-License-Identifier: BSL-1.0
#include "platform/FileSystem.hpp"

#include <algorithm>
#include <cerrno>
#include <climits>
#include <fcntl.h>
#include <fnmatch.h>
#include <sys/stat.h>
#include <sys/xattr.h>
#include <unistd.h>

namespace tool {

namespace {

FileStatus::Kind KindOf(mode_t mode) {
  if (S_ISREG(mode)) return FileStatus::kFile;
  if (S_ISDIR(mode)) return FileStatus::kDirectory;
  return S_ISLNK(mode) ? FileStatus::kLink : FileStatus::kOther;
}

FileStatus StatusAt(int directory, const std::string& name, int flags) {
  struct stat status = {};
  FileStatus told;
  if (fstatat(directory, name.c_str(), &status, flags) != 0) {
    told.error = errno;
    return told;
  }
  told.kind = KindOf(status.st_mode);
  told.readOnly = (status.st_mode & 0222) == 0;
  told.otherNames = status.st_nlink > 1;
  told.device = status.st_dev;
  told.number = status.st_ino;
  told.size = static_cast<std::uint64_t>(status.st_size);
  told.time = static_cast<std::uint64_t>(status.st_mtim.tv_sec) * 1000000000U +
              static_cast<std::uint64_t>(status.st_mtim.tv_nsec);
  return told;
}

/// Of a path that may be longer than the system takes.
FileStatus StatusOfPath(const std::string& path, int flags) {
  const FileStatus status = StatusAt(AT_FDCWD, path, flags);
  if (status.error != ENAMETOOLONG) return status;
  HeldDirectory directory;
  if (const int error = directory.Hold(path, 0)) {
    FileStatus none;
    none.error = error;
    return none;
  }
  return directory.StatusOf(OwnName(path));
}

/// The extended attribute of a copy that has the name of its file.
constexpr const char* kCopyOf = "user.regexclass.copy-of";

/// Opens a copy, which is a file of one name, so that nobody has put another's there; -1 for
/// anything else.
int OpenCopy(int directory, const std::string& name) {
  const int opened =
      openat(directory, name.c_str(), O_RDONLY | O_NOFOLLOW | O_NONBLOCK | O_NOCTTY | O_CLOEXEC);
  struct stat status = {};
  if (opened < 0 ||
      (fstat(opened, &status) == 0 && S_ISREG(status.st_mode) && status.st_nlink == 1)) {
    return opened;
  }
  close(opened);
  return -1;
}

}  // namespace

const std::string_view kSeparators = "/";
const char kEscape = '\\';
const bool kStarTakesDots = false;

std::size_t OwnNameAt(const std::string& path) { return path.rfind('/') + 1; }

std::size_t RootLength(const std::string& path) {
  return std::min(path.find_first_not_of('/'), path.size());
}

std::string WithSlashes(std::string path) { return path; }

std::string Escaped(const std::string& name) {
  std::string escaped;
  for (const char c : name) {
    if (std::string_view("\\;*?[]").find(c) != std::string_view::npos) escaped += kEscape;
    escaped += c;
  }
  return escaped;
}

bool NameMatches(const std::string& pattern, const std::string& name, bool hidesDots) {
  return fnmatch(pattern.c_str(), name.c_str(), hidesDots ? FNM_PERIOD : 0) == 0;
}

FileStatus StatusOf(const std::string& path) { return StatusOfPath(path, 0); }

FileStatus StatusOfLink(const std::string& path) { return StatusOfPath(path, AT_SYMLINK_NOFOLLOW); }

int WriteError(const std::string& path) {
  return access(path.c_str(), W_OK) == 0 || errno == ENAMETOOLONG ? 0 : errno;
}

std::string KeyOf(const std::string& path) {
  const std::string directory = DirectoryOf(path);
  struct stat status = {};
  if (stat(directory.empty() ? "." : directory.c_str(), &status) != 0) return path;
  return std::to_string(status.st_dev) + ':' + std::to_string(status.st_ino) + '/' + OwnName(path);
}

bool IsHidden(const std::string&) { return false; }

HeldDirectory::~HeldDirectory() {
  if (handle_ >= 0) close(static_cast<int>(handle_));
}

int HeldDirectory::Hold(const std::string& file, std::size_t named) {
  const std::string path = DirectoryOf(file);
  if (handle_ >= 0 && path == path_) return 0;
  constexpr int kFlags = O_PATH | O_DIRECTORY | O_CLOEXEC;
  std::size_t at = std::max(OwnNameAt(path.substr(0, named)), RootLength(path));
  int directory = open(at == 0 ? "." : path.substr(0, at).c_str(), kFlags);
  while (directory >= 0 && at < path.size()) {
    const std::size_t end = path.find('/', at);
    const int below = openat(directory, path.substr(at, end - at).c_str(), kFlags | O_NOFOLLOW);
    const int error = errno;
    close(directory);
    errno = error;
    directory = below;
    at = end + 1;
  }
  if (directory < 0) return errno;
  if (handle_ >= 0) close(static_cast<int>(handle_));
  handle_ = directory;
  path_ = path;
  return 0;
}

FileStatus HeldDirectory::StatusOf(const std::string& name) const {
  return StatusAt(static_cast<int>(handle_), name, AT_SYMLINK_NOFOLLOW);
}

int HeldDirectory::Remove(const std::string& name) const {
  return unlinkat(static_cast<int>(handle_), name.c_str(), 0) == 0 ? 0 : errno;
}

void HeldDirectory::MarkCopy(const std::string& copy, const std::string& file) const {
  const int opened = OpenCopy(static_cast<int>(handle_), copy);
  if (opened < 0) return;
  fsetxattr(opened, kCopyOf, file.data(), file.size(), 0);
  close(opened);
}

std::string HeldDirectory::CopyMark(const std::string& copy) const {
  const int opened = OpenCopy(static_cast<int>(handle_), copy);
  if (opened < 0) return "";
  char file[NAME_MAX] = "";
  const ssize_t size = fgetxattr(opened, kCopyOf, file, sizeof file);
  close(opened);
  return {file, size > 0 ? static_cast<std::size_t>(size) : 0};
}

}  // namespace tool
