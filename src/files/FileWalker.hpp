// SPDX-License-Identifier: BSL-1.0
// The file walker: one expression, searched for in each file of a pattern.
#ifndef REGEXCLASS_FILES_FILEWALKER_HPP
#define REGEXCLASS_FILES_FILEWALKER_HPP

#include <cstdint>
#include <functional>
#include <memory>
#include <string>
#include <string_view>
#include <utility>
#include <vector>

#include "engine/Expression.hpp"
#include "files/FileSelection.hpp"
#include "matching/SubMatches.hpp"
#include "object/Settings.hpp"
#include "platform/FileReader.hpp"

namespace RegexClass {

/// The problem with a directory whose names can't be told.
RegularExpression::SearchProblemKind KindOfDirectoryProblem(bool opened);

/// Visits files, searches them and reports, on the caller's thread.
///
/// A walk isn't disturbed by other walkers, on this thread or another, nor by what becomes of the
/// settings that it was made of. A report may throw; the exception passes to the caller of the
/// walk.
class FileWalker {
 public:
  /// Called with the walker, whose last operations tell what it has found during the call. False
  /// asks for no more reports of this file.
  using Report = std::function<bool(const FileWalker&)>;
  using Problem = RegularExpression::FileSearchProblem;
  using Problems = std::vector<Problem>;
  /// Told of each problem when the walk meets it.
  using ReportProblem = std::function<void(const Problem&)>;
  /// Asked about each entry of a directory, as FileVisitor::select.
  using Select = decltype(FileVisitor::select);

  /// A walker by the settings, which searches for `expression`. `found` is what becomes of links
  /// that no pattern spells out.
  FileWalker(const Settings& settings, std::shared_ptr<const engine::Expression> expression,
             const engine::SearchSettings& searchSettings, platform::Links found, Select select);

  void SetReportProblem(ReportProblem report) { reportProblem_ = std::move(report); }

  /// Reports each match in each file. Returns the number of reports. The matches of a file come
  /// together, ascending and without overlap, when the file has been read and closed.
  unsigned int Grep(const Report& report);
  /// Reports each file that holds a match, of which there is no more to report. Returns the number
  /// of reports.
  unsigned int Find(const Report& report);

  /// What the walk has failed on, in its order.
  const Problems& SearchProblems() const { return problems_; }

  // What is reported. A mark is the whole match (0) or a group.

  /// The file in hand.
  const platform::FoundFile& File() const { return file_; }
  std::string_view Content() const { return reader_.Text(); }

  // The match in hand, in a report of Grep().

  /// The sub-matches, as a notification gets them: without the text before and after. Good until
  /// the next call.
  const std::vector<REMatch>& SubMatches() const;
  /// The offset of the match from the start of the file.
  std::uint32_t Position() const {
    return static_cast<std::uint32_t>((*match_)[0].first - reader_.Text().data());
  }
  /// The bytes of the match.
  std::string Text() const { return (*match_)[0].Text(); }
  /// The line on which the match begins, from 1.
  unsigned int Line() const { return lines_.NumberAt((*match_)[0].first); }

 private:
  /// Visits the files. `search` searches the text of one.
  template <class Search>
  unsigned int Visit(Search search);
  bool RaiseReport(const Report& report);
  bool Fail(const std::string& file, RegularExpression::SearchProblemKind kind, int number);

  const std::shared_ptr<const engine::Expression> expression_;
  const engine::SearchSettings searchSettings_;
  const platform::Links foundLinks_;
  const Select select_;
  ReportProblem reportProblem_;
  const std::string patterns_;
  const bool recursion_;
  const bool goOn_;  // past what the walk fails on

  Problems problems_;
  platform::FileReader reader_;
  platform::FoundFile file_;
  const engine::Match* match_ = nullptr;
  mutable LineCounter lines_{nullptr};  // counts when a line is asked for
  mutable std::vector<REMatch> marks_;  // whose memory is used again
  unsigned int reports_ = 0;
  bool reporting_ = false;  // a report runs, and what is thrown is the subscriber's
};

}  // namespace RegexClass

#endif  // REGEXCLASS_FILES_FILEWALKER_HPP
