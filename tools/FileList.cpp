// SPDX-License-Identifier: BSL-1.0
#include "FileList.hpp"

#include <algorithm>
#include <cerrno>
#include <fstream>
#include <iostream>
#include <iterator>
#include <string_view>
#include <unordered_set>
#include <utility>

#include "FileSystem.hpp"
#include "IgnoredFiles.hpp"
#include "Problems.hpp"

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

bool NamesNothing(const FileChoice& choice) {
  return choice.arguments.empty() && !choice.listFile && choice.patterns.empty();
}

/// The path of a directory as it stands before a name.
std::string BeforeName(const std::string& directory) {
  const bool ended = OwnNameAt(directory) == directory.size();
  return ended ? directory : directory + kSeparators.front();
}

// What is passed over among the things that are found in directories.

bool IsExcluded(const FileChoice& choice, const std::string& name) {
  return std::any_of(
      choice.excluded.begin(), choice.excluded.end(),
      [&name](const std::string& pattern) { return NameMatches(pattern, name, false); });
}
bool IsExcluded(const FileChoice& choice, const std::string& path, const std::string& name) {
  return !choice.excluded.empty() && (IsExcluded(choice, name) || IsExcluded(choice, path));
}
bool TakesHidden(const FileChoice& choice) { return choice.hidden || !choice.recursive; }
bool IsEntered(const FileChoice& choice, const std::string& name) {
  return choice.recursive && (choice.hidden || name[0] != '.');
}

class Lister {
 public:
  using Take = std::function<void(std::vector<ListedFile>)>;

  Lister(const FileChoice& choice, const Take& take, std::vector<std::string>& problems)
      : choice_(choice), take_(take), problems_(problems) {}

  void Run() {
    if (NamesNothing(choice_)) {
      if (!choice_.recursive) throw Failure("no files are named");
      return Tree("", "*", 0);
    }
    if (choice_.listFile) OpenList(*choice_.listFile);
    for (const std::string& argument : choice_.arguments) Argument(argument);
    if (choice_.listFile) ReadList(*choice_.listFile);
    Patterns(choice_.patterns);
  }

 private:
  void Tell(const std::string& about, const std::string& what) {
    problems_.push_back(about + ": " + what);
  }

  void Argument(const std::string& argument) {
    const int error = Name(argument);
    if (error == 0) return;
    if (FindSpecial(argument) == argument.size()) {
      Tell(argument, SystemWords(error));
    } else {
      Patterns(argument);
    }
  }

  /// Takes what has the name; gives the number of an error when nothing has.
  int Name(const std::string& name) {
    const FileStatus status = StatusOf(name);
    if (status.kind == FileStatus::kDirectory) {
      const std::string directory = BeforeName(name);
      Tree(directory, "*", directory.size());
    } else if (status.kind == FileStatus::kFile) {
      // By a wildcard the library comes to a name in the case that the directory has it in.
      const bool plain = FindSpecial(name) == name.size();
      const std::vector<std::string> found = plain ? std::vector{name} : Glob(Escaped(name));
      if (!found.empty()) TakeOne(KeyOfTarget(name), {found[0], name.size(), false});
    }
    return status.error;
  }

  void OpenList(const std::string& list) {
    if (list == "-") return;
    errno = 0;
    list_.open(list, std::ios::binary);
    if (!list_) throw Failure(list + ": " + SystemWords(errno));
  }

  void ReadList(const std::string& list) {
    std::istream& in = list == "-" ? std::cin : list_;
    for (std::string name; std::getline(in, name, choice_.nullNames ? '\0' : '\n');) {
      if (name.empty()) continue;
      if (const int error = Name(name)) Tell(name, SystemWords(error));
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
        TakeOne(KeyOfTarget(name), {name, std::min(plain, name.size()), false});
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
    if (!choice_.ignoreFiles) return Walk(directory, pattern, named, take_);
    std::vector<ListedFile> files;
    Walk(directory, pattern, named, [&](std::vector<ListedFile> found) {
      std::move(found.begin(), found.end(), std::back_inserter(files));
    });
    std::vector<std::string> names;
    names.reserve(files.size());
    for (const ListedFile& file : files) names.push_back(file.name.substr(directory.size()));
    const std::unordered_set<std::string> ignored = IgnoredFiles(directory, names);
    const auto isIgnored = [&](const ListedFile& file) {
      return ignored.count(file.name.substr(directory.size())) != 0;
    };
    files.erase(std::remove_if(files.begin(), files.end(), isIgnored), files.end());
    take_(std::move(files));
  }

  void Walk(const std::string& directory, const std::string& pattern, std::size_t named,
            const Take& take) {
    const std::string key = KeyOf(directory);
    std::vector<ListedFile> files;
    bool all = !choice_.ignoreFiles;
    std::vector<std::string> directories;
    for (const Entry& entry : Entries(directory, ENOENT)) {
      const std::string path = directory + entry.name;
      const bool dotted = entry.name[0] == '.';
      if (IsExcluded(choice_, path, entry.name) || (entry.hidden && !TakesHidden(choice_))) {
        all = false;
      } else if (!entry.link && entry.kind == FileStatus::kDirectory) {
        if (IsEntered(choice_, entry.name)) directories.push_back(path + kSeparators[0]);
      } else if (entry.kind == FileStatus::kFile) {
        const bool wanted = NameMatches(pattern, entry.name, !choice_.hidden);
        const bool taken = wanted && IsNew(entry.link ? KeyOfTarget(path) : KeyIn(key, entry.name));
        if (taken) files.push_back({path, named, choice_.recursive});
        if (taken == (dotted && !kStarTakesDots)) all = false;
      }
    }
    if (!files.empty()) {
      if (all) files[0].together = files.size();
      take(std::move(files));
    }
    for (const std::string& next : directories) Walk(next, pattern, named, take);
  }

  /// The entries of a directory, as it stands before a name. Of one error nothing is told.
  std::vector<Entry> Entries(const std::string& directory, int expected) {
    Listing listing = List(directory);
    if (listing.error != 0 && listing.error != expected) {
      const std::size_t end = directory.find_last_not_of(kSeparators);
      const std::string name = directory.empty() ? "." : directory.substr(0, end + 1);
      Tell(name.empty() ? directory : name,
           (listing.opened ? "can't read: " : "can't open: ") + SystemWords(listing.error));
    }
    return std::move(listing.entries);
  }

  /// False for a file that has been listed already.
  bool IsNew(const std::string& key) { return seen_.insert(key).second; }
  void TakeOne(const std::string& key, ListedFile file) {
    if (IsNew(key)) take_({std::move(file)});
  }

  const FileChoice& choice_;
  const Take& take_;
  std::vector<std::string>& problems_;
  std::ifstream list_;
  std::unordered_set<std::string> seen_;
};

}  // namespace

void ListFiles(const FileChoice& choice, const std::function<void(std::vector<ListedFile>)>& take,
               std::vector<std::string>& problems) {
  Lister(choice, take, problems).Run();
}

std::optional<std::string> OnlyTree(const FileChoice& choice) {
  if (!choice.recursive || choice.ignoreFiles) return std::nullopt;
  if (NamesNothing(choice)) return "";
  if (choice.arguments.size() != 1 || choice.listFile) return std::nullopt;
  const std::string& argument = choice.arguments.front();
  if (StatusOf(argument).kind != FileStatus::kDirectory) return std::nullopt;
  return BeforeName(argument);
}

bool IsTaken(const FileChoice& choice, const std::string& path, bool isDirectory) {
  const std::string name = OwnName(path);
  if (IsExcluded(choice, path, name) || (!TakesHidden(choice) && IsHidden(path))) return false;
  return isDirectory ? IsEntered(choice, name) : choice.hidden || kStarTakesDots || name[0] != '.';
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
