// SPDX-License-Identifier: BSL-1.0
// A unified diff, from what is known of the changes.
#ifndef REGEXCLASS_TOOLS_OUTPUT_DIFF_HPP
#define REGEXCLASS_TOOLS_OUTPUT_DIFF_HPP

#include <cstddef>
#include <string>
#include <vector>

#include "output/Output.hpp"

namespace tool {

/// The bytes from `position` on that are `matched` become `replacement`.
struct Change {
  std::size_t position = 0;
  std::string matched;
  std::string replacement;
};

/// Prints the changes of a file, which come in ascending order and don't overlap, as `diff -u` has
/// them and `patch -p0` takes them. The content has what they match.
void PrintDiff(const Printer& printer, const std::string& file, const std::string& content,
               const std::vector<Change>& changes);

}  // namespace tool

#endif  // REGEXCLASS_TOOLS_OUTPUT_DIFF_HPP
