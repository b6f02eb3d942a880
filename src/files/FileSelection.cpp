// SPDX-License-Identifier: BSL-1.0
#include "files/FileSelection.hpp"

#include <algorithm>
#include <cstdint>
#include <map>
#include <set>
#include <string>
#include <utility>
#include <vector>

#include "platform/FileName.hpp"

namespace RegexClass {
namespace {

using platform::Directory;
using platform::DirectoryEntry;
using platform::DirectoryPointer;
using platform::Error;
using platform::Links;

constexpr std::size_t kLongestName = 1024;

bool HasWildcard(std::string_view component) {
  return platform::FindUnescaped(component, "*?[") < component.size();
}

/// The one name that a component can stand for whose only wildcards are sets of one letter, digit
/// or bracket, as in [a]b, or that has none; empty when there are others. No directory needs to be
/// read for it.
std::string OnlyName(std::string_view component) {
  const auto isPlain = [](char c) {
    return ('a' <= c && c <= 'z') || ('A' <= c && c <= 'Z') || ('0' <= c && c <= '9') || c == '[';
  };
  std::string spelledOut;
  for (std::size_t at = 0;;) {
    const std::size_t next = at + platform::FindUnescaped(component.substr(at), "*?[");
    spelledOut += component.substr(at, next - at);
    if (next == component.size()) return platform::WithoutEscapes(spelledOut);
    const std::string_view set = component.substr(next, 3);
    if (set.size() < 3 || set[0] != '[' || !isPlain(set[1]) || set[2] != ']') return "";
    spelledOut += set[1];
    at = next + set.size();
  }
}

/// Names that were met.
class Names {
 public:
  /// Whether the name is a new one.
  bool Add(std::string name) {
    if (inOrder_.empty() || inOrder_.back() < name) {
      inOrder_.push_back(std::move(name));
      return true;
    }
    return !std::binary_search(inOrder_.begin(), inOrder_.end(), name) &&
           others_.insert(std::move(name)).second;
  }

 private:
  std::vector<std::string> inOrder_;  // nearly all, since the names of a directory come sorted
  std::set<std::string> others_;
};

/// One pattern's walk. Every member answers whether to go on.
class Selection {
 public:
  Selection(bool recursion, Links found, const FileVisitor& visitor)
      : recursion_(recursion), foundLinks_(found), visitor_(visitor) {}

  bool Select(std::string_view pattern) {
    path_.clear();
    DirectoryPointer start = current_;
    if (const std::size_t root = platform::RootLength(pattern); root != 0) {
      path_ = pattern.substr(0, root);
      pattern.remove_prefix(root);
      start = start->Below(path_, Links::kMeant);
    }
    pending_.clear();
    bool goOn = Enter(std::move(start), pattern, Links::kMeant);
    while (goOn && !pending_.empty()) {
      const Pending next = std::move(pending_.back());
      pending_.pop_back();
      path_.resize(next.above->PathLength());
      path_ += next.component;
      goOn = Enter(next.above->Below(next.component, next.links), next.pattern, foundLinks_);
    }
    return goOn;
  }

 private:
  /// A directory that is still to be visited, and what the rest of the pattern is in there.
  struct Pending {
    DirectoryPointer above;
    std::string component;
    Links links;
    std::string_view pattern;
  };

  /// Visits what the rest of a pattern selects in `directory`, which has the path `path_`, and
  /// leaves what is below it pending. `links` goes for the names that the pattern spells out.
  bool Enter(DirectoryPointer directory, std::string_view pattern, Links links) {
    // What the caller has spelled out is opened in one go, as long as it is no longer than a system
    // takes.
    std::string spelledOut;
    const auto descend = [&] {
      if (spelledOut.empty()) return;
      const bool meant = links == Links::kMeant;
      const bool known = meant && spelledOut_ != nullptr && path_ == spelledOutPath_;
      directory = known ? spelledOut_ : directory->Below(spelledOut, links);
      if (meant) spelledOut_ = directory, spelledOutPath_ = path_;
      spelledOut.clear();
    };
    for (;;) {
      const std::size_t end = pattern.find_first_of(platform::Separators());
      const std::string component(pattern.substr(0, end));
      if (end == std::string_view::npos) {
        if (component.empty()) return true;
        descend();
        const std::string name = OnlyName(component);
        if (recursion_ || name.empty()) return VisitNames(directory, pattern);
        if (HasWildcard(component)) links = foundLinks_;
        ComeTo(name);
        DirectoryEntry entry = directory->EntryOf(name);
        return VisitFile(directory, std::move(entry.name), links, entry.kind);
      }
      pattern.remove_prefix(end);
      const std::size_t next =
          std::min(pattern.find_first_not_of(platform::Separators()), pattern.size());
      const std::string separators(pattern.substr(0, next));
      pattern.remove_prefix(next);
      if (HasWildcard(component)) {
        descend();
        return FindBelow(directory, component, separators, pattern);
      }
      const std::string name = platform::WithoutEscapes(component) + separators;
      if (links != Links::kMeant || spelledOut.size() + name.size() > kLongestName) descend();
      path_ += name;
      spelledOut += name;
    }
  }

  /// Leaves the directories in `directory` that match `wanted` pending.
  bool FindBelow(const DirectoryPointer& directory, const std::string& wanted,
                 const std::string& separators, std::string_view rest) {
    if (const std::string name = OnlyName(wanted); !name.empty()) {
      pending_.push_back({directory, name + separators, foundLinks_, rest});
      return true;
    }
    if (!List(directory)) return false;
    const std::size_t others = pending_.size();
    for (const DirectoryEntry& entry : entries_) {
      const bool leads =
          entry.kind == DirectoryEntry::kDirectory || entry.kind == DirectoryEntry::kLink;
      if (!leads || !platform::NameMatches(wanted, entry.name)) continue;
      ComeTo(entry.name);
      if (!visitor_.select(found_.name, entry.kind, true)) continue;
      pending_.push_back({directory, entry.name + separators, foundLinks_, rest});
    }
    ReversePending(others);
    return true;
  }

  /// Visits the names in `directory` that match the pattern, and leaves the directories pending.
  bool VisitNames(const DirectoryPointer& directory, std::string_view pattern) {
    const std::string wanted(pattern);
    if (!List(directory)) return false;
    const std::size_t others = pending_.size();
    for (DirectoryEntry& entry : entries_) {
      const bool below = entry.kind == DirectoryEntry::kDirectory;
      const bool selected = below ? recursion_ : platform::NameMatches(wanted, entry.name);
      ComeTo(entry.name);
      if (!visitor_.select(found_.name, entry.kind, selected)) continue;
      if (below) {
        pending_.push_back(
            {directory, entry.name + platform::Separators().front(), Links::kRefused, pattern});
      } else if (!VisitFile(directory, std::move(entry.name), foundLinks_, entry.kind)) {
        return false;
      }
    }
    ReversePending(others);
    return true;
  }

  /// Lets what has been left pending since there were `others` come in its order, before those.
  void ReversePending(std::size_t others) {
    std::reverse(pending_.begin() + static_cast<std::ptrdiff_t>(others), pending_.end());
  }

  /// Takes what has that name in the directory in hand for the one that is found.
  void ComeTo(const std::string& name) { found_.name.assign(path_).append(name); }

  /// Visits what is found as a file, unless it was visited before. It has that name in `directory`.
  bool VisitFile(const DirectoryPointer& directory, std::string name, Links links,
                 DirectoryEntry::Kind kind) {
    const bool isLink = kind == DirectoryEntry::kLink;
    // Else, in another case, say, what is there is known only when it has been opened.
    const bool asWritten = found_.name.compare(path_.size(), std::string::npos, name) == 0;
    if (isLink && links == Links::kRefused) return true;
    DirectoryPointer place;
    std::string nameThere;
    const bool resolved = isLink && directory->Resolve(place, nameThere = name) == 0;
    const bool isNew = resolved ? IsNew(*place, std::move(nameThere), found_.name)
                                : IsNew(*directory, std::move(name), found_.name);
    if (!isNew) return true;
    found_.directory = directory;
    found_.links = links;
    found_.isFile = kind == DirectoryEntry::kFile && asWritten;
    return visitor_.file(found_);
  }

  /// Reports a directory, unless it was reported before.
  bool Fail(Directory& directory, bool opened, Error error) {
    const std::size_t root = std::max<std::size_t>(platform::RootLength(path_), 1);
    const std::size_t last = path_.find_last_not_of(platform::Separators()) + 1;
    const std::string path = path_.empty() ? "." : path_.substr(0, std::max(root, last));
    return !IsNew(directory, std::string(), path) || visitor_.failure(path, opened, error);
  }

  /// Whether this is the first time that what has this name in the directory is met; an empty name
  /// stands for the directory, and `path` for both when they can't be told.
  bool IsNew(Directory& directory, std::string name, const std::string& path) {
    platform::FileIdentity identity;
    if (directory.Identify(identity) != 0) name = path;
    const std::pair key(identity.device, identity.number);
    if (seenLast_ == nullptr || seenLast_->first != key) seenLast_ = &*seen_.try_emplace(key).first;
    return seenLast_->second.Add(std::move(name));
  }

  /// Takes the entries of `directory`, in the byte order of their names and as many as can be told.
  bool List(const DirectoryPointer& directory) {
    bool opened = false;
    entries_.clear();
    const Error error = directory->List(entries_, opened);
    std::sort(entries_.begin(), entries_.end(),
              [](const DirectoryEntry& a, const DirectoryEntry& b) { return a.name < b.name; });
    return error == 0 || (!opened && platform::LeadsNowhere(error)) ||
           Fail(*directory, opened, error);
  }

  const bool recursion_;
  const Links foundLinks_;  // what becomes of those that no pattern spells out
  const FileVisitor& visitor_;
  const DirectoryPointer current_ = Directory::Current();
  DirectoryPointer spelledOut_;          // the last one that a pattern has spelled out, since
  std::string spelledOutPath_;           // patterns often name file after file; and its path
  std::string path_;                     // of the directory in hand, as it stands before a name
  std::vector<Pending> pending_;         // the next one at the back
  std::vector<DirectoryEntry> entries_;  // of the directory that was listed last
  platform::FoundFile found_;            // in the directory in hand
  /// Files that were visited and directories that failed, by the directory.
  std::map<std::pair<std::uint64_t, std::uint64_t>, Names> seen_;
  decltype(seen_)::pointer seenLast_ = nullptr;  // file after file is of one directory
};

}  // namespace

void SelectFiles(std::string_view patterns, bool recursion, Links found,
                 const FileVisitor& visitor) {
  Selection selection(recursion, found, visitor);
  while (!patterns.empty()) {
    const std::size_t end = platform::FindUnescaped(patterns, ";");
    if (!selection.Select(patterns.substr(0, end))) return;
    patterns.remove_prefix(std::min(end + 1, patterns.size()));
  }
}

platform::FoundFile Locate(const std::string& name, std::size_t named) {
  platform::FoundFile file;
  file.name = name;
  file.directory = Directory::Current();
  file.links = named >= name.size() ? Links::kMeant : Links::kRefused;
  std::size_t at = platform::RootLength(name);
  if (at != 0) file.directory = file.directory->Below(name.substr(0, at), Links::kMeant);
  for (;;) {
    const std::size_t end = name.find_first_of(platform::Separators(), at);
    if (end == std::string::npos) return file;
    const std::size_t next =
        std::min(name.find_first_not_of(platform::Separators(), end), name.size());
    file.directory = file.directory->Below(name.substr(at, next - at),
                                           end <= named ? Links::kMeant : Links::kRefused);
    at = next;
  }
}

}  // namespace RegexClass
