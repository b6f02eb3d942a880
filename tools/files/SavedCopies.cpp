// SPDX-License-Identifier: BSL-1.0
#include "files/SavedCopies.hpp"

#include <algorithm>
#include <locale>
#include <map>
#include <set>

#include "platform/FileSystem.hpp"

namespace tool {

namespace {

/// The offset of the dot in front of the extension, or the size.
std::size_t LastDot(const std::string& file) {
  const std::size_t dot = file.rfind('.');
  return dot != std::string::npos && dot >= OwnNameAt(file) ? dot : file.size();
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

std::vector<std::string> FilesWithCopy(const std::string& copy, const std::string& extension) {
  const std::string stem = Escaped(copy.substr(0, copy.size() - extension.size() - 1));
  RE walker;
  walker.SetFilesToMatch((OwnName(stem).empty() ? "" : stem + ';') + stem + ".*");
  std::vector<std::string> files = walker.SelectFiles();
  const auto isOther = [&](const std::string& file) {
    return HasExtension(file, extension) || CopyName(file, extension) != copy;
  };
  files.erase(std::remove_if(files.begin(), files.end(), isOther), files.end());
  return files;
}

std::vector<std::string> CopyConflicts(const std::vector<ListedFile>& files,
                                       const std::vector<ListedFile>& listed,
                                       const std::string& extension) {
  std::vector<std::string> conflicts;
  std::set<std::string> names;
  for (const ListedFile& file : listed) {
    if (file.IsNamed()) names.insert(KeyOf(file.name));
  }
  std::map<std::string, std::string> owners;
  for (const ListedFile& file : files) {
    const std::string copy = CopyName(file.name, extension);
    const std::string key = KeyOf(copy);
    const auto [owner, isNew] = owners.emplace(key, file.name);
    if (!isNew) {
      conflicts.push_back(file.name + ": its copy would be " + copy + ", as that of " +
                          owner->second);
    } else if (names.count(key) != 0) {
      conflicts.push_back(file.name + ": its copy would be " + copy + ", which is named too");
    } else if (StatusOfLink(copy).kind != FileStatus::kNothing) {
      conflicts.push_back(file.name + ": its copy would be " + copy +
                          ", which is there already: take another extension, or move it away");
    }
  }
  return conflicts;
}

}  // namespace tool
