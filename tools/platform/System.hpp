// SPDX-License-Identifier: BSL-1.0
// What the tool asks of the system it runs on, beside files: with an implementation in a folder for
// each.
#ifndef REGEXCLASS_TOOLS_PLATFORM_SYSTEM_HPP
#define REGEXCLASS_TOOLS_PLATFORM_SYSTEM_HPP

#include <chrono>
#include <cstdint>
#include <cstdio>
#include <cstring>
#include <map>
#include <memory>
#include <optional>
#include <stdexcept>
#include <string>
#include <vector>

namespace tool {

/// Ends the program as an error does; its text goes to standard error.
class Failure : public std::runtime_error {
 public:
  using std::runtime_error::runtime_error;
};

/// The system's words for one of its error numbers.
inline std::string SystemWords(int number) { return std::strerror(number); }

/// Lets standard streams carry bytes as they are, and a terminal show text as the program has it,
/// for as long as what it returns exists.
std::shared_ptr<void> BeginSession();

/// Whether standard output is a terminal, and one that takes colours.
bool OutputIsTerminal();
/// Whether standard error is a terminal.
bool MessagesGoToTerminal();

/// The number of errno for the last write that has failed; 0 when it isn't known.
int WriteErrno();

/// Whether names and the texts of the user's locale are UTF-8.
bool SpeaksUtf8();

/// The system's words for the number that the library has for a failure.
std::string LibraryWords(std::uint32_t code);

/// From now on an interruption doesn't end the program, nor does output that nobody reads any more.
void NoteInterruptions();
/// The number of the signal that has come since then; 0 for none.
int Interruption();

/// A file without a name, for both reading and writing.
using Stream = std::unique_ptr<std::FILE, int (*)(std::FILE*)>;
/// Throws Failure.
Stream TemporaryStream();
/// Runs a program that is found as a shell finds it, with some variables of its environment set,
/// and returns its exit status: 127 when it can't be run, none when it takes longer than the limit
/// and is ended.
std::optional<int> RunProgram(const std::vector<std::string>& words,
                              const std::map<std::string, std::string>& variables,
                              std::chrono::milliseconds limit, std::FILE* in, std::FILE* out,
                              std::FILE* err);

}  // namespace tool

#endif  // REGEXCLASS_TOOLS_PLATFORM_SYSTEM_HPP
