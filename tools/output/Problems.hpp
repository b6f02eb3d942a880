// SPDX-License-Identifier: BSL-1.0
// What goes wrong, and the exit status that tells of it.
#ifndef REGEXCLASS_TOOLS_OUTPUT_PROBLEMS_HPP
#define REGEXCLASS_TOOLS_OUTPUT_PROBLEMS_HPP

#include <iostream>
#include <string>

#include "output/Printable.hpp"
#include "platform/System.hpp"

namespace tool {

enum ExitStatus : int {
  kMatch = 0,
  kNoMatch = 1,
  kError = 2,
  kInterrupted = 128,  ///< And the number of the signal.
};

/// Nobody reads the output any more.
class OutputClosed : public Failure {
 public:
  using Failure::Failure;
};

/// Tells of problems that the program goes on after, and remembers that there were some.
class Problems {
 public:
  void Tell(const std::string& what) {
    any_ = true;
    Note(what);
  }
  /// Remembers one that has been told otherwise.
  void Count() { any_ = true; }
  void Tell(const std::string& about, const std::string& what) { Tell(about + ": " + what); }
  /// What is worth saying but no problem.
  static void Note(const std::string& what) {
    std::cout.flush();  // keeps the order when both go to one place
    std::cerr << "regexclass: " << (MessagesGoToTerminal() ? PrintableName(what) : what) << '\n';
  }
  bool Any() const { return any_; }
  /// A problem outweighs a match.
  ExitStatus Status(bool matched) const {
    if (any_) return kError;
    return matched ? kMatch : kNoMatch;
  }

 private:
  bool any_ = false;
};

}  // namespace tool

#endif  // REGEXCLASS_TOOLS_OUTPUT_PROBLEMS_HPP
