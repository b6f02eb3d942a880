// grep-files and find-files.

#include <RegularExpression.hpp>
#include <memory>
#include <string>
#include <vector>

#include "Commands.hpp"
#include "FileJob.hpp"
#include "FileLines.hpp"

namespace tool {

namespace {

using RegexClass::REMatch;

/// Ends a walk from a notification, which has no other way to.
struct Enough {};

/// The matches of the file that the walk is in.
class FileReport {
 public:
  explicit FileReport(FileJob& job) : job_(job) {}

  /// Gives whether more matches of the file are wanted.
  bool Add(const std::string& file, const std::vector<REMatch>& match, unsigned int line) {
    if (file != file_) Begin(file);
    ++count_;
    job_.progress.Match(file);
    if (job_.style.quiet) throw Enough();
    if (job_.style.count) {
      // that is all
    } else if (job_.style.json) {
      Json json = Printer::Place(file, line);
      AddMatch(json, match, match.size(), 0);
      job_.printer.Json(json);
    } else if (job_.style.onlyMatching) {
      job_.printer.Record(file, line, match[0].text, Printer::kMatchColor);
    } else {
      lines_->Add(match[0], line);
    }
    return count_ < job_.request.maximumCount.value_or(count_ + 1);
  }

  void End() {
    lines_.reset();
    if (count_ == 0 || !job_.style.count) return;
    job_.progress.Clear();
    if (job_.style.json) {
      Json json = Printer::File(file_);
      json["count"] = count_;
      job_.printer.Json(json);
    } else {
      job_.printer.Count(file_, count_);
    }
  }

 private:
  void Begin(const std::string& file) {
    End();
    file_ = file;
    count_ = 0;
    const bool whole = !job_.style.count && !job_.style.json && !job_.style.onlyMatching;
    if (whole) lines_ = std::make_unique<FileLines>(job_.printer, file);
  }

  FileJob& job_;
  std::string file_;
  std::uint64_t count_ = 0;
  std::unique_ptr<FileLines> lines_;
};

}  // namespace

ExitStatus RunGrepFiles(const Request& request) {
  FileJob job(request);
  FileReport report(job);
  job.object.SetOnGreppingFilesClosure(
      [&report](RE*, const std::string& file, const std::vector<REMatch>& match, unsigned int line,
                bool& goOn) { goOn = report.Add(file, match, line); });
  unsigned int matches = 0;
  try {
    matches = job.object.GrepFiles();
  } catch (const Enough&) {
    return kMatch;
  }
  report.End();
  job.TellSearchProblems(job.object.GetGrepFilesErrors());
  return job.problems.Status(matches > 0);
}

ExitStatus RunFindFiles(const Request& request) {
  FileJob job(request);
  job.object.SetOnFindFilesClosure([&job](RE*, const std::string& file, bool&) {
    job.progress.Match(file);
    if (job.style.quiet) throw Enough();
    if (job.style.count) return;
    if (job.style.json) {
      job.printer.Json(Printer::File(file));
    } else {
      job.printer.FileName(file);
    }
  });
  unsigned int files = 0;
  try {
    files = job.object.FindFiles();
  } catch (const Enough&) {
    return kMatch;
  }
  if (job.style.count && job.style.json) {
    job.printer.Json({{"count", files}});
  } else if (job.style.count) {
    job.printer.Raw(std::to_string(files) + '\n');
  }
  job.TellSearchProblems(job.object.GetFindFilesErrors());
  return job.problems.Status(files > 0);
}

}  // namespace tool
