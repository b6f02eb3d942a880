// SPDX-License-Identifier: BSL-1.0
// What the commands that work on files have in common.
#ifndef REGEXCLASS_TOOLS_CLI_FILEJOB_HPP
#define REGEXCLASS_TOOLS_CLI_FILEJOB_HPP

#include <RegularExpression.hpp>
#include <cstddef>
#include <functional>
#include <map>
#include <optional>
#include <set>
#include <sstream>
#include <string>
#include <string_view>
#include <utility>
#include <vector>

#include "cli/Commands.hpp"
#include "files/FileList.hpp"
#include "files/Workers.hpp"

namespace tool {

/// What went wrong in the parts of a run, in words.
using PartMessages = std::map<std::size_t, std::vector<std::string>>;

/// One run of a command: the choice of the files, and the object that each worker gets a copy of.
struct FileJob {
  struct FilesAlone {};
  /// Throws Failure when the expression can't be used, but for a run on files alone.
  explicit FileJob(const Request& r);
  FileJob(const Request& r, FilesAlone);

  /// All files, and tells of what is wrong with them. Throws Failure when none is named.
  std::vector<ListedFile> List();
  void Tell(const PartMessages& messages);

  const Request& request;
  const Style& style;
  Problems problems;
  Progress progress;
  RE object;
  FileChoice choice;
};

/// How many files a worker is to get at a time: so few that none waits long for another.
constexpr std::size_t kPartSize = 64;

/// A worker's own object and output.
struct Worker {
  explicit Worker(const FileJob& job)
      : object(job.object), printer(Printer::OfFiles(job.style, out)) {}
  /// What has been printed since the last call.
  std::string TakeOutput();

  RE object;
  std::ostringstream out;
  Printer printer;
};

/// The content of a file as the library reads it: never of a pipe or a device, and by a name of any
/// length; as if it were empty when it can't be read.
std::string ContentOf(const std::string& file);

/// The search through one part of the files.
class PartSearch {
 public:
  PartSearch(FileJob& job, const FilePart& part) : job_(job), part_(part) {}

  /// Answers whether more matches of the file are wanted.
  using OnMatch = std::function<bool(
      const ListedFile& file, const std::vector<RegexClass::REMatch>& match, unsigned int line)>;
  using OnFile = std::function<void(const ListedFile& file)>;

  /// Reports each match. `done` is told of each file after its matches and `without`, if it isn't
  /// empty, of each that has none, in the order of the list.
  void GrepFiles(RE& object, const OnMatch& match, const OnFile& done, const OnFile& without);
  /// Reports each file with a match, and then those without. Either function may be empty.
  void FindFiles(RE& object, const OnFile& with, const OnFile& without);

  /// What failed, in words.
  const std::vector<std::string>& Failures() const { return failures_; }
  /// Whether a failure has ended the search.
  bool Stopped() const { return !failures_.empty() && !job_.object.GetContinueFiles(); }

 private:
  std::string Patterns() const;
  void Prepare(RE& object);
  void FailIn(const RE::FileSearchProblem& problem);
  /// The file of this name that the walk has come to; null for one that isn't wanted.
  const ListedFile* Meet(const std::string& name, std::string_view content, const OnFile& without);
  /// The file of the part with this name, from `from` on; the part's end when there is none.
  std::size_t Find(const std::string& name, std::size_t from) const;
  void PassTo(std::size_t file, const OnFile& without);
  void Take(const std::vector<RE::FileSearchProblem>* problems);
  /// Reads the file when no content is given.
  bool IsUnwanted(const ListedFile& file, std::optional<std::string_view> content = {}) const;
  std::size_t End() const;

  FileJob& job_;
  const FilePart& part_;
  std::function<ListedFile(const std::string& name)> listed_;  // when the part is a walk
  ListedFile met_;                                             // by the walk
  std::size_t next_ = 0;  // the first file that nothing has been told of
  std::set<std::size_t> failed_;
  std::vector<std::string> failures_;
};

}  // namespace tool

#endif  // REGEXCLASS_TOOLS_CLI_FILEJOB_HPP
