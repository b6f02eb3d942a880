// What the commands that work on files have in common.
#ifndef REGEXCLASS_TOOLS_FILEJOB_HPP
#define REGEXCLASS_TOOLS_FILEJOB_HPP

#include <RegularExpression.hpp>
#include <vector>

#include "Commands.hpp"

namespace tool {

/// One run of a command: the object, ready to walk, and what its notifications need. Throws Failure
/// when the walk has no expression or no files.
struct FileJob {
  explicit FileJob(const Request& r);

  /// Tells what a walk has failed on; null for nothing.
  void TellSearchProblems(const std::vector<RE::FileSearchProblem>* list);

  const Request& request;
  const Style& style;
  Printer printer;
  Problems problems;
  Progress progress;
  RE object;
};

}  // namespace tool

#endif  // REGEXCLASS_TOOLS_FILEJOB_HPP
