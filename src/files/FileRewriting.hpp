// The new content of one file, from the matches that were recorded in it.
#ifndef REGEXCLASS_FILES_FILEREWRITING_HPP
#define REGEXCLASS_FILES_FILEREWRITING_HPP

#include <cstdint>
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
using PendingChanges = std::vector<PendingChange>;

/// Replaces the matches of `changes` in `file`, and gives their number; 0 when the file stays as
/// it was, and then `problems` has got the reason. `file` may be empty, which stands for no file.
///
/// The file is replayed into a temporary file: the bytes between matches are copied, each match is
/// compared with what was recorded. Only when that has all come about is a copy saved, unless
/// `saveExtension` is empty, and the new content copied over the old, so that the file keeps its
/// owner, links and extended attributes; its mode is put back. When the last copy breaks off, the
/// old content is put back from the temporary file and the changes. Holds no more of the file in
/// memory than the stretch between two matches.
unsigned int ApplyPendingChanges(platform::FileServices& services, const std::string& file,
                                 const PendingChanges& changes, const std::string& saveExtension,
                                 std::vector<RegularExpression::FileChangeProblem>& problems);

/// The name of the saved copy: `extension` in place of what stands behind the last dot of the whole
/// name, directories included; without a dot, appended behind one.
std::string SavedCopyName(const std::string& file, const std::string& extension);

}  // namespace RegexClass

#endif  // REGEXCLASS_FILES_FILEREWRITING_HPP
