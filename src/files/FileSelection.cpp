#include "files/FileSelection.hpp"

#include <algorithm>
#include <filesystem>
#include <system_error>
#include <unordered_set>
#include <vector>

#include "platform/FileName.hpp"

namespace RegexClass {
namespace {

namespace fs = std::filesystem;

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

/// Whether the number says that there is no such directory.
bool IsNoDirectory(const std::error_code& error) {
  return error == std::errc::no_such_file_or_directory || error == std::errc::not_a_directory ||
         error == std::errc::too_many_symbolic_link_levels;
}

/// The one name of what a path leads to, whatever way the path takes; the path itself when that
/// can't be told.
std::string RealName(const std::string& path) {
  std::error_code error;
  const fs::path real = fs::canonical(path.empty() ? "." : path, error);
  return error ? path : real.string();
}

/// Something in a directory, with its type as far as the directory tells it.
struct Entry {
  std::string name;
  fs::directory_entry details;

  bool LeadsToDirectory() const {
    std::error_code ignored;
    return details.is_directory(ignored);
  }
  // These two need no call of the system where the directory tells types.
  bool IsLink() const {
    std::error_code ignored;
    return details.is_symlink(ignored);
  }
  bool IsDirectory() const { return !IsLink() && LeadsToDirectory(); }
};

/// One selection. A directory is written as it stands before a name: empty or with a slash at its
/// end. Every member answers whether to go on.
class Selection {
 public:
  Selection(bool recursion, const FileVisitor& visitor)
      : recursion_(recursion), visitor_(visitor) {}

  /// Visits what the rest of a pattern selects in `directory`, of which the pattern has spelled out
  /// the first `named` bytes.
  bool Select(const std::string& directory, std::string_view pattern, std::size_t named) {
    const std::size_t slash = pattern.find('/');
    if (slash == std::string_view::npos) {
      const std::string last(pattern);
      if (last.empty()) return true;
      if (recursion_ || HasWildcard(last)) return SelectNames(directory, last, named);
      const std::string file = directory + WithoutEscapes(last);
      return Visit(file, RealName(file), named == directory.size() ? file.size() : named);
    }
    const std::string_view component = pattern.substr(0, slash);
    const std::size_t behind = std::min(pattern.find_first_not_of('/', slash), pattern.size());
    const std::string slashes(pattern.substr(slash, behind - slash));
    const std::string_view rest = pattern.substr(behind);
    if (!HasWildcard(component)) {
      const std::string next = directory + WithoutEscapes(component) + slashes;
      return Select(next, rest, named == directory.size() ? next.size() : named);
    }
    std::vector<Entry> entries;
    if (!List(directory, entries)) return false;
    const std::string wanted(component);
    return std::all_of(entries.begin(), entries.end(), [&](const Entry& entry) {
      return !platform::NameMatches(wanted, entry.name) || !entry.LeadsToDirectory() ||
             Select(directory + entry.name + slashes, rest, named);
    });
  }

 private:
  /// Visits the names in `directory` that match `last`, then does so in the directories below.
  bool SelectNames(const std::string& directory, const std::string& last, std::size_t named) {
    std::vector<std::string> below;
    {
      std::vector<Entry> entries;
      if (!List(directory, entries)) return false;
      const std::string real = RealName(directory) + '/';
      for (const Entry& entry : entries) {
        const std::string file = directory + entry.name;
        if (entry.IsDirectory()) {
          if (recursion_) below.push_back(file + '/');
        } else if (platform::NameMatches(last, entry.name)) {
          const std::string realName = entry.IsLink() ? RealName(file) : real + entry.name;
          if (!Visit(file, realName, named)) return false;
        }
      }
    }
    return std::all_of(below.begin(), below.end(),
                       [&](const std::string& name) { return SelectNames(name, last, named); });
  }

  /// Visits a file, unless it was visited before.
  bool Visit(const std::string& file, const std::string& realName, std::size_t named) {
    return !seen_.insert(realName).second || visitor_.file(file, named);
  }

  /// Reports a directory, unless it was reported before.
  bool Fail(std::string directory, bool opened, const std::error_code& error) {
    while (directory.size() > 1 && directory.back() == '/') directory.pop_back();
    if (directory.empty()) directory = ".";
    return !seen_.insert(RealName(directory)).second ||
           visitor_.failure(directory, opened, error.value());
  }

  /// The entries of `directory` in the byte order of their names, as many as can be told.
  bool List(const std::string& directory, std::vector<Entry>& entries) {
    std::error_code error;
    fs::directory_iterator at(directory.empty() ? "." : directory, error);
    if (error) {
      return IsNoDirectory(error) || Fail(directory, false, error);
    }
    while (at != fs::directory_iterator()) {
      entries.push_back({at->path().filename().string(), *at});
      at.increment(error);
    }
    std::sort(entries.begin(), entries.end(),
              [](const Entry& a, const Entry& b) { return a.name < b.name; });
    return !error || Fail(directory, true, error);
  }

  const bool recursion_;
  const FileVisitor& visitor_;
  std::unordered_set<std::string> seen_;  // real names of files visited and directories that failed
};

}  // namespace

void SelectFiles(std::string_view patterns, bool recursion, const FileVisitor& visitor) {
  Selection selection(recursion, visitor);
  while (!patterns.empty()) {
    const std::size_t end = FindUnescaped(patterns, ";");
    if (!selection.Select("", patterns.substr(0, end), 0)) return;
    patterns.remove_prefix(std::min(end + 1, patterns.size()));
  }
}

}  // namespace RegexClass
