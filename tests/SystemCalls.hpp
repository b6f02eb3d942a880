// SPDX-License-Identifier: BSL-1.0
// The calls of the system that the library makes, in the test's hand.
//
// What a program defines takes the place of the C library's, for shared libraries, too: these are
// in the programs that SystemCalls.cpp belongs to.
#ifndef REGEXCLASS_TESTS_SYSTEMCALLS_HPP
#define REGEXCLASS_TESTS_SYSTEMCALLS_HPP

#include <array>
#include <functional>
#include <string_view>
#include <utility>

namespace RegexClass::test {

/// All that they take is numbers and pointers, which are passed alike as words.
using Words = std::array<long, 5>;

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

/// Makes a call, by the hook if there is one.
long CallSystem(std::string_view name, Words arguments);

}  // namespace RegexClass::test

#endif  // REGEXCLASS_TESTS_SYSTEMCALLS_HPP
