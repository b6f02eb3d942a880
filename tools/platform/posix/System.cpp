// SPDX-License-Identifier: BSL-1.0
#include "platform/System.hpp"

#include <algorithm>
#include <atomic>
#include <cerrno>
#include <clocale>
#include <csignal>
#include <langinfo.h>
#include <spawn.h>
#include <string_view>
#include <sys/wait.h>
#include <thread>
#include <unistd.h>

namespace tool {

namespace {

std::atomic<int> interruption{0};

/// For a call of the system: with a null pointer at the end.
std::vector<char*> PointersTo(std::vector<std::string>& texts) {
  std::vector<char*> pointers;
  pointers.reserve(texts.size() + 1);
  for (std::string& text : texts) pointers.push_back(text.data());
  pointers.push_back(nullptr);
  return pointers;
}

std::vector<std::string> EnvironmentWith(const std::map<std::string, std::string>& variables) {
  std::vector<std::string> environment;
  for (char** at = environ; *at != nullptr; ++at) {
    const std::string_view entry = *at;
    const std::string name(entry.substr(0, entry.find('=')));
    if (variables.count(name) == 0) environment.emplace_back(entry);
  }
  for (const auto& [name, value] : variables)
    environment.emplace_back(name).append("=").append(value);
  return environment;
}

/// Waits for a child, and ends it at the limit; returns its exit status.
std::optional<int> WaitFor(pid_t child, std::chrono::milliseconds limit) {
  using std::chrono::milliseconds;
  int status = 0;
  milliseconds waited{0};
  for (milliseconds step{1}; waitpid(child, &status, WNOHANG) == 0;
       step = std::min(2 * step, milliseconds{50})) {
    if (waited >= limit) {
      kill(child, SIGKILL);
      waitpid(child, &status, 0);
      return std::nullopt;
    }
    std::this_thread::sleep_for(step);
    waited += step;
  }
  return WIFEXITED(status) ? WEXITSTATUS(status) : 127;
}

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

std::optional<int> RunProgram(const std::vector<std::string>& words,
                              const std::map<std::string, std::string>& variables,
                              std::chrono::milliseconds limit, std::FILE* in, std::FILE* out,
                              std::FILE* err) {
  std::vector<std::string> arguments = words;
  std::vector<std::string> environment = EnvironmentWith(variables);
  posix_spawn_file_actions_t actions;
  posix_spawn_file_actions_init(&actions);
  posix_spawn_file_actions_adddup2(&actions, fileno(in), STDIN_FILENO);
  posix_spawn_file_actions_adddup2(&actions, fileno(out), STDOUT_FILENO);
  posix_spawn_file_actions_adddup2(&actions, fileno(err), STDERR_FILENO);
  pid_t child = 0;
  const int error = posix_spawnp(&child, arguments[0].c_str(), &actions, nullptr,
                                 PointersTo(arguments).data(), PointersTo(environment).data());
  posix_spawn_file_actions_destroy(&actions);
  return error != 0 ? 127 : WaitFor(child, limit);
}

}  // namespace tool
