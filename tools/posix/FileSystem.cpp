// SPDX-License-Identifier: BSL-1.0
#include "FileSystem.hpp"

#include <algorithm>
#include <cerrno>
#include <cstdlib>
#include <dirent.h>
#include <fcntl.h>
#include <fnmatch.h>
#include <memory>
#include <sys/stat.h>
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
  return told;
}

Entry EntryOf(int directory, const dirent& entry) {
  Entry told = {entry.d_name, FileStatus::kOther, entry.d_type == DT_LNK, false};
  if (entry.d_type == DT_UNKNOWN) {
    told.link = StatusAt(directory, told.name, AT_SYMLINK_NOFOLLOW).kind == FileStatus::kLink;
  }
  if (entry.d_type == DT_UNKNOWN || told.link) {
    told.kind = StatusAt(directory, told.name, 0).kind;
  } else {
    told.kind = KindOf(static_cast<mode_t>(DTTOIF(entry.d_type)));
  }
  return told;
}

}  // namespace

const std::string_view kSeparators = "/";
const char kEscape = '\\';
const bool kStarTakesDots = false;

std::size_t OwnNameAt(const std::string& path) { return path.rfind('/') + 1; }

std::size_t MarkLength(const std::string&) { return 0; }

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

FileStatus StatusOf(const std::string& path) { return StatusAt(AT_FDCWD, path, 0); }

FileStatus StatusOfLink(const std::string& path) {
  return StatusAt(AT_FDCWD, path, AT_SYMLINK_NOFOLLOW);
}

int WriteError(const std::string& path) { return access(path.c_str(), W_OK) == 0 ? 0 : errno; }

std::string KeyOf(const std::string& path) {
  const std::string directory = DirectoryOf(path);
  struct stat status = {};
  if (stat(directory.empty() ? "." : directory.c_str(), &status) != 0) return path;
  return std::to_string(status.st_dev) + ':' + std::to_string(status.st_ino) + '/' + OwnName(path);
}

std::string KeyIn(const std::string& directory, const std::string& name) {
  return directory + name;
}

std::string KeyOfTarget(const std::string& path) {
  const std::unique_ptr<char, decltype(&std::free)> real(realpath(path.c_str(), nullptr),
                                                         &std::free);
  return KeyOf(real != nullptr ? real.get() : path);
}

bool IsHidden(const std::string&) { return false; }

Listing List(const std::string& directory) {
  Listing listing;
  const std::unique_ptr<DIR, int (*)(DIR*)> opened(
      opendir(directory.empty() ? "." : directory.c_str()), &closedir);
  if (opened == nullptr) {
    listing.error = errno;
    return listing;
  }
  listing.opened = true;
  errno = 0;
  while (const dirent* const entry = readdir(opened.get())) {
    const std::string_view name = entry->d_name;
    if (name != "." && name != "..") {
      listing.entries.push_back(EntryOf(dirfd(opened.get()), *entry));
    }
    errno = 0;
  }
  listing.error = errno;
  std::sort(listing.entries.begin(), listing.entries.end(),
            [](const Entry& a, const Entry& b) { return a.name < b.name; });
  return listing;
}

Directory::~Directory() {
  if (handle_ >= 0) close(static_cast<int>(handle_));
}

int Directory::Hold(const std::string& file, std::size_t named) {
  const std::string path = DirectoryOf(file);
  if (handle_ >= 0 && path == path_) return 0;
  constexpr int kFlags = O_PATH | O_DIRECTORY | O_CLOEXEC;
  std::size_t at = OwnNameAt(path.substr(0, named));
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

FileStatus Directory::StatusOf(const std::string& name) const {
  return StatusAt(static_cast<int>(handle_), name, AT_SYMLINK_NOFOLLOW);
}

int Directory::Replace(const std::string& file, const std::string& by) const {
  const auto directory = static_cast<int>(handle_);
  return renameat(directory, by.c_str(), directory, file.c_str()) == 0 ? 0 : errno;
}

}  // namespace tool
