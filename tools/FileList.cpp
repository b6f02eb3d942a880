// SPDX-License-Identifier: BSL-1.0
#include "FileList.hpp"

#include <algorithm>
#include <cerrno>
#include <fstream>
#include <iostream>
#include <string_view>
#include <unordered_set>
#include <utility>

#include "FileSystem.hpp"
#include "IgnoredFiles.hpp"

namespace tool {

namespace {

/// The offset of the first of `wanted` from `begin` that isn't escaped, or the size.
std::size_t FindUnescaped(std::string_view text, std::string_view wanted, std::size_t begin = 0) {
  std::size_t at = begin;
  while (at < text.size() && wanted.find(text[at]) == std::string_view::npos) {
    at += text[at] == kEscape ? 2 : 1;
  }
  return std::min(at, text.size());
}

std::string WithoutEscapes(std::string_view text) {
  std::string plain;
  for (std::size_t at = 0; at < text.size(); ++at) {
    if (text[at] == kEscape && at + 1 < text.size()) ++at;
    plain += text[at];
  }
  return plain;
}

/// The offset of the first character with a meaning of its own, or the size.
std::size_t FindSpecial(const std::string& pattern) {
  const std::size_t at = MarkLength(pattern);
  return std::min({pattern.find_first_of(";*?[]", at), pattern.find(kEscape), pattern.size()});
}

/// How much of a pattern stands in front of the first component with such a character.
std::size_t PlainPart(const std::string& pattern) {
  const std::size_t special = FindSpecial(pattern);
  return special == pattern.size() ? special : OwnNameAt(pattern.substr(0, special));
}

class Lister {
 public:
  Lister(const FileChoice& choice, Problems& problems, Progress& progress)
      : choice_(choice), problems_(problems), progress_(progress) {}

  std::vector<ListedFile> Run() {
    for (const std::string& argument : choice_.arguments) Argument(argument);
    if (choice_.listFile) ListFile(*choice_.listFile);
    Patterns(choice_.patterns);
    const bool nothingNamed =
        choice_.arguments.empty() && !choice_.listFile && choice_.patterns.empty();
    if (nothingNamed && choice_.recursive) {
      Tree("", "*", 0);
    } else if (nothingNamed) {
      throw Failure("no files are named");
    }
    progress_.Clear();
    return std::move(files_);
  }

 private:
  void Argument(const std::string& argument) {
    const int error = Name(argument);
    if (error == 0) return;
    if (FindSpecial(argument) == argument.size()) {
      problems_.Tell(argument, SystemWords(error));
    } else {
      Patterns(argument);
    }
  }

  /// Takes what has the name; gives the number of an error when nothing has.
  int Name(const std::string& name) {
    const FileStatus status = StatusOf(name);
    if (status.kind == FileStatus::kDirectory) {
      const bool ended = OwnNameAt(name) == name.size();
      const std::string directory = ended ? name : name + kSeparators.front();
      Tree(directory, "*", directory.size());
    } else if (status.kind == FileStatus::kFile) {
      // By a wildcard the library comes to a name in the case that the directory has it in.
      const bool plain = FindSpecial(name) == name.size();
      const std::vector<std::string> found = plain ? std::vector{name} : Glob(Escaped(name));
      if (!found.empty()) Add(KeyOfTarget(name), {found[0], name.size(), false});
    }
    return status.error;
  }

  void ListFile(const std::string& list) {
    std::ifstream file;
    errno = 0;
    if (list != "-") file.open(list, std::ios::binary);
    if (list != "-" && !file) throw Failure(list + ": " + SystemWords(errno));
    std::istream& in = list == "-" ? std::cin : file;
    for (std::string name; std::getline(in, name, choice_.nullNames ? '\0' : '\n');) {
      if (name.empty()) continue;
      if (const int error = Name(name)) problems_.Tell(name, SystemWords(error));
    }
    if (in.bad()) throw Failure(list + ": " + SystemWords(errno != 0 ? errno : EIO));
  }

  void Patterns(const std::string& patterns) {
    for (std::size_t begin = 0; begin < patterns.size();) {
      const std::size_t end = FindUnescaped(patterns, ";", begin);
      if (end > begin) Pattern(patterns.substr(begin, end - begin));
      begin = end + 1;
    }
  }

  void Pattern(const std::string& pattern) {
    const std::size_t plain = PlainPart(pattern);
    if (!choice_.recursive) {
      for (const std::string& name : Glob(pattern)) {
        if (StatusOf(name).kind != FileStatus::kFile) continue;
        Add(KeyOfTarget(name), {name, std::min(plain, name.size()), false});
      }
      return;
    }
    const std::size_t last = OwnNameAt(pattern);
    if (last == 0) {
      Tree("", pattern, 0);
    } else {
      for (const std::string& directory : Glob(pattern.substr(0, last))) {
        Tree(directory, pattern.substr(last), std::min(plain, directory.size()));
      }
    }
  }

  /// The names of a pattern in byte order.
  std::vector<std::string> Glob(const std::string& pattern) {
    std::vector<std::string> names;
    const std::size_t mark = MarkLength(pattern);
    Glob(pattern.substr(0, mark), std::string_view(pattern).substr(mark), names);
    std::sort(names.begin(), names.end());
    return names;
  }

  /// Adds those that begin with a path, which has no pattern in it, and go on by the rest.
  void Glob(std::string path, std::string_view rest, std::vector<std::string>& names) {
    while (!rest.empty()) {
      const std::size_t end = std::min(rest.find_first_of(kSeparators), rest.size());
      const std::size_t next = std::min(rest.find_first_not_of(kSeparators, end), rest.size());
      const std::string component(rest.substr(0, end));
      const std::string separators(rest.substr(end, next - end));
      rest.remove_prefix(next);
      if (FindUnescaped(component, "*?[") < component.size()) {
        for (const Entry& entry : Entries(path, ENOTDIR)) {
          const bool leads = separators.empty() || entry.kind == FileStatus::kDirectory;
          if (!leads || !NameMatches(component, entry.name, true)) continue;
          Glob(std::string(path).append(entry.name).append(separators), rest, names);
        }
        return;
      }
      path += WithoutEscapes(component) + separators;
    }
    if (StatusOfLink(path).kind != FileStatus::kNothing) names.push_back(std::move(path));
  }

  /// A directory, as it stands before a name: empty or with a slash at its end.
  void Tree(const std::string& directory, const std::string& pattern, std::size_t named) {
    const std::size_t begin = files_.size();
    Walk(directory, pattern, named);
    if (!choice_.ignoreFiles) return;
    std::vector<std::string> names;
    for (std::size_t i = begin; i < files_.size(); ++i) {
      names.push_back(files_[i].name.substr(directory.size()));
    }
    const std::unordered_set<std::string> ignored = IgnoredFiles(directory, names);
    const auto isIgnored = [&](const ListedFile& file) {
      return ignored.count(file.name.substr(directory.size())) != 0;
    };
    const auto from = files_.begin() + static_cast<std::ptrdiff_t>(begin);
    files_.erase(std::remove_if(from, files_.end(), isIgnored), files_.end());
  }

  void Walk(const std::string& directory, const std::string& pattern, std::size_t named) {
    const bool shown = choice_.hidden || !choice_.recursive;
    progress_.Show([this] { return std::to_string(files_.size()) + " files found"; });
    const std::string key = KeyOf(directory);
    const std::size_t first = files_.size();
    bool all = !choice_.ignoreFiles;
    std::vector<std::string> directories;
    for (const Entry& entry : Entries(directory, ENOENT)) {
      const std::string path = directory + entry.name;
      const bool dotted = entry.name[0] == '.';
      if (IsExcluded(entry.name) || IsExcluded(path) || (entry.hidden && !shown)) {
        all = false;
      } else if (!entry.link && entry.kind == FileStatus::kDirectory) {
        if (choice_.recursive && (shown || !dotted)) directories.push_back(path + kSeparators[0]);
      } else if (entry.kind == FileStatus::kFile) {
        const bool wanted = NameMatches(pattern, entry.name, !choice_.hidden);
        const bool added = wanted && Add(entry.link ? KeyOfTarget(path) : KeyIn(key, entry.name),
                                         {path, named, choice_.recursive});
        if (added == (dotted && !kStarTakesDots)) all = false;
      }
    }
    if (all && files_.size() > first) files_[first].together = files_.size() - first;
    for (const std::string& next : directories) Walk(next, pattern, named);
  }

  bool IsExcluded(const std::string& name) const {
    return std::any_of(
        choice_.excluded.begin(), choice_.excluded.end(),
        [&name](const std::string& pattern) { return NameMatches(pattern, name, false); });
  }

  /// The entries of a directory, as it stands before a name. Of one error nothing is told.
  std::vector<Entry> Entries(const std::string& directory, int expected) {
    Listing listing = List(directory);
    if (listing.error != 0 && listing.error != expected) {
      const std::size_t end = directory.find_last_not_of(kSeparators);
      const std::string name = directory.empty() ? "." : directory.substr(0, end + 1);
      progress_.Clear();
      problems_.Tell(
          name.empty() ? directory : name,
          (listing.opened ? "can't read: " : "can't open: ") + SystemWords(listing.error));
    }
    return std::move(listing.entries);
  }

  /// False for a file that is in the list already.
  bool Add(const std::string& key, ListedFile file) {
    if (!seen_.insert(key).second) return false;
    files_.push_back(std::move(file));
    return true;
  }

  const FileChoice& choice_;
  Problems& problems_;
  Progress& progress_;
  std::vector<ListedFile> files_;
  std::unordered_set<std::string> seen_;
};

}  // namespace

std::vector<ListedFile> ListFiles(const FileChoice& choice, Problems& problems,
                                  Progress& progress) {
  return Lister(choice, problems, progress).Run();
}

bool LooksBinary(std::string_view content) {
  return content.substr(0, kLookedAt).find('\0') != std::string_view::npos;
}

std::string ContentOf(const std::string& file, std::size_t most) {
  std::string content;
  std::ifstream in(file, std::ios::binary);
  while (in && content.size() < most) {
    const std::size_t size = content.size();
    content.resize(std::min(most, size * 2 + kLookedAt));
    in.read(content.data() + size, static_cast<std::streamsize>(content.size() - size));
    content.resize(size + static_cast<std::size_t>(in.gcount()));
  }
  return content;
}

}  // namespace tool
