#include "files/FileSelection.hpp"

#include <algorithm>
#include <cstring>
#include <unordered_set>
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

/// The offset of the first `wanted` that no backslash precedes, or the size.
std::size_t FindUnescaped(std::string_view text, std::string_view wanted) {
  for (std::size_t i = 0; i < text.size(); ++i) {
    if (text[i] == '\\') {
      ++i;
    } else if (wanted.find(text[i]) != std::string_view::npos) {
      return i;
    }
  }
  return text.size();
}

bool HasWildcard(std::string_view component) {
  return FindUnescaped(component, "*?[") < component.size();
}

std::string WithoutEscapes(std::string_view component) {
  std::string name;
  for (std::size_t i = 0; i < component.size(); ++i) {
    if (component[i] == '\\' && ++i == component.size()) break;
    name += component[i];
  }
  return name;
}

/// One pattern's walk. Every member answers whether to go on.
class Selection {
 public:
  Selection(bool recursion, const FileVisitor& visitor)
      : recursion_(recursion), visitor_(visitor) {}

  bool Select(std::string_view pattern) {
    path_.clear();
    DirectoryPointer start = Directory::Current();
    if (const std::size_t root = pattern.find_first_not_of('/'); root != 0) {
      path_ = pattern.substr(0, root);
      pattern.remove_prefix(path_.size());
      start = start->Below(path_, Links::kMeant);
    }
    pending_.clear();
    bool goOn = Enter(std::move(start), pattern, Links::kMeant);
    while (goOn && !pending_.empty()) {
      const Pending next = std::move(pending_.back());
      pending_.pop_back();
      path_.resize(next.above->PathLength());
      path_ += next.component;
      goOn = Enter(next.above->Below(next.component, next.links), next.pattern, Links::kFollowed);
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
    for (;;) {
      const std::size_t slash = pattern.find('/');
      const std::string component(pattern.substr(0, slash));
      if (slash == std::string_view::npos) {
        if (component.empty()) return true;
        if (recursion_ || HasWildcard(component)) return VisitNames(directory, pattern);
        return VisitFile(directory, WithoutEscapes(component), links, true);
      }
      const std::size_t behind = std::min(pattern.find_first_not_of('/', slash), pattern.size());
      const std::string slashes(pattern.substr(slash, behind - slash));
      pattern.remove_prefix(behind);
      if (HasWildcard(component)) return FindBelow(directory, component, slashes, pattern);
      const std::string name = WithoutEscapes(component) + slashes;
      path_ += name;
      directory = directory->Below(name, links);
    }
  }

  /// Leaves the directories in `directory` that match `wanted` pending.
  bool FindBelow(const DirectoryPointer& directory, const std::string& wanted,
                 const std::string& slashes, std::string_view rest) {
    std::vector<DirectoryEntry> entries;
    if (!List(directory, entries)) return false;
    for (auto entry = entries.rbegin(); entry != entries.rend(); ++entry) {
      if (entry->kind == DirectoryEntry::kOther || !platform::NameMatches(wanted, entry->name)) {
        continue;
      }
      pending_.push_back({directory, entry->name + slashes, Links::kFollowed, rest});
    }
    return true;
  }

  /// Visits the names in `directory` that match the pattern, and leaves the directories pending.
  bool VisitNames(const DirectoryPointer& directory, std::string_view pattern) {
    const std::string wanted(pattern);
    std::vector<DirectoryEntry> entries;
    if (!List(directory, entries)) return false;
    const std::size_t others = pending_.size();
    for (const DirectoryEntry& entry : entries) {
      if (entry.kind == DirectoryEntry::kDirectory) {
        if (recursion_) pending_.push_back({directory, entry.name + '/', Links::kRefused, pattern});
      } else if (platform::NameMatches(wanted, entry.name)) {
        if (!VisitFile(directory, entry.name, Links::kFollowed,
                       entry.kind == DirectoryEntry::kLink)) {
          return false;
        }
      }
    }
    std::reverse(pending_.begin() + static_cast<std::ptrdiff_t>(others), pending_.end());
    return true;
  }

  /// Visits a file, unless it was visited before.
  bool VisitFile(const DirectoryPointer& directory, const std::string& name, Links links,
                 bool mayBeLink) {
    DirectoryPointer place = directory;
    std::string nameThere = name;
    const bool found = !mayBeLink || directory->Resolve(place, nameThere) == 0;
    const std::string file = path_ + name;
    return !IsNew(found ? *place : *directory, nameThere, file) ||
           visitor_.file({file, directory, links, {}});
  }

  /// Reports a directory, unless it was reported before.
  bool Fail(Directory& directory, bool opened, Error error) {
    std::string path = path_;
    while (path.size() > 1 && path.back() == '/') path.pop_back();
    if (path.empty()) path = ".";
    return !IsNew(directory, std::string(), path) || visitor_.failure(path, opened, error);
  }

  /// Whether this is the first time that what has this name in the directory is met; an empty name
  /// stands for the directory, and `path` for both when they can't be told.
  bool IsNew(Directory& directory, const std::string& name, const std::string& path) {
    platform::FileIdentity identity;
    if (directory.Identify(identity) != 0) return seen_.insert(path + '/').second;
    std::string key(sizeof identity, '\0');
    std::memcpy(key.data(), &identity, sizeof identity);
    return seen_.insert(key + name).second;
  }

  /// The entries of `directory` in the byte order of their names, as many as can be told.
  bool List(const DirectoryPointer& directory, std::vector<DirectoryEntry>& entries) {
    bool opened = false;
    const Error error = directory->List(entries, opened);
    std::sort(entries.begin(), entries.end(),
              [](const DirectoryEntry& a, const DirectoryEntry& b) { return a.name < b.name; });
    return error == 0 || (!opened && platform::LeadsNowhere(error)) ||
           Fail(*directory, opened, error);
  }

  const bool recursion_;
  const FileVisitor& visitor_;
  std::string path_;                      // of the directory in hand, as it stands before a name
  std::vector<Pending> pending_;          // the next one at the back
  std::unordered_set<std::string> seen_;  // files that were visited, directories that failed
};

}  // namespace

void SelectFiles(std::string_view patterns, bool recursion, const FileVisitor& visitor) {
  Selection selection(recursion, visitor);
  while (!patterns.empty()) {
    const std::size_t end = FindUnescaped(patterns, ";");
    if (!selection.Select(patterns.substr(0, end))) return;
    patterns.remove_prefix(std::min(end + 1, patterns.size()));
  }
}

}  // namespace RegexClass
