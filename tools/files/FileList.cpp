// SPDX-License-Identifier: BSL-1.0
#include "files/FileList.hpp"

#include <algorithm>
#include <cerrno>
#include <fstream>
#include <functional>
#include <iostream>
#include <iterator>
#include <map>
#include <memory>
#include <set>
#include <unordered_set>
#include <utility>

#include "files/IgnoredFiles.hpp"
#include "output/Problems.hpp"
#include "platform/FileSystem.hpp"

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

/// The offset of the first character with a meaning of its own, or the size.
std::size_t FindSpecial(const std::string& pattern) {
  const std::size_t at = RootLength(pattern);
  return std::min({pattern.find_first_of(";*?[]", at), pattern.find(kEscape, at), pattern.size()});
}

/// How much of a pattern stands in front of the first component with such a character.
std::size_t PlainPart(const std::string& pattern) {
  const std::size_t special = FindSpecial(pattern);
  return special == pattern.size() ? special : OwnNameAt(pattern.substr(0, special));
}

/// The path of a directory as it stands before a name.
std::string BeforeName(const std::string& directory) {
  const bool ended = OwnNameAt(directory) == directory.size();
  return ended ? directory : directory + kSeparators.front();
}

/// The same pattern for names, such that directories are read for it, and those below: the library
/// goes straight to what can only be one name, as [a]b can.
std::string LookedFor(std::string name) {
  const std::size_t special = FindUnescaped(name, "*?[");
  if (special < name.size()) {
    const bool isOne =
        name[special] == '[' && name.size() > special + 2 && name[special + 2] == ']';
    return isOne ? name.insert(special + 1, 1, name[special + 1]) : name;
  }
  const auto plain = std::find_if(name.begin(), name.end(), [](char c) {
    return std::string_view(".-!^[]").find(c) == std::string_view::npos && c != kEscape;
  });
  if (plain == name.end() || (plain != name.begin() && plain[-1] == kEscape)) return name;
  const std::string set = {'[', *plain, *plain, ']'};
  return name.replace(static_cast<std::size_t>(plain - name.begin()), 1, set);
}

/// What the arguments, the list and the settings have named.
class NamedFiles {
 public:
  using Take = std::function<void(std::vector<ListedFile>)>;

  NamedFiles(const FileChoice& choice, std::vector<std::string>& problems)
      : choice_(choice), problems_(problems) {
    const bool none = choice.arguments.empty() && !choice.listFile && choice.patterns.empty();
    if (none && !choice.recursive) throw Failure("no files are named");
    if (none) Tree("");
    std::ifstream list;
    if (choice.listFile) OpenList(list);
    for (const std::string& argument : choice.arguments) Argument(argument);
    if (choice.listFile) ReadList(*choice.listFile == "-" ? std::cin : list);
    Patterns(choice.patterns);
  }

  const std::string& Patterns() const { return patterns_; }

  /// Lists the files, and passes them on as they are found.
  void Run(RE walker, const Take& take) {
    // The files of a single tree are passed on during the walk, up to the first link, whose file
    // may come under its own name too.
    bool passesOn = patterns_.find(';') == std::string::npos && !choice_.ignoreFiles;
    std::size_t passed = 0;
    std::vector<ListedFile> ofDirectory;
    const auto pass = [&](ListedFile file) {
      if (!ofDirectory.empty() && !AreTogether(ofDirectory.front(), file)) {
        ofDirectory.front().together = ofDirectory.size();
        take(std::exchange(ofDirectory, {}));
      }
      ofDirectory.push_back(std::move(file));
    };
    walker.SetFilesToMatch(patterns_);
    walker.SetDirectoryRecursion(false);  // which the choice knows more about
    walker.SetOnSelectingFilesClosure(
        [&](RE*, const std::string& path, RE::EntryKinds kind, bool& taken) {
          taken = IsTaken(path, kind, taken);
          if (!taken || kind == RE::DirectoryEntry) return;
          if (kind == RE::LinkEntry && choice_.linksApart) {
            taken = false;
            links_.push_back(Listed(path));
            links_.back().link = true;
          } else if (passesOn && kind == RE::FileEntry) {
            pass(Listed(path));
            ++passed;
          } else {
            passesOn = false;
          }
        });
    std::vector<ListedFile> files;
    const std::vector<std::string> names = walker.SelectFiles();
    for (std::size_t i = passed; i < names.size(); ++i) files.push_back(Listed(names[i]));
    std::move(links_.begin(), links_.end(), std::back_inserter(files));
    if (choice_.ignoreFiles) RemoveIgnored(files);
    for (ListedFile& file : files) pass(std::move(file));
    if (!ofDirectory.empty()) take(std::move(ofDirectory));
    if (const auto* const failed = walker.GetSelectFilesErrors()) {
      for (const RE::FileSearchProblem& problem : *failed) problems_.push_back(InWords(problem));
    }
  }

  /// Whether what was found in a directory isn't passed over.
  bool IsTaken(const std::string& path, RE::EntryKinds kind, bool selected) const {
    const std::string name = OwnName(path);
    if (IsExcluded(path, name)) return false;
    if (choice_.recursive && !choice_.hidden && IsHidden(path)) return false;
    const bool dotted = name[0] == '.';
    if (kind == RE::DirectoryEntry) {
      return selected || (choice_.recursive && (choice_.hidden || !dotted));
    }
    if (!dotted || (selected && !kStarTakesDots)) return selected;
    bool isWanted = selected && !choice_.recursive;  // by a pattern, which may say so
    for (const auto& [root, wantedName] : wanted_) {
      if (path.compare(0, root.size(), root) != 0) continue;
      isWanted = NameMatches(wantedName, name, !choice_.hidden);
      if (isWanted) break;
    }
    return isWanted;
  }

  ListedFile Listed(std::string name) const {
    if (names_.count(name) != 0) return {name, name.size(), false, false};
    if (listed_.count(name) != 0) return {name, 0, false, false};
    std::size_t root = RootOf(name);
    if (listed_.count(name.substr(0, root)) != 0) root = 0;
    return {std::move(name), root, choice_.recursive, false};
  }

 private:
  /// Whether both were found in the same directory.
  static bool AreTogether(const ListedFile& a, const ListedFile& b) {
    const std::size_t own = OwnNameAt(a.name);
    return a.found && b.found && !a.link && !b.link && own == OwnNameAt(b.name) &&
           a.name.compare(0, own, b.name, 0, own) == 0;
  }

  void Argument(const std::string& argument) {
    const int error = Name(argument, true);
    if (error == 0) return;
    if (FindSpecial(argument) == argument.size()) {
      problems_.push_back(argument + ": " + SystemWords(error));
    } else {
      Patterns(argument);
    }
  }

  void OpenList(std::ifstream& list) {
    errno = 0;
    if (*choice_.listFile != "-") list.open(*choice_.listFile, std::ios::binary);
    if (!list) throw Failure(*choice_.listFile + ": " + SystemWords(errno));
  }

  void ReadList(std::istream& in) {
    for (std::string name; std::getline(in, name, choice_.nullNames ? '\0' : '\n');) {
      if (name.empty()) continue;
      if (const int error = Name(name, false))
        problems_.push_back(name + ": " + SystemWords(error));
    }
    if (in.bad()) throw Failure(*choice_.listFile + ": " + SystemWords(errno != 0 ? errno : EIO));
  }

  /// Takes what has the name; returns the number of an error when nothing has.
  int Name(const std::string& name, bool spelledOut) {
    const FileStatus status = StatusOf(name);
    if (status.kind == FileStatus::kDirectory) {
      Tree(BeforeName(name));
      if (!spelledOut) listed_.insert(BeforeName(name));
    } else if (!spelledOut && choice_.linksApart && StatusOfLink(name).kind == FileStatus::kLink) {
      links_.push_back({name, 0, false, true});
    } else if (status.kind == FileStatus::kFile) {
      Add(Escaped(name));
      (spelledOut ? names_ : listed_).insert(name);
    }
    return status.error;
  }

  /// Takes the files of a directory.
  void Tree(const std::string& directory) {
    Add(Escaped(directory) + '*');
    AddRoot(directory);
    if (choice_.hidden || kStarTakesDots) wanted_.emplace_back(directory, "*");
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
      plain == pattern.size() ? void(names_.insert(pattern)) : AddRoot(pattern.substr(0, plain));
      return Add(pattern);
    }
    const std::size_t last = OwnNameAt(pattern);
    const std::string root = pattern.substr(0, std::min(plain, last));
    const std::string name = pattern.substr(last);
    AddRoot(root);
    if (choice_.hidden || kStarTakesDots) wanted_.emplace_back(root, name);
    Add(pattern.substr(0, last) + LookedFor(name));
  }

  void Add(const std::string& pattern) {
    if (!patterns_.empty()) patterns_ += ';';
    patterns_ += pattern;
  }

  void AddRoot(const std::string& root) {
    roots_.insert(root);
    rootLengths_.insert(root.size());
  }

  bool IsExcluded(const std::string& path, const std::string& name) const {
    return std::any_of(
        choice_.excluded.begin(), choice_.excluded.end(), [&](const std::string& pattern) {
          return NameMatches(pattern, name, false) || NameMatches(pattern, path, false);
        });
  }

  /// Where what the user has spelled out, or a list, ends in the name of what was found.
  std::size_t RootOf(const std::string& name) const {
    for (auto length = rootLengths_.rbegin(); length != rootLengths_.rend(); ++length) {
      if (*length <= name.size() && roots_.count(name.substr(0, *length)) != 0) return *length;
    }
    return 0;
  }

  void RemoveIgnored(std::vector<ListedFile>& files) const {
    std::map<std::string, std::vector<std::string>> below;  // by the root
    const auto isNamed = [this](const std::string& name) {
      return names_.count(name) != 0 || listed_.count(name) != 0;
    };
    for (const ListedFile& file : files) {
      if (isNamed(file.name)) continue;
      const std::size_t root = RootOf(file.name);
      below[file.name.substr(0, root)].push_back(file.name.substr(root));
    }
    std::unordered_set<std::string> ignored;
    for (const auto& [root, names] : below) {
      for (const std::string& name : IgnoredFiles(root, names)) ignored.insert(root + name);
    }
    const auto isIgnored = [&](const ListedFile& file) {
      return !isNamed(file.name) && ignored.count(file.name) != 0;
    };
    files.erase(std::remove_if(files.begin(), files.end(), isIgnored), files.end());
  }

  const FileChoice& choice_;
  std::vector<std::string>& problems_;
  std::string patterns_;
  std::unordered_set<std::string> names_;   // that the user has spelled out
  std::unordered_set<std::string> listed_;  // that a list has, directories with their ends
  std::unordered_set<std::string> roots_;   // what patterns have in front of wildcards
  std::set<std::size_t> rootLengths_;
  std::vector<ListedFile> links_;  // that come last
  /// Below such a root, names that begin with a dot and match such a pattern are taken too.
  std::vector<std::pair<std::string, std::string>> wanted_;
};

const char* Words(RE::SearchProblemKind kind) {
  switch (kind) {
    case RE::FileNotOpened:
      return "can't open";
    case RE::FileNotRead:
      return "can't read";
    case RE::FileNotSearched:
      return "can't search to the end";
  }
  return "failed";
}

}  // namespace

void ListFiles(const FileChoice& choice, const RE& object,
               const std::function<void(std::vector<ListedFile>)>& take,
               std::vector<std::string>& problems) {
  NamedFiles(choice, problems).Run(object, take);
}

std::function<ListedFile(const std::string&)> PrepareWalk(const FileChoice& choice, RE& object,
                                                          const std::function<void()>& onFile,
                                                          std::vector<std::string>& problems) {
  const auto named = std::make_shared<const NamedFiles>(choice, problems);
  object.SetFilesToMatch(named->Patterns());
  object.SetOnSelectingFilesClosure(
      [named, onFile](RE*, const std::string& path, RE::EntryKinds kind, bool& taken) {
        taken = named->IsTaken(path, kind, taken);
        if (taken && kind != RE::DirectoryEntry) onFile();
      });
  return [named](const std::string& name) { return named->Listed(name); };
}

std::string InWords(const RE::FileSearchProblem& problem) {
  return problem.file + ": " + Words(problem.kind) + ": " +
         (problem.code != 0 ? LibraryWords(problem.code) : "the expression is too complex for it");
}

bool LooksBinary(std::string_view content) {
  return content.substr(0, 8192).find('\0') != std::string_view::npos;
}

}  // namespace tool
