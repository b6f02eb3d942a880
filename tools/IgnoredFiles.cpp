// SPDX-License-Identifier: BSL-1.0
#include "IgnoredFiles.hpp"

#include <cerrno>
#include <cstdio>
#include <memory>
#include <spawn.h>
#include <sys/wait.h>
#include <unistd.h>
#include <utility>

#include "Problems.hpp"

namespace tool {

namespace {

using Stream = std::unique_ptr<std::FILE, int (*)(std::FILE*)>;

/// A file without a name, so that git can read and write at its own pace.
Stream TemporaryStream() {
  Stream stream(std::tmpfile(), &std::fclose);
  if (stream == nullptr) throw Failure("can't make a temporary file: " + SystemWords(errno));
  return stream;
}

/// Runs a command and gives its exit status; 127 when it can't be run.
int Run(std::vector<std::string> words, std::FILE* in, std::FILE* out, std::FILE* err) {
  std::vector<char*> arguments;
  for (std::string& word : words) arguments.push_back(word.data());
  arguments.push_back(nullptr);
  posix_spawn_file_actions_t actions;
  posix_spawn_file_actions_init(&actions);
  posix_spawn_file_actions_adddup2(&actions, fileno(in), STDIN_FILENO);
  posix_spawn_file_actions_adddup2(&actions, fileno(out), STDOUT_FILENO);
  posix_spawn_file_actions_adddup2(&actions, fileno(err), STDERR_FILENO);
  pid_t child = 0;
  const int error =
      posix_spawnp(&child, arguments[0], &actions, nullptr, arguments.data(), environ);
  posix_spawn_file_actions_destroy(&actions);
  int status = 0;
  if (error != 0 || waitpid(child, &status, 0) != child || !WIFEXITED(status)) return 127;
  return WEXITSTATUS(status);
}

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
  for (const std::string& name : names) {
    std::fputs((kHere + name).c_str(), in.get());
    std::fputc('\0', in.get());
  }
  std::rewind(in.get());
  const std::string where = directory.empty() ? "." : directory;
  const int status = Run({"git", "-C", where, "check-ignore", "-z", "--stdin"}, in.get(), out.get(),
                         messages.get());
  if (status == 127) throw Failure("--ignore-files needs git, which can't be run");
  if (status > 1) {
    const std::vector<std::string> lines = ReadAll(messages.get(), '\n');
    throw Failure(where + ": " + (lines.empty() ? "git failed" : "git: " + lines[0]));
  }
  std::unordered_set<std::string> ignored;
  for (const std::string& name : ReadAll(out.get(), '\0'))
    ignored.insert(name.substr(kHere.size()));
  return ignored;
}

}  // namespace tool
