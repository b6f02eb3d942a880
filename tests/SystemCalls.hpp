// SPDX-License-Identifier: BSL-1.0
// The calls of the system that the library makes, in the test's hand.
//
// Each system has a source of its own for that, and the programs that it belongs to have the calls
// hooked.
#ifndef REGEXCLASS_TESTS_SYSTEMCALLS_HPP
#define REGEXCLASS_TESTS_SYSTEMCALLS_HPP

#include <array>
#include <cstdint>
#include <functional>
#include <string_view>
#include <utility>

namespace RegexClass::test {

/// All that they take is numbers and pointers, which are passed alike as words.
using Word = std::intptr_t;
using Words = std::array<Word, 7>;

/// Runs just before each call, with its name and its arguments, and gives the error that it is to
/// fail with, or 0. It may change the arguments; a transfer that fails is made all the same, so
/// that it can be made to break off. The calls that it makes itself aren't seen.
using SystemCallHook = std::function<int(std::string_view name, Words& arguments)>;
inline thread_local const SystemCallHook* systemCallHook = nullptr;

/// Has a hook in force for the life of the object.
class HookedSystemCalls {
 public:
  explicit HookedSystemCalls(SystemCallHook hook) : hook_(std::move(hook)) {
    systemCallHook = &hook_;
  }
  HookedSystemCalls(const HookedSystemCalls&) = delete;
  ~HookedSystemCalls() { systemCallHook = nullptr; }

 private:
  const SystemCallHook hook_;
};

/// What the hook, if there is one, has to say of a call.
inline int AskHook(std::string_view name, Words& arguments) {
  const SystemCallHook* const hook = std::exchange(systemCallHook, nullptr);
  const int error = hook != nullptr ? (*hook)(name, arguments) : 0;
  systemCallHook = hook;
  return error;
}

/// Makes a call, by the hook if there is one.
Word CallSystem(std::string_view name, Words arguments);

inline bool IsTransfer(std::string_view name) {
  return name == "read" || name == "write" || name == "ReadFile" || name == "WriteFile";
}
/// Makes a transfer half as long; the size is the third argument of the calls that have one.
inline void Halve(Words& arguments) { arguments[2] -= arguments[2] / 2; }

}  // namespace RegexClass::test

#endif  // REGEXCLASS_TESTS_SYSTEMCALLS_HPP
