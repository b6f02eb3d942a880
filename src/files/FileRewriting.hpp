// SPDX-License-Identifier: BSL-1.0
// The new content of one file, from the matches that were recorded in it.
#ifndef REGEXCLASS_FILES_FILEREWRITING_HPP
#define REGEXCLASS_FILES_FILEREWRITING_HPP

#include <cstdint>
#include <deque>
#include <string>
#include <vector>

#include "RegularExpression.hpp"
#include "platform/FileServices.hpp"

namespace RegexClass {

/// One recorded replacement.
struct PendingChange {
  std::uint64_t position;   // of the match, from the start of the unchanged file
  std::string matched;      // the bytes there
  std::string replacement;  // the bytes that take their place
};

/// The changes of one file, by ascending position; the matches don't overlap.
using PendingChanges = std::deque<PendingChange>;  // there may be millions

/// Replaces the matches of `changes` in `file`, and gives their number; 0 when the file stays as
/// it was, and then `problems` has got the reason. `file` may have no name, which stands for no
/// file.
///
/// The file is opened once, must be the one that was found, and stays locked to the end. It is
/// replayed into a temporary file: the bytes between matches are copied, each match is compared
/// with what was recorded. Only when that has all come about is a copy saved, unless
/// `saveExtension` is empty, and a new file with the new content put in the place of the old. Where
/// that can't be done or can't keep owner, links and attributes, the content is copied over the
/// old, the mode put back, and when the copying breaks off the old content too, from the temporary
/// file and the changes. Holds no more of the file in memory than a few blocks.
unsigned int ApplyPendingChanges(platform::FileServices& services, const platform::FoundFile& file,
                                 const PendingChanges& changes, const std::string& saveExtension,
                                 std::vector<RegularExpression::FileChangeProblem>& problems);

/// The name of the saved copy: `extension` in place of what stands behind the last dot of the whole
/// name, directories included; without a dot, appended behind one.
std::string SavedCopyName(const std::string& file, const std::string& extension);

}  // namespace RegexClass

#endif  // REGEXCLASS_FILES_FILEREWRITING_HPP
