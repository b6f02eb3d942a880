// SPDX-License-Identifier: BSL-1.0
// From a match to the sub-matches that a notification gets.
#ifndef REGEXCLASS_MATCHING_SUBMATCHES_HPP
#define REGEXCLASS_MATCHING_SUBMATCHES_HPP

#include <vector>

#include "RegularExpression.hpp"
#include "engine/Match.hpp"

namespace RegexClass {

/// Makes `subMatches` those of a report of `match`: the whole match, the groups, the prefix and the
/// suffix, which are empty without `context`. Reuses the memory that the vector and its texts have.
void ToReport(const engine::Match& match, bool context, std::vector<REMatch>& subMatches);

/// Makes `subMatches` the whole match and the groups of `match`, as those see them who get no
/// prefix and no suffix, in the same way.
void ToSubMatches(const engine::Match& match, std::vector<REMatch>& subMatches);

/// The line on which a match begins.
struct Line {
  unsigned int number;  // from 1
  unsigned int start;   // offset of its first character
};

/// Counts lines forward, from match to match, and never looks at a character twice.
class LineCounter {
 public:
  explicit LineCounter(const char* text) : text_(text), position_(text) {}

  /// The line of `position`, which doesn't lie before that of the last call.
  Line At(const char* position);
  /// Its number alone, which takes less time.
  unsigned int NumberAt(const char* position);

 private:
  const char* text_;
  const char* position_;
  unsigned int number_ = 1;
  Line line_ = {1, 0};  // of the last At()
};

}  // namespace RegexClass

#endif  // REGEXCLASS_MATCHING_SUBMATCHES_HPP
