// SPDX-License-Identifier: BSL-1.0
#include "SavedCopies.hpp"

#include <algorithm>
#include <fstream>
#include <iterator>
#include <locale>
#include <map>
#include <set>

#include "FileSystem.hpp"

namespace tool {

namespace {

/// The offset of the dot in front of the extension, or the size.
std::size_t LastDot(const std::string& file) {
  const std::size_t dot = file.rfind('.');
  return dot != std::string::npos && dot >= OwnNameAt(file) ? dot : file.size();
}

bool HaveSameContent(const std::string& one, const std::string& other) {
  using Bytes = std::istreambuf_iterator<char>;
  std::ifstream first(one, std::ios::binary);
  std::ifstream second(other, std::ios::binary);
  return first && second && std::equal(Bytes(first), Bytes(), Bytes(second), Bytes());
}

}  // namespace

std::string CopyName(const std::string& file, const std::string& extension) {
  return file.substr(0, LastDot(file)) + '.' + extension;
}

std::string ExtensionFor(const std::string& file, const std::string& extension) {
  const std::size_t dot = file.rfind('.');
  const bool above = dot != std::string::npos && dot < OwnNameAt(file);
  return above ? file.substr(dot + 1) + '.' + extension : extension;
}

bool HasExtension(const std::string& file, const std::string& extension) {
  const std::size_t dot = LastDot(file);
  if (dot == file.size()) return false;
  const std::locale locale;
  return std::equal(file.begin() + static_cast<std::ptrdiff_t>(dot) + 1, file.end(),
                    extension.begin(), extension.end(), [&locale](char a, char b) {
                      return std::tolower(a, locale) == std::tolower(b, locale);
                    });
}

std::vector<std::string> CopyConflicts(const std::vector<ListedFile>& files,
                                       const std::vector<ListedFile>& listed,
                                       const std::string& extension) {
  std::vector<std::string> conflicts;
  std::set<std::string> names;
  for (const ListedFile& file : listed) {
    if (file.named == file.name.size()) names.insert(KeyOf(file.name));
  }
  std::map<std::string, std::string> owners;
  for (const ListedFile& file : files) {
    const std::string copy = CopyName(file.name, extension);
    const std::string key = KeyOf(copy);
    const auto [owner, isNew] = owners.emplace(key, file.name);
    const FileStatus::Kind present = StatusOfLink(copy).kind;
    if (!isNew) {
      conflicts.push_back(file.name + ": its copy would be " + copy + ", as that of " +
                          owner->second);
    } else if (names.count(key) != 0) {
      conflicts.push_back(file.name + ": its copy would be " + copy + ", which is named too");
    } else if (present != FileStatus::kNothing &&
               (present != FileStatus::kFile || !HaveSameContent(copy, file.name))) {
      conflicts.push_back(
          file.name + ": its copy would be " + copy +
          ", which is there already with other content: take another extension, or move it away");
    }
  }
  return conflicts;
}

}  // namespace tool
