// SPDX-License-Identifier: BSL-1.0
// New contents of files, from the matches that were recorded in them or from other files.
#ifndef REGEXCLASS_FILES_FILEREWRITING_HPP
#define REGEXCLASS_FILES_FILEREWRITING_HPP

#include <cstdint>
#include <deque>
#include <map>
#include <memory>
#include <string>
#include <vector>

#include "RegularExpression.hpp"
#include "object/Settings.hpp"
#include "platform/RewriteTarget.hpp"
#include "platform/TemporaryFile.hpp"

namespace RegexClass {

/// One recorded replacement.
struct PendingChange {
  std::uint64_t position;   // of the match, from the start of the unchanged file
  std::string matched;      // the bytes there
  std::string replacement;  // the bytes that take their place
};

/// The changes of one file, by ascending position; the matches don't overlap.
using PendingChanges = std::deque<PendingChange>;  // there may be millions

/// Rewrites one file after the other, and gathers their problems in its order.
///
/// A file is opened once, must be the one that was found, and stays locked to the end. Its new
/// content is made in a temporary file; for changes it is a replay, in which the bytes between
/// matches are copied and each match is compared with what was recorded. Only when that has all
/// come about, and is on the device, is a copy saved, unless the settings want none, and a new file
/// with the new content put in the place of the old. Where that can't be done or can't keep owner,
/// links and attributes, the content is copied over the old, the mode put back, and when the
/// copying breaks off the old content too. Holds no more of a file in memory than a few blocks.
class FileRewriter {
 public:
  using Problem = RegularExpression::FileChangeProblem;
  class Content;

  /// What the two kinds of settings say is asked anew for each file. `problems` gets a problem for
  /// each file that stays as it was.
  FileRewriter(const Settings& settings, const RewritingSettings& rewriting,
               std::vector<Problem>& problems);
  FileRewriter(const FileRewriter&) = delete;
  ~FileRewriter();

  /// Replaces the matches of `changes` in the file, which isn't touched when that makes no
  /// difference.
  void Change(const platform::FoundFile& file, PendingChanges changes);
  /// Replaces the content of the file by that of another.
  void Replace(const platform::FoundFile& file, const platform::FoundFile& source);
  /// Adds a problem to those of the files.
  void Tell(const Problem& problem);
  /// Finishes the files that wait for others to be finished together with them. Those that wait at
  /// the end of the object stay as they were.
  void Flush();

  /// Whether a problem has put an end to the run.
  bool GivenUp() const;
  /// The number of changes in the files that are finished.
  unsigned int ChangesApplied() const { return changesApplied_; }

 private:
  struct Rewriting;

  void Rewrite(const platform::FoundFile& file, std::unique_ptr<Content> content);
  void Prepare(Rewriting& rewriting);
  void PrepareCopy(Rewriting& rewriting);
  void Queue(Rewriting rewriting);
  /// `synced` has what came of bringing new files to the device.
  void Publish(Rewriting& rewriting, const std::map<platform::File*, platform::Error>& synced);
  void WriteOver(Rewriting& rewriting);

  // What waits takes no more than this.
  static constexpr std::uint64_t kMostBytes = std::uint64_t{16} << 20;
  static constexpr std::size_t kMostChanges = std::size_t{1} << 16;

  const Settings& settings_;
  const RewritingSettings& rewriting_;
  std::vector<Problem>& problems_;
  std::vector<Rewriting> queue_;
  std::uint64_t bytesInHand_ = 0;
  std::size_t changesInHand_ = 0;
  unsigned int changesApplied_ = 0;
};

/// The name of the saved copy: `extension` in place of what stands after the last dot of the whole
/// name, directories included; without a dot, appended after one.
std::string SavedCopyName(const std::string& file, const std::string& extension);

}  // namespace RegexClass

#endif  // REGEXCLASS_FILES_FILEREWRITING_HPP
