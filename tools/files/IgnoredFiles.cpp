// SPDX-License-Identifier: BSL-1.0
#include "files/IgnoredFiles.hpp"

#include <algorithm>
#include <cerrno>
#include <chrono>
#include <cstdio>
#include <cstdlib>
#include <map>
#include <unordered_map>
#include <utility>

#include "output/Problems.hpp"
#include "platform/FileSystem.hpp"
#include "platform/System.hpp"

namespace tool {

namespace {

using Names = std::vector<std::string>;
using NameSet = std::unordered_set<std::string>;

/// What was written to a stream, cut at `end`.
std::vector<std::string> ReadAll(std::FILE* stream, char end) {
  std::vector<std::string> texts;
  std::string text;
  std::rewind(stream);
  for (int c = std::fgetc(stream); c != EOF; c = std::fgetc(stream)) {
    if (c != end) {
      text += static_cast<char>(c);
    } else {
      texts.push_back(std::exchange(text, std::string()));
    }
  }
  return texts;
}

/// How long git may take for one repository.
std::chrono::seconds TimeLimit() {
  const char* const told = std::getenv("REGEXCLASS_GIT_SECONDS");
  const long seconds = told != nullptr ? std::strtol(told, nullptr, 10) : 0;
  return std::chrono::seconds(0 < seconds && seconds <= 1000000 ? seconds : 60);
}

/// Which of the names, relative to `directory`, the repository there ignores.
NameSet AskGit(const std::string& directory, const Names& names) {
  // A name after ./ can't be taken for one of git's special notations.
  static const std::string kHere = "./";
  const Stream in = TemporaryStream();
  const Stream out = TemporaryStream();
  const Stream messages = TemporaryStream();
  std::unordered_map<std::string, std::string> given;  // by the names that git has for them
  for (const std::string& name : names) {
    const std::string asked = kHere + WithSlashes(name);
    std::fwrite(asked.c_str(), 1, asked.size() + 1, in.get());
    given.emplace(asked, name);
  }
  if (std::fflush(in.get()) != 0 || std::ferror(in.get()) != 0) {
    throw Failure("can't write a temporary file: " + SystemWords(errno));
  }
  std::rewind(in.get());
  const std::string where = directory.empty() ? "." : directory;
  // No program that the repository's own configuration names, for its file system or to fetch what
  // it lacks: whoever made it is a stranger.
  const std::optional<int> status = RunProgram(
      {"git", "-c", "core.fsmonitor=false", "-C", where, "check-ignore", "-z", "--stdin"},
      {{"GIT_NO_LAZY_FETCH", "1"}, {"GIT_ALLOW_PROTOCOL", "none"}, {"GIT_TERMINAL_PROMPT", "0"}},
      TimeLimit(), in.get(), out.get(), messages.get());
  if (!status) throw Failure(where + ": git doesn't answer");
  if (*status == 127) throw Failure("--ignore-files needs git, which can't be run");
  // Its status is good even where it can't have a part of the rules.
  const std::vector<std::string> lines = ReadAll(messages.get(), '\n');
  const auto wrong = std::find_if(lines.begin(), lines.end(), [](const std::string& line) {
    return line.rfind("fatal: ", 0) == 0 || line.rfind("error: ", 0) == 0;
  });
  if (wrong != lines.end()) throw Failure(where + ": git: " + *wrong);
  if (*status > 1) throw Failure(where + ": git failed");
  NameSet ignored;
  for (const std::string& name : ReadAll(out.get(), '\0')) ignored.insert(given[name]);
  return ignored;
}

/// The repositories below a directory, each with a name relative to it as it stands before one.
class Repositories {
 public:
  explicit Repositories(std::string directory) : directory_(std::move(directory)) {
    rootOf_.emplace("", "");  // the one that the directory lies in, too
  }

  /// The one that what lies in a directory below belongs to.
  const std::string& RootOf(const std::string& below) {
    const auto known = rootOf_.find(below);
    if (known != rootOf_.end()) return known->second;
    const bool begins = StatusOfLink(directory_ + below + ".git").kind != FileStatus::kNothing;
    return rootOf_.emplace(below, begins ? below : RootOf(Above(below))).first->second;
  }
  static std::string Above(const std::string& root) { return DirectoryOf(WithoutEnd(root)); }
  static std::string WithoutEnd(const std::string& root) {
    return root.substr(0, root.find_last_not_of(kSeparators) + 1);
  }

 private:
  const std::string directory_;
  std::unordered_map<std::string, std::string> rootOf_;  // by the directory
};

}  // namespace

NameSet IgnoredFiles(const std::string& directory, const Names& names) {
  Repositories repositories(directory);
  std::map<std::string, Names> namesOf;  // by the root; that of the tree comes first
  for (const std::string& name : names) {
    std::string root = repositories.RootOf(DirectoryOf(name));
    namesOf[root].push_back(name);
    // One that lies in another may be ignored there as a whole.
    for (; !root.empty(); root = repositories.RootOf(Repositories::Above(root))) {
      Names& outer = namesOf[repositories.RootOf(Repositories::Above(root))];
      if (outer.empty() || outer.back() != root) outer.push_back(root);
    }
  }
  NameSet ignored;
  for (const auto& [root, its] : namesOf) {
    Names asked;
    for (const std::string& name : its) {
      asked.push_back(Repositories::WithoutEnd(name).substr(root.size()));
    }
    const bool whole = ignored.count(root) != 0;
    const NameSet found =
        whole ? NameSet(asked.begin(), asked.end()) : AskGit(directory + root, asked);
    for (std::size_t i = 0; i < its.size(); ++i) {
      if (found.count(asked[i]) != 0) ignored.insert(its[i]);
    }
  }
  return ignored;
}

}  // namespace tool
