// SPDX-License-Identifier: BSL-1.0
#include "Directory.hpp"

#include <algorithm>
#include <cerrno>
#include <fcntl.h>
#include <unistd.h>

namespace tool {

Directory::~Directory() {
  if (descriptor_ >= 0) close(descriptor_);
}

int Directory::Open(const ListedFile& file) {
  const std::size_t last = file.name.rfind('/') + 1;  // 0 without a slash
  const std::string name = file.name.substr(0, last);
  if (descriptor_ >= 0 && name == name_) return 0;
  constexpr int kFlags = O_PATH | O_DIRECTORY | O_CLOEXEC;
  std::size_t at = std::min(file.named, last);
  while (at > 0 && name[at - 1] != '/') --at;
  int directory = open(at == 0 ? "." : name.substr(0, at).c_str(), kFlags);
  while (directory >= 0 && at < last) {
    const std::size_t end = name.find('/', at);
    const int below = openat(directory, name.substr(at, end - at).c_str(), kFlags | O_NOFOLLOW);
    const int error = errno;
    close(directory);
    errno = error;
    directory = below;
    at = end + 1;
  }
  if (directory < 0) return errno;
  if (descriptor_ >= 0) close(descriptor_);
  descriptor_ = directory;
  name_ = name;
  return 0;
}

std::string Directory::PatternOf(const ListedFile& file) const {
  const std::string directory = "/proc/self/fd/" + std::to_string(descriptor_) + '/';
  const std::string name = NameIn(file.name);
  if (file.named == file.name.size()) return directory + Escaped(name);
  // By a wildcard the library comes to no link. A set of one letter is a wildcard.
  const auto isLetter = [](char c) { return (c >= 'a' && c <= 'z') || (c >= 'A' && c <= 'Z'); };
  const auto letter = std::find_if(name.begin(), name.end(), isLetter);
  if (letter == name.end()) return directory + (name[0] == '.' ? ".*" : "*");
  return directory + Escaped({name.begin(), letter}) + '[' + *letter + ']' +
         Escaped({letter + 1, name.end()});
}

std::string NameIn(const std::string& file) { return file.substr(file.rfind('/') + 1); }

}  // namespace tool
