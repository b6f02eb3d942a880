// SPDX-License-Identifier: BSL-1.0
#include "platform/System.hpp"

#include <atomic>
#include <clocale>
#include <csignal>
#include <cstdlib>
#include <fcntl.h>
#include <io.h>
#include <iostream>
#include <system_error>

#include "platform/windows/Handle.hpp"

// Keeps the start of programs from taking arguments for patterns, which are the tool's to read.
extern "C" {
extern int _dowildcard;
int _dowildcard = 0;
}

namespace tool {

namespace {

std::atomic<int> interruption{0};

BOOL WINAPI OnConsoleEvent(DWORD event) {
  const bool key = event == CTRL_C_EVENT || event == CTRL_BREAK_EVENT;
  interruption = key ? SIGINT : SIGTERM;
  if (!key) Sleep(INFINITE);  // the program has until its end, or until the system loses patience
  return TRUE;
}

bool TakesSequences(DWORD which) {
  const HANDLE handle = GetStdHandle(which);
  DWORD mode = 0;
  constexpr DWORD kSequences = 4;  // ENABLE_VIRTUAL_TERMINAL_PROCESSING
  return GetConsoleMode(handle, &mode) && SetConsoleMode(handle, mode | kSequences);
}

/// The word as the program's start takes it from the command line.
std::string Quoted(const std::string& word) {
  std::string quoted = "\"";
  std::size_t backslashes = 0;
  for (const char c : word) {
    if (c == '"') quoted.append(backslashes + 1, '\\');
    backslashes = c == '\\' ? backslashes + 1 : 0;
    quoted += c;
  }
  return quoted.append(backslashes, '\\') + '"';
}

/// The program's file, which lies in a directory of PATH and not just in the current one.
std::string Found(const std::string& program) {
  const char* const directories = std::getenv("PATH");
  std::string path(32768, '\0');
  path.resize(directories == nullptr
                  ? 0
                  : SearchPathA(directories, program.c_str(), ".exe",
                                static_cast<DWORD>(path.size()), path.data(), nullptr));
  return path;
}

}  // namespace

std::shared_ptr<void> BeginSession() {
  for (std::FILE* const stream : {stdin, stdout, stderr}) _setmode(_fileno(stream), _O_BINARY);
  // The C library here knows no locale in UTF-8: bytes that aren't ASCII stay letters of none.
  if (!SpeaksUtf8()) std::setlocale(LC_ALL, "");
  const UINT before = GetConsoleOutputCP();
  if (before == 0) return nullptr;  // there is no console
  SetConsoleOutputCP(GetACP());
  return {nullptr, [before](void*) {
            std::cout.flush();
            SetConsoleOutputCP(before);
          }};
}

bool OutputIsTerminal() {
  static const bool terminal = TakesSequences(STD_OUTPUT_HANDLE);
  return terminal;
}

bool MessagesGoToTerminal() { return TakesSequences(STD_ERROR_HANDLE); }

int WriteErrno() {
  switch (_doserrno) {  // for which the C library has EINVAL
    case ERROR_BROKEN_PIPE:
    case ERROR_NO_DATA:
    case ERROR_PIPE_NOT_CONNECTED:
      return EPIPE;
    default:
      return errno;
  }
}

bool SpeaksUtf8() { return GetACP() == CP_UTF8; }

std::string LibraryWords(std::uint32_t code) {
  const auto number = static_cast<int>(code);
  const auto condition = std::system_category().default_error_condition(number);
  // That a file is in use the system says better.
  const bool known = condition.category() == std::generic_category() &&
                     condition != std::errc::device_or_resource_busy;
  return known ? condition.message() : std::system_category().message(number);
}

void NoteInterruptions() { SetConsoleCtrlHandler(OnConsoleEvent, TRUE); }

int Interruption() { return interruption; }

Stream TemporaryStream() {
  char directory[MAX_PATH + 1] = "";
  char name[MAX_PATH + 1] = "";
  Stream stream(nullptr, &std::fclose);
  if (GetTempPathA(sizeof directory, directory) != 0 &&
      GetTempFileNameA(directory, "regexclass", 0, name) != 0) {
    stream.reset(std::fopen(name, "w+bD"));  // removed when it is closed
  }
  if (stream == nullptr) throw Failure("can't make a temporary file: " + SystemWords(LastErrno()));
  return stream;
}

std::optional<int> RunProgram(const std::vector<std::string>& words,
                              const std::map<std::string, std::string>& variables,
                              std::chrono::milliseconds limit, std::FILE* in, std::FILE* out,
                              std::FILE* err) {
  const auto handleOf = [](std::FILE* stream) {
    return reinterpret_cast<HANDLE>(_get_osfhandle(_fileno(stream)));
  };
  std::string line;
  for (const std::string& word : words) line += Quoted(word) + ' ';
  const std::string program = Found(words[0]);
  // Which the program that is run inherits, and this one has no use for.
  for (const auto& [name, value] : variables) {
    SetEnvironmentVariableA(name.c_str(), value.c_str());
  }
  STARTUPINFOA start = {};
  start.cb = sizeof start;
  start.dwFlags = STARTF_USESTDHANDLES;
  start.hStdInput = handleOf(in);
  start.hStdOutput = handleOf(out);
  start.hStdError = handleOf(err);
  PROCESS_INFORMATION process = {};
  if (program.empty() || !CreateProcessA(program.c_str(), line.data(), nullptr, nullptr, TRUE, 0,
                                         nullptr, nullptr, &start, &process)) {
    return 127;
  }
  const Handle thread(process.hThread);
  const Handle running(process.hProcess);
  DWORD status = 127;
  if (WaitForSingleObject(running.get(), static_cast<DWORD>(limit.count())) == WAIT_TIMEOUT) {
    TerminateProcess(running.get(), status);
    return std::nullopt;
  }
  GetExitCodeProcess(running.get(), &status);
  return static_cast<int>(status);
}

}  // namespace tool
