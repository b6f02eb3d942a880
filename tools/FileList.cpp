// SPDX-License-Identifier: BSL-1.0
#include "FileList.hpp"

#include <algorithm>
#include <cerrno>
#include <filesystem>
#include <fnmatch.h>
#include <fstream>
#include <glob.h>
#include <iostream>
#include <iterator>
#include <sys/stat.h>
#include <system_error>
#include <unordered_set>
#include <utility>

#include "IgnoredFiles.hpp"

namespace tool {

namespace {

namespace fs = std::filesystem;

const char* const kSpecial = "\\;*?[]";

/// One name for each file, whatever way leads to it: that of its directory, which two numbers tell,
/// and its own.
std::string KeyOfDirectory(const std::string& directory) {
  struct stat status = {};
  if (stat(directory.empty() ? "." : directory.c_str(), &status) != 0) return directory;
  return std::to_string(status.st_dev) + ':' + std::to_string(status.st_ino) + '/';
}

std::string KeyOf(const std::string& file) {
  std::error_code error;
  const fs::path real = fs::canonical(file, error);
  return error ? file : KeyOfDirectory(real.parent_path()) + real.filename().string();
}

/// The offset of the first `wanted` from `begin` that no backslash precedes, or the size.
std::size_t FindUnescaped(const std::string& text, char wanted, std::size_t begin) {
  std::size_t at = begin;
  while (at < text.size() && text[at] != wanted) at += text[at] == '\\' ? 2 : 1;
  return std::min(at, text.size());
}

/// How much of a pattern stands in front of the first component with a character of its own
/// meaning.
std::size_t PlainPart(const std::string& pattern) {
  const std::size_t special = pattern.find_first_of(kSpecial);
  if (special == std::string::npos) return pattern.size();
  return pattern.rfind('/', special) + 1;  // 0 without a slash
}

class Lister {
 public:
  Lister(const FileChoice& choice, Problems& problems, Progress& progress)
      : choice_(choice), problems_(problems), progress_(progress) {}

  std::vector<ListedFile> List() {
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
    if (Name(argument)) return;
    const int error = errno;
    if (!choice_.recursive && argument.find_first_of(kSpecial) == std::string::npos) {
      problems_.Tell(argument, SystemWords(error));
    } else {
      Patterns(argument);
    }
  }

  /// Takes what has the name; false, with errno, when nothing has.
  bool Name(const std::string& name) {
    struct stat status = {};
    if (stat(name.c_str(), &status) != 0) return false;
    if (S_ISDIR(status.st_mode)) {
      const std::string directory = name.back() == '/' ? name : name + '/';
      Tree(directory, "*", directory.size());
    } else if (S_ISREG(status.st_mode)) {
      Add(KeyOf(name), {name, name.size(), false});
    }
    return true;
  }

  void ListFile(const std::string& list) {
    std::ifstream file;
    errno = 0;
    if (list != "-") file.open(list, std::ios::binary);
    if (list != "-" && !file) throw Failure(list + ": " + SystemWords(errno));
    std::istream& in = list == "-" ? std::cin : file;
    for (std::string name; std::getline(in, name, choice_.nullNames ? '\0' : '\n');) {
      if (!name.empty() && !Name(name)) problems_.Tell(name, SystemWords(errno));
    }
    if (in.bad()) throw Failure(list + ": " + SystemWords(errno != 0 ? errno : EIO));
  }

  void Patterns(const std::string& patterns) {
    for (std::size_t begin = 0; begin < patterns.size();) {
      const std::size_t end = FindUnescaped(patterns, ';', begin);
      if (end > begin) Pattern(patterns.substr(begin, end - begin));
      begin = end + 1;
    }
  }

  void Pattern(const std::string& pattern) {
    const std::size_t plain = PlainPart(pattern);
    if (!choice_.recursive) {
      for (const std::string& name : Glob(pattern)) {
        if (IsRegularFile(name)) Add(KeyOf(name), {name, std::min(plain, name.size()), false});
      }
      return;
    }
    const std::size_t last = pattern.rfind('/') + 1;
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
    static Problems* problems;  // which glob has no way to pass on
    problems = &problems_;
    const auto tell = [](const char* directory, int error) {
      if (error != ENOTDIR) problems->Tell(directory, "can't open: " + SystemWords(error));
      return 0;
    };
    glob_t found = {};
    std::vector<std::string> names;
    if (glob(pattern.c_str(), GLOB_NOSORT, tell, &found) == 0) {
      names.assign(found.gl_pathv, found.gl_pathv + found.gl_pathc);
    }
    globfree(&found);
    std::sort(names.begin(), names.end());
    return names;
  }

  static bool IsRegularFile(const std::string& name) {
    std::error_code ignored;
    return fs::is_regular_file(name, ignored);
  }

  /// A directory, as it stands before a name: empty or with a slash at its end.
  void Tree(const std::string& directory, const std::string& pattern, std::size_t named) {
    const std::size_t begin = files_.size();
    Directory(directory, pattern, named);
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

  void Directory(const std::string& directory, const std::string& pattern, std::size_t named) {
    const bool shown = choice_.hidden || !choice_.recursive;
    const int hiding = choice_.hidden ? 0 : FNM_PERIOD;
    progress_.Show([this] { return std::to_string(files_.size()) + " files found"; });
    const std::string key = KeyOfDirectory(directory);
    const std::size_t first = files_.size();
    bool all = !choice_.ignoreFiles;
    std::vector<std::string> directories;
    for (const fs::directory_entry& entry : Entries(directory)) {
      std::error_code ignored;
      const std::string name = entry.path().filename().string();
      const std::string path = directory + name;
      if (IsExcluded(name) || IsExcluded(path)) {
        all = false;
        continue;
      }
      const bool link = entry.is_symlink(ignored);
      if (!link && entry.is_directory(ignored)) {
        if (choice_.recursive && (shown || name[0] != '.')) directories.push_back(path + '/');
      } else if (entry.is_regular_file(ignored)) {
        const bool wanted = fnmatch(pattern.c_str(), name.c_str(), hiding) == 0;
        const bool added =
            wanted && Add(link ? KeyOf(path) : key + name, {path, named, choice_.recursive});
        if (added == (name[0] == '.')) all = false;
      }
    }
    if (all && files_.size() > first) files_[first].together = files_.size() - first;
    for (const std::string& next : directories) Directory(next, pattern, named);
  }

  bool IsExcluded(const std::string& name) const {
    return std::any_of(choice_.excluded.begin(), choice_.excluded.end(),
                       [&name](const std::string& pattern) {
                         return fnmatch(pattern.c_str(), name.c_str(), 0) == 0;
                       });
  }

  std::vector<fs::directory_entry> Entries(const std::string& directory) {
    std::vector<fs::directory_entry> entries;
    std::error_code error;
    fs::directory_iterator at(directory.empty() ? "." : directory, error);
    const bool opened = !error;
    while (!error && at != fs::directory_iterator()) {
      entries.push_back(*at);
      at.increment(error);
    }
    if (error && error != std::errc::no_such_file_or_directory) {
      const std::string name = directory.empty() ? "." : directory.substr(0, directory.size() - 1);
      progress_.Clear();
      problems_.Tell(name.empty() ? "/" : name,
                     (opened ? "can't read: " : "can't open: ") + SystemWords(error.value()));
    }
    std::sort(entries.begin(), entries.end());
    return entries;
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
  return Lister(choice, problems, progress).List();
}

bool LooksBinary(const std::string& file) {
  std::string start(8192, '\n');
  std::ifstream(file, std::ios::binary)
      .read(start.data(), static_cast<std::streamsize>(start.size()));
  return start.find('\0') != std::string::npos;
}

std::string Escaped(const std::string& name) {
  std::string escaped;
  for (const char c : name) {
    if (std::string_view(kSpecial).find(c) != std::string_view::npos) escaped += '\\';
    escaped += c;
  }
  return escaped;
}

}  // namespace tool
