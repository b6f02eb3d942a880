// change-files, which rewrites files, or tells beforehand what it would do.

#include <RegularExpression.hpp>
#include <csignal>
#include <set>
#include <string>
#include <vector>

#include "FileJob.hpp"

namespace tool {

namespace {

using RegexClass::REMatch;

volatile std::sig_atomic_t interrupted = 0;

/// A run is ended between two matches: a file that is being written over gets finished.
void EndRunsInOrder() {
  for (const int signal : {SIGINT, SIGTERM, SIGHUP}) {
    std::signal(signal, [](int) { interrupted = 1; });
  }
  std::signal(SIGPIPE, SIG_IGN);  // nobody reads the output any more: FinishOutput tells of it
}

/// Tells the problems of a run, and which files it has changed.
class ChangeReport {
 public:
  explicit ChangeReport(FileJob& job) : job_(job) {}

  void Match(const std::string& file) {
    if (file != file_) {
      // The library rewrites a file before it reports the first match of the next.
      EndFile();
      file_ = file;
      count_ = 0;
    }
    if (interrupted != 0) throw Failure("interrupted before " + file + " was changed");
    ++count_;
    job_.progress.Match(file);
  }

  void EndFile() {
    const bool givenUp = known_ > 0 && !job_.object.GetContinueFiles();
    const bool failed = TellNewProblems();
    if (count_ == 0 || failed || givenUp || job_.style.quiet) return;
    job_.progress.Clear();
    if (job_.style.json) {
      Json json = Printer::File(file_);
      json["changes"] = count_;
      job_.printer.Json(json);
    } else {
      job_.printer.Count(file_, count_);
    }
  }

 private:
  /// Gives whether the file in hand has been left as it was.
  bool TellNewProblems() {
    const std::vector<RE::FileChangeProblem>* const list = job_.object.GetChangeFilesErrors();
    bool failed = false;
    for (; list != nullptr && known_ < list->size(); ++known_) {
      const RE::FileChangeProblem& problem = (*list)[known_];
      job_.progress.Clear();
      job_.problems.Tell(Where(problem), Words(problem));
      failed = failed || problem.kind != RE::RestoreAttributesFailed;
    }
    return failed;
  }

  /// The file in hand, and behind it the one that the problem is about when that is another.
  std::string Where(const RE::FileChangeProblem& problem) const {
    const bool other =
        problem.kind == RE::WriteTemporaryFailed || problem.kind == RE::SaveCopyFailed;
    return other ? file_ + ": " + problem.file : file_;
  }

  static std::string Words(const RE::FileChangeProblem& problem) {
    const std::string at = " at byte " + std::to_string(problem.position);
    const std::string reason = problem.lastError != 0
                                   ? ": " + SystemWords(static_cast<int>(problem.lastError))
                                   : std::string();
    switch (problem.kind) {
      case RE::OpenFileFailed:
        return "can't open" + reason;
      case RE::CreateTemporaryFailed:
        return "can't make a temporary file" + reason;
      case RE::ReadFileFailed:
        return reason.empty() ? "has become shorter, ends" + at : "can't read" + at + reason;
      case RE::WriteTemporaryFailed:
        return "can't write the temporary file" + at + reason;
      case RE::TextChanged:
        return "has changed, no '" + problem.text + "'" + at + " any more";
      case RE::SaveCopyFailed:
        return "can't save the copy" + reason;
      case RE::ReplaceFileFailed:
        return "can't write" + reason;
      case RE::RestoreAttributesFailed:
        return "changed, but its mode can't be restored" + reason;
    }
    return "failed" + reason;
  }

  FileJob& job_;
  std::string file_;
  std::uint64_t count_ = 0;
  std::size_t known_ = 0;  // problems that have been told
};

/// The files that a run would change. Asked of the run itself, which passes over some: each file is
/// reported once, and its first match refused.
std::set<std::string> FilesToChange(RE& object) {
  std::set<std::string> files;
  object.SetOnChangingFilesClosure([&files](RE*, const std::string& file,
                                            const std::vector<REMatch>&, unsigned int,
                                            bool& change) {
    files.insert(file);
    change = false;
  });
  object.ChangeFiles();
  object.SetOnChangingFilesClosure(RE::FileMatchClosure());
  return files;
}

/// What a run makes of a match: the matched text alone, merged.
std::string Replacement(RE& merger, const std::string& matched) {
  merger.SetStringToMatch(matched);
  std::string replacement;
  merger.Merge(replacement);
  return replacement;
}

ExitStatus TellChanges(FileJob& job) {
  const std::set<std::string> files = FilesToChange(job.object);
  RE merger = job.object;
  merger.SetMergeCopy(true);
  merger.SetMergeOnlyFirst(false);
  bool any = false;
  job.object.SetOnGreppingFilesClosure([&](RE*, const std::string& file,
                                           const std::vector<REMatch>& match, unsigned int line,
                                           bool&) {
    if (files.count(file) == 0) return;
    any = true;
    if (job.style.quiet) return;
    const std::string replacement = Replacement(merger, match[0].text);
    if (job.style.json) {
      Json json = Printer::Place(file, line);
      AddMatch(json, match, match.size(), 0);
      json["replacement"] = JsonBytes(replacement);
      job.printer.Json(json);
    } else {
      job.printer.Change(file, line, match[0].text, replacement);
    }
  });
  job.object.GrepFiles();
  job.TellSearchProblems(job.object.GetGrepFilesErrors());
  return job.problems.Status(any);
}

}  // namespace

ExitStatus RunChangeFiles(const Request& request) {
  FileJob job(request);
  if (request.dryRun) return TellChanges(job);

  // A run tells nothing of files that it can't read, and a search does.
  job.object.FindFiles();
  job.TellSearchProblems(job.object.GetFindFilesErrors());
  if (job.problems.Any() && !job.object.GetContinueFiles()) {
    throw Failure("nothing has been changed");
  }
  EndRunsInOrder();
  ChangeReport report(job);
  job.object.SetOnChangingFilesClosure([&report](RE*, const std::string& file,
                                                 const std::vector<REMatch>&, unsigned int,
                                                 bool&) { report.Match(file); });
  const unsigned int changes = job.object.ChangeFiles();
  report.EndFile();
  return job.problems.Status(changes > 0);
}

}  // namespace tool
