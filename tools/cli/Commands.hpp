// SPDX-License-Identifier: BSL-1.0
// The commands of the tool. Each takes a command line that has been taken apart, does its work and
// returns the exit status; it throws Failure when there is nothing more to do.
#ifndef REGEXCLASS_TOOLS_CLI_COMMANDS_HPP
#define REGEXCLASS_TOOLS_CLI_COMMANDS_HPP

#include <cstdint>
#include <optional>
#include <string>
#include <vector>

#include "cli/SetUp.hpp"
#include "files/FileList.hpp"
#include "output/LineWriter.hpp"
#include "output/Names.hpp"
#include "output/Output.hpp"
#include "output/Problems.hpp"

namespace tool {

struct Request {
  SetUp setUp;
  Style style;
  std::vector<std::string> inputs;  ///< Files, or patterns of files, after the expression.
  FileChoice choice;                ///< But for the arguments, which are the inputs.
  LineChoice lines;
  std::optional<std::string> writeTo;
  std::optional<std::uint64_t> maximumCount;
  std::optional<std::string> undo;
  unsigned int jobs = 1;
  bool wholeInput = false;
  bool wholeText = false;
  bool wholeLines = false;
  bool wholeWords = false;
  bool dryRun = false;
  bool diff = false;
};

ExitStatus RunMatch(const Request& request);
ExitStatus RunSearch(const Request& request);
ExitStatus RunGrep(const Request& request);
ExitStatus RunFormat(const Request& request);
ExitStatus RunMerge(const Request& request);
ExitStatus RunSplit(const Request& request);

ExitStatus RunGrepFiles(const Request& request);
ExitStatus RunFindFiles(const Request& request);
ExitStatus RunChangeFiles(const Request& request);

ExitStatus RunSettings(const Request& request);

/// Throws Failure, with the reason, when the expression can't be used, or the request refuses it.
void CheckExpression(RE& object, const Request& request, bool mayBeEmpty = false);

/// Makes an expression that is good match whole words or whole lines alone, where the request asks
/// for that. Throws Failure when it can't.
void NarrowExpression(RE& object, const Request& request);

}  // namespace tool

#endif  // REGEXCLASS_TOOLS_CLI_COMMANDS_HPP
