// SPDX-License-Identifier: BSL-1.0
#include "IgnoredFiles.hpp"

#include <cerrno>
#include <cstdio>
#include <unordered_map>
#include <utility>

#include "FileSystem.hpp"
#include "Problems.hpp"
#include "System.hpp"

namespace tool {

namespace {

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

}  // namespace

std::unordered_set<std::string> IgnoredFiles(const std::string& directory,
                                             const std::vector<std::string>& names) {
  // A name behind ./ can't be taken for one of git's special notations.
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
  // No program that the repository's own configuration names: whoever made it is a stranger.
  const int status = RunProgram(
      {"git", "-c", "core.fsmonitor=false", "-C", where, "check-ignore", "-z", "--stdin"}, in.get(),
      out.get(), messages.get());
  if (status == 127) throw Failure("--ignore-files needs git, which can't be run");
  if (status > 1) {
    const std::vector<std::string> lines = ReadAll(messages.get(), '\n');
    throw Failure(where + ": " + (lines.empty() ? "git failed" : "git: " + lines[0]));
  }
  std::unordered_set<std::string> ignored;
  for (const std::string& name : ReadAll(out.get(), '\0')) ignored.insert(given[name]);
  return ignored;
}

}  // namespace tool
