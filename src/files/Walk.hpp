// What the three operations on files have in common.
#ifndef REGEXCLASS_FILES_WALK_HPP
#define REGEXCLASS_FILES_WALK_HPP

#include <vector>

#include "files/RegEx.hpp"
#include "object/ExpressionState.hpp"

namespace RegexClass {

/// Prepares `walker` by the settings of `state`. False when there is nothing to walk or nothing
/// to search for: an empty expression or pattern, or an expression that the walker refuses.
bool PrepareWalker(ombrik::RegEx& walker, ExpressionState& state);

/// The marks of the match that `walker` has in hand, as a notification gets them: without the text
/// before and behind.
std::vector<REMatch> MarksOf(const ombrik::RegEx& walker);

}  // namespace RegexClass

#endif  // REGEXCLASS_FILES_WALK_HPP
