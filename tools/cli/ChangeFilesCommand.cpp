// SPDX-License-Identifier: BSL-1.0
// change-files, which rewrites files, tells beforehand what it would do, or takes it back.

#include <RegularExpression.hpp>
#include <algorithm>
#include <atomic>
#include <functional>
#include <iostream>
#include <iterator>
#include <map>
#include <memory>
#include <mutex>
#include <set>
#include <string>
#include <unordered_map>
#include <utility>
#include <vector>

#include "cli/FileJob.hpp"
#include "files/SavedCopies.hpp"
#include "output/Diff.hpp"
#include "platform/FileSystem.hpp"
#include "platform/System.hpp"

namespace tool {

namespace {

using RegexClass::REMatch;

/// What a run makes of matches: the matched text alone, merged.
class Replacer {
 public:
  explicit Replacer(const RE& object) : merger_(object) {
    merger_.SetMergeCopy(true);
    merger_.SetMergeOnlyFirst(false);
  }
  std::string operator()(const std::string& matched) {
    merger_.SetStringToMatch(matched);
    std::string replacement;
    merger_.Merge(replacement);
    return replacement;
  }

 private:
  RE merger_;
};

/// Whether it is a link, behind which nothing is changed. The file there has a name of its own.
bool IsFoundLink(const ListedFile& file) {
  return file.link || (!file.IsNamed() && StatusOfLink(file.name).kind == FileStatus::kLink);
}

/// Why the file stays as it is; an empty text when it needn't.
std::string PassedOver(const ListedFile& file, const FileChoice& choice) {
  if (IsFoundLink(file)) return "passed over: a link that isn't named as such";
  const FileStatus status = StatusOf(file.name);
  if (status.readOnly) return "passed over: read-only";
  if (status.otherNames && !file.IsNamed() && !choice.hardLinks) {
    return "passed over: has other names, which --hard-links would change too";
  }
  return "";
}

/// The part of a run that only looks: what would change, and in which files.
class Preview {
 public:
  explicit Preview(FileJob& job)
      : job_(job), shows_(job.request.dryRun || job.request.diff), output_("", job.progress) {}

  /// Prints the changes when that is all that is asked for. Gives those of the files that would
  /// change.
  std::vector<ListedFile> Run(std::vector<ListedFile> files) {
    PartQueue queue(kPartSize);
    const auto list = [&] { queue.Add(std::move(files)); };
    RunWorkers(output_, queue, job_.request.jobs, list, [this]() -> Work {
      const auto worker = std::make_shared<Worker>(job_);
      const auto replacer = std::make_shared<Replacer>(job_.object);
      return [this, worker, replacer](const FilePart& part) { RunPart(*worker, *replacer, part); };
    });
    job_.Tell(messages_);
    std::vector<ListedFile> all;
    for (const auto& [part, changing] : changing_) {
      all.insert(all.end(), changing.begin(), changing.end());
    }
    return all;
  }

  /// Whether files that would change have been left alone.
  bool HasPassedOver() const { return passedOver_; }

 private:
  void RunPart(Worker& worker, Replacer& replacer, const FilePart& part) {
    std::vector<std::string> notes;
    std::vector<Change> changes;
    std::vector<ListedFile> changing;
    const ListedFile* current = nullptr;
    std::string content;
    const auto match = [&](const ListedFile& file, const std::vector<REMatch>& marks,
                           unsigned int line) {
      if (current != &file) {
        current = &file;
        if (job_.request.diff) content = worker.object.GetFileContent();
        const std::string why = PassedOver(file, job_.choice);
        if (!why.empty()) {
          notes.push_back(file.name + ": " + why);
          if (!IsFoundLink(file)) passedOver_ = true;
          return false;
        }
      }
      Change change = {static_cast<std::size_t>(marks[0].position), marks[0].text,
                       replacer(marks[0].text)};
      if (change.matched == change.replacement) return true;
      if (job_.request.dryRun) PrintChange(worker, file, marks, line, change.replacement);
      changes.push_back(std::move(change));
      return shows_ && !job_.style.quiet;
    };
    const auto done = [&](const ListedFile& file) {
      if (changes.empty()) return;
      changing.push_back(file);
      if (job_.request.diff && !job_.style.quiet) PrintFileDiff(worker, file, content, changes);
      changes.clear();
      output_.Put(part.number, {worker.TakeOutput(), true});
    };
    PartSearch search(job_, part);
    search.GrepFiles(worker.object, match, done, nullptr);
    if (search.Stopped()) output_.StopBehind(part.number);
    output_.Put(part.number, {"", false, std::move(notes)});
    const std::lock_guard<std::mutex> lock(mutex_);
    messages_[part.number] = search.Failures();
    changing_[part.number] = std::move(changing);
  }

  void PrintChange(Worker& worker, const ListedFile& file, const std::vector<REMatch>& marks,
                   unsigned int line, const std::string& replacement) const {
    if (job_.style.quiet) return;
    if (!job_.style.json) {
      worker.printer.Change(file.name, line, marks[0].text, replacement);
      return;
    }
    Json json = Printer::Place(file.name, line);
    AddMatch(json, marks, marks.size(), 0);
    json["replacement"] = JsonBytes(replacement);
    worker.printer.Json(json);
  }

  void PrintFileDiff(Worker& worker, const ListedFile& file, const std::string& content,
                     const std::vector<Change>& changes) {
    const std::string extension = job_.object.GetSaveExtension();
    if (!extension.empty()) {
      worker.printer.Plain("", "saved copy: " + CopyName(file.name, extension));
    }
    if (const int error = WriteError(file.name)) {
      worker.printer.Plain("", "can't be written: " + file.name + ": " + SystemWords(error));
    }
    PrintDiff(worker.printer, file.name, content, changes);
  }

  FileJob& job_;
  const bool shows_;
  std::atomic<bool> passedOver_{false};
  OrderedOutput output_;
  std::mutex mutex_;
  PartMessages messages_;
  std::map<std::size_t, std::vector<ListedFile>> changing_;  // by the part
};

/// A pattern by which the library comes to the file, and perhaps to others. What the user hasn't
/// spelled out are wildcards, by which it rewrites nothing behind a link.
std::string PatternOf(const ListedFile& file) {
  const std::string& name = file.name;
  if (file.IsNamed()) return Escaped(name);
  std::size_t at = std::max(OwnNameAt(name.substr(0, file.named)), RootLength(name));
  std::string pattern = Escaped(name.substr(0, at));
  while (at < name.size()) {
    const std::size_t end = std::min(name.find_first_of(kSeparators, at), name.size());
    const std::size_t next = std::min(name.find_first_not_of(kSeparators, end), name.size());
    // A set of one letter is a wildcard that costs no look at other names.
    const auto first = name.begin() + static_cast<std::ptrdiff_t>(at);
    const auto last = name.begin() + static_cast<std::ptrdiff_t>(end);
    const auto letter = std::find_if(first, last, [](char c) {
      return ('a' <= c && c <= 'z') || ('A' <= c && c <= 'Z') || ('0' <= c && c <= '9');
    });
    pattern += Escaped({first, letter});
    pattern +=
        letter == last ? "*" : std::string("[") + *letter + ']' + Escaped({letter + 1, last});
    pattern += name.substr(end, next - end);
    at = next;
  }
  return pattern;
}

/// What failed in the file, in words.
std::string InWords(const RE::FileChangeProblem& problem, const std::string& file,
                    const std::string& extension) {
  const std::string at = " at byte " + std::to_string(problem.position);
  const std::string reason =
      problem.lastError != 0 ? ": " + LibraryWords(problem.lastError) : std::string();
  switch (problem.kind) {
    case RE::OpenFileFailed:
      return file + ": can't open" + reason;
    case RE::CreateTemporaryFailed:
      return file + ": can't make a temporary file" + reason;
    case RE::ReadFileFailed:
      return file + (reason.empty() ? ": has become shorter, ends" : ": can't read") + at + reason;
    case RE::WriteTemporaryFailed:
      return file + ": " + problem.file + ": can't write the temporary file" + at + reason;
    case RE::TextChanged:
      return file + ": has changed, no '" + problem.text + "'" + at + " any more";
    case RE::SaveCopyFailed:
      return file + ": " + CopyName(file, extension) + ": can't save the copy" + reason;
    case RE::ReplaceFileFailed:
      return file + ": can't write" + reason;
    case RE::RestoreAttributesFailed:
      return file + ": changed, but its mode can't be restored" + reason;
  }
  return file + ": failed" + reason;
}

/// What has become of a file.
struct FileOutcome {
  FileStatus before;
  std::uint64_t changes = 0;
  bool met = false;    // there was something to change
  bool wanted = true;  // the run wasn't interrupted before
  std::vector<std::string> failures;
};

/// What one thread changes files with.
class FileChanger {
 public:
  explicit FileChanger(const FileJob& job)
      : job_(job),
        object_(job.object),
        replacer_(job.object),
        extension_(job.object.GetSaveExtension()) {
    object_.SetKeepCopies(true);
    object_.SetChangeHardLinks(job.choice.hardLinks);
    object_.SetSyncTogether(true);
    object_.SetOnSelectingFilesClosure(
        [this](RE*, const std::string& path, RE::EntryKinds kind, bool& taken) {
          taken = taken && (kind != RE::FileEntry || at_.count(path) != 0);
        });
    object_.SetOnChangingFilesClosure([this](RE*, const std::string& name,
                                             const std::vector<REMatch>& match, unsigned int,
                                             bool& change) {
      const auto at = at_.find(name);
      change = at != at_.end() && Note(outcomes_[at->second], match[0].text);
    });
  }

  /// Changes the files, whose copies all get the same extension, by one call of the library, and
  /// tells what has become of each.
  const std::vector<FileOutcome>& Change(const std::vector<ListedFile>& files) {
    std::string patterns;
    at_.clear();
    outcomes_.assign(files.size(), FileOutcome());
    for (std::size_t i = 0; i < files.size(); ++i) {
      patterns.append(PatternOf(files[i])) += ';';
      at_.emplace(files[i].name, i);
      outcomes_[i].before = StatusOf(files[i].name);
    }
    object_.SetFilesToMatch(patterns);
    if (!extension_.empty()) {
      object_.SetSaveExtension(ExtensionFor(files.front().name, extension_));
    }
    object_.ChangeFiles();
    TakeProblems(files);
    for (std::size_t i = 0; i < files.size(); ++i) Finish(files[i], outcomes_[i]);
    return outcomes_;
  }

 private:
  bool Note(FileOutcome& outcome, const std::string& matched) {
    if (!outcome.met && Interruption() != 0) outcome.wanted = false;
    outcome.met = true;
    if (outcome.wanted && replacer_(matched) != matched) ++outcome.changes;
    return outcome.wanted;
  }

  void TakeProblems(const std::vector<ListedFile>& files) {
    const auto* const problems = object_.GetChangeFilesErrors();
    if (problems == nullptr) return;
    for (const RE::FileChangeProblem& problem : *problems) {
      const std::size_t at = FileOf(problem, files);
      FileOutcome& outcome = outcomes_[at];
      outcome.failures.push_back(InWords(problem, files[at].name, extension_));
      if (problem.kind != RE::RestoreAttributesFailed) outcome.changes = 0;
    }
  }

  /// The file that a problem is about: the one with the name or with the copy's; for a temporary
  /// file, which has neither, the first that is still what it was.
  std::size_t FileOf(const RE::FileChangeProblem& problem,
                     const std::vector<ListedFile>& files) const {
    const auto named = at_.find(problem.file);
    if (named != at_.end()) return named->second;
    const bool temporary =
        problem.kind == RE::CreateTemporaryFailed || problem.kind == RE::WriteTemporaryFailed;
    for (std::size_t i = 0; i < files.size(); ++i) {
      if (problem.kind == RE::SaveCopyFailed && CopyName(files[i].name, extension_) == problem.file)
        return i;
      const FileOutcome& outcome = outcomes_[i];
      if (temporary && outcome.changes > 0 && StatusOf(files[i].name) == outcome.before) return i;
    }
    return 0;
  }

  void Finish(const ListedFile& file, FileOutcome& outcome) {
    if (outcome.changes > 0 && !extension_.empty()) {
      directory_.Hold(file.name, file.named);
      directory_.MarkCopy(OwnName(CopyName(file.name, extension_)), OwnName(file.name));
    }
    if (outcome.met || !outcome.failures.empty()) return;
    const std::string why = PassedOver(file, job_.choice);
    outcome.failures.push_back(
        file.name + ": " +
        (why.empty() ? "passed over: isn't what was searched any more, or is reached by a link"
                     : why));
  }

  const FileJob& job_;
  RE object_;
  Replacer replacer_;
  const std::string extension_;
  HeldDirectory directory_;
  std::unordered_map<std::string, std::size_t> at_;  // the files in hand, by their names
  std::vector<FileOutcome> outcomes_;
};

/// The run that changes the files.
class RewritingRun {
 public:
  RewritingRun(FileJob& job, std::vector<ListedFile> files)
      : job_(job), files_(std::move(files)), output_("", job.progress) {}

  ExitStatus Run() {
    // Of a run that ends at the first failure, nothing more may have been changed.
    const unsigned int workers = job_.object.GetContinueFiles() ? job_.request.jobs : 1;
    // A run is ended between files: those that are being rewritten get finished.
    NoteInterruptions();
    PartQueue queue(PartSize(workers));
    RunWorkers(
        output_, queue, workers, [&] { AddParts(queue); },
        [this]() -> Work {
          const auto changer = std::make_shared<FileChanger>(job_);
          const auto worker = std::make_shared<Worker>(job_);
          return
              [this, changer, worker](const FilePart& part) { RunPart(*changer, *worker, part); };
        });
    if (const int interruption = Interruption()) {
      Problems::Note("interrupted; files that weren't told of are as they were");
      return static_cast<ExitStatus>(kInterrupted + interruption);
    }
    if (failed_) return kError;
    return job_.problems.Status(changed_);
  }

 private:
  /// So few files at a time that each thread gets some, and that those that wait for each other in
  /// the library are no more than there may be open at a time.
  std::size_t PartSize(unsigned int workers) const {
    if (!job_.object.GetContinueFiles()) return 1;
    const std::size_t each =
        std::min(files_.size() / (2 * std::size_t{workers}), 128 / std::size_t{workers});
    return std::max<std::size_t>(std::min(each, kPartSize), 1);
  }

  /// A file with several names is changed by the first of them alone.
  void AddParts(PartQueue& queue) {
    const std::string extension = job_.object.GetSaveExtension();
    std::set<std::pair<std::uint64_t, std::uint64_t>> seen;
    std::string present;
    for (const ListedFile& file : files_) {
      const FileStatus status = StatusOf(file.name);
      if (status.otherNames && !seen.emplace(status.device, status.number).second) continue;
      std::string wanted = ExtensionFor(file.name, extension);
      if (wanted != present) queue.Close();
      present = std::move(wanted);
      queue.Add({file});
    }
  }

  void RunPart(FileChanger& changer, Worker& worker, const FilePart& part) {
    if (Interruption() != 0) return;  // so that what was done before gets told
    const std::vector<FileOutcome>& outcomes = changer.Change(part.files);
    for (std::size_t i = 0; i < part.files.size(); ++i) {
      const FileOutcome& outcome = outcomes[i];
      if (outcome.changes > 0) {
        changed_ = true;
        PrintChanged(worker, part.files[i], outcome.changes);
      }
      if (!outcome.failures.empty()) failed_ = true;
      output_.Put(part.number, {worker.TakeOutput(), true, outcome.failures});
    }
    if (failed_ && !job_.object.GetContinueFiles()) output_.StopBehind(part.number);
  }

  void PrintChanged(Worker& worker, const ListedFile& file, std::uint64_t changes) const {
    if (job_.style.quiet) return;
    if (job_.style.json) {
      Json json = Printer::File(file.name);
      json["changes"] = changes;
      worker.printer.Json(json);
    } else {
      worker.printer.Count(file.name, changes);
    }
  }

  FileJob& job_;
  const std::vector<ListedFile> files_;
  OrderedOutput output_;
  std::atomic<bool> changed_{false};
  std::atomic<bool> failed_{false};
};

/// Takes the files out of the list that are saved copies by their names.
void RemoveCopies(std::vector<ListedFile>& files, const std::string& extension) {
  if (extension.empty()) return;
  const auto isCopy = [&](const ListedFile& file) { return HasExtension(file.name, extension); };
  const auto end = std::remove_if(files.begin(), files.end(), isCopy);
  if (end == files.end()) return;
  files.erase(end, files.end());
  for (ListedFile& file : files) file.together = 0;
}

/// Whether the copy is one of the file; throws Failure when it may be another's.
bool IsCopyOf(const ListedFile& file, const std::string& copy, const std::string& extension,
              HeldDirectory& directory) {
  const std::string own = OwnName(copy);
  if (directory.StatusOf(own).kind == FileStatus::kNothing) return false;
  const std::string marked = directory.CopyMark(own);
  if (!marked.empty()) return marked == OwnName(file.name);
  for (const std::string& other : FilesWithCopy(copy, extension)) {
    if (other != file.name)
      throw Failure(std::string(copy).append(" may be the copy of ").append(other));
  }
  return true;
}

/// Puts the saved copy of a file back; false when there is none. Throws Failure.
bool PutBack(RE& object, HeldDirectory& directory, const ListedFile& file,
             const std::string& extension, bool dryRun) {
  const std::string copy = CopyName(file.name, extension);
  if (const int error = directory.Hold(file.name, file.named)) {
    throw Failure("can't open: " + SystemWords(error));
  }
  if (!IsCopyOf(file, copy, extension, directory)) return false;
  if (directory.StatusOf(OwnName(copy)).kind != FileStatus::kFile) {
    throw Failure("isn't a file: " + copy);
  }
  if (dryRun) return true;
  if (!object.RewriteFile(file.name, copy, file.IsNamed() ? std::string::npos : file.named)) {
    std::string why = "can't put " + copy + " back";
    const auto* const problems = object.GetChangeFilesErrors();
    if (problems != nullptr && problems->front().lastError != 0) {
      why += ": " + LibraryWords(problems->front().lastError);
    }
    throw Failure(why);
  }
  if (const int error = directory.Remove(OwnName(copy))) {
    throw Failure("is put back, but can't remove " + copy + ": " + SystemWords(error));
  }
  return true;
}

ExitStatus Undo(const Request& request, const std::string& extension) {
  FileJob job(request, FileJob::FilesAlone());
  job.choice.linksApart = true;
  job.object.SetSaveExtension("");
  job.object.SetChangeHardLinks(job.choice.hardLinks);
  std::vector<ListedFile> files = job.List();
  RemoveCopies(files, extension);
  Printer printer = Printer::OfFiles(job.style, std::cout);
  HeldDirectory directory;
  bool any = false;
  for (const ListedFile& file : files) {
    try {
      if (!PutBack(job.object, directory, file, extension, request.dryRun)) continue;
      any = true;
      if (!job.style.quiet && job.style.json) printer.Json(Printer::File(file.name));
      if (!job.style.quiet && !job.style.json) printer.FileName(file.name);
    } catch (const Failure& failure) {
      job.problems.Tell(file.name, failure.what());
      if (!job.object.GetContinueFiles()) break;
    }
  }
  return job.problems.Status(any);
}

}  // namespace

ExitStatus RunChangeFiles(const Request& request) {
  if (request.undo) return Undo(request, *request.undo);
  FileJob job(request);
  job.choice.linksApart = true;
  const std::string extension = job.object.GetSaveExtension();
  const std::vector<ListedFile> listed = job.List();
  std::vector<ListedFile> originals = listed;
  RemoveCopies(originals, extension);
  Preview preview(job);
  const std::vector<ListedFile> files = preview.Run(std::move(originals));
  const bool shown = request.dryRun || request.diff;
  if (job.problems.Any() && !job.object.GetContinueFiles() && !shown) {
    throw Failure("nothing has been changed");
  }
  if (!extension.empty()) {
    const std::vector<std::string> conflicts = CopyConflicts(files, listed, extension);
    for (const std::string& conflict : conflicts) job.problems.Tell(conflict);
    if (!conflicts.empty() && !shown) throw Failure("nothing has been changed");
  }
  if (preview.HasPassedOver()) job.problems.Count();
  if (shown) return job.problems.Status(!files.empty());
  try {
    const ExitStatus status = RewritingRun(job, files).Run();
    FinishOutput();
    return status;
  } catch (const OutputClosed& closed) {  // that files weren't told of shouldn't go unsaid
    throw Failure(closed);
  }
}

}  // namespace tool
