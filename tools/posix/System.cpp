// SPDX-License-Identifier: BSL-1.0
#include "System.hpp"

#include <atomic>
#include <cerrno>
#include <clocale>
#include <csignal>
#include <langinfo.h>
#include <spawn.h>
#include <sys/wait.h>
#include <unistd.h>

#include "Problems.hpp"

namespace tool {

namespace {

std::atomic<int> interruption{0};

}  // namespace

std::shared_ptr<void> BeginSession() {
  std::setlocale(LC_ALL, "");
  return nullptr;
}

bool OutputIsTerminal() {
  static const bool terminal = isatty(STDOUT_FILENO) != 0;
  return terminal;
}

bool MessagesGoToTerminal() { return isatty(STDERR_FILENO) != 0; }

int WriteErrno() { return errno; }

bool SpeaksUtf8() { return nl_langinfo(CODESET) == std::string("UTF-8"); }

std::string LibraryWords(std::uint32_t code) { return SystemWords(static_cast<int>(code)); }

void NoteInterruptions() {
  for (const int signal : {SIGINT, SIGTERM, SIGHUP}) {
    // One that the program was started to ignore stays ignored.
    if (std::signal(signal, [](int number) { interruption = number; }) == SIG_IGN) {
      std::signal(signal, SIG_IGN);
    }
  }
  std::signal(SIGPIPE, SIG_IGN);
}

int Interruption() { return interruption; }

Stream TemporaryStream() {
  Stream stream(std::tmpfile(), &std::fclose);
  if (stream == nullptr) throw Failure("can't make a temporary file: " + SystemWords(errno));
  return stream;
}

int RunProgram(const std::vector<std::string>& words, std::FILE* in, std::FILE* out,
               std::FILE* err) {
  std::vector<std::string> copies = words;
  std::vector<char*> arguments;
  arguments.reserve(copies.size() + 1);
  for (std::string& word : copies) arguments.push_back(word.data());
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

}  // namespace tool
