// SPDX-License-Identifier: BSL-1.0
// change-files, which rewrites files, tells beforehand what it would do, or takes it back.

#include <RegularExpression.hpp>
#include <algorithm>
#include <atomic>
#include <fstream>
#include <functional>
#include <iostream>
#include <iterator>
#include <map>
#include <memory>
#include <mutex>
#include <string>
#include <utility>
#include <vector>

#include "Diff.hpp"
#include "FileJob.hpp"
#include "FileSystem.hpp"
#include "SavedCopies.hpp"
#include "System.hpp"

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
      return [this, worker, replacer](const Part& part) { RunPart(*worker, *replacer, part); };
    });
    job_.Tell(messages_);
    std::vector<ListedFile> all;
    for (const auto& [part, changing] : changing_) {
      all.insert(all.end(), changing.begin(), changing.end());
    }
    return all;
  }

 private:
  /// Why the library passes over the file; an empty text when it doesn't.
  static std::string PassedOver(const ListedFile& file) {
    const FileStatus status = StatusOfLink(file.name);
    if (status.kind == FileStatus::kNothing) return SystemWords(status.error);
    const bool named = file.named == file.name.size();
    if (status.kind == FileStatus::kLink && !named) {
      return "passed over: a link that isn't named as such";
    }
    if (StatusOf(file.name).readOnly) return "passed over: read-only";
    return "";
  }

  void RunPart(Worker& worker, Replacer& replacer, const Part& part) {
    std::vector<std::string> notes;
    std::vector<Change> changes;
    std::vector<ListedFile> changing;
    const ListedFile* current = nullptr;
    const auto match = [&](const ListedFile& file, const std::vector<REMatch>& marks,
                           unsigned int line) {
      if (current != &file) {
        current = &file;
        const std::string why = PassedOver(file);
        if (!why.empty()) {
          notes.push_back(file.name + ": " + why);
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
      if (job_.request.diff && !job_.style.quiet) PrintFileDiff(worker, file, changes);
      changes.clear();
      output_.Put(part.number, {worker.TakeOutput(), true, ""});
    };
    PartSearch search(job_, part, nullptr);
    search.GrepFiles(worker.object, match, done, nullptr);
    if (search.Stopped()) output_.StopBehind(part.number);
    std::string words;
    for (const std::string& note : notes) words += "regexclass: " + note + '\n';
    output_.Put(part.number, {"", false, words});
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

  void PrintFileDiff(Worker& worker, const ListedFile& file, const std::vector<Change>& changes) {
    std::ifstream in(file.name, std::ios::binary);
    const std::string content{std::istreambuf_iterator<char>(in), std::istreambuf_iterator<char>()};
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
  OrderedOutput output_;
  std::mutex mutex_;
  PartMessages messages_;
  std::map<std::size_t, std::vector<ListedFile>> changing_;  // by the part
};

/// A pattern by which the library comes to the file, and perhaps to others. What the user hasn't
/// spelled out are wildcards, by which it rewrites nothing behind a link.
std::string PatternOf(const ListedFile& file) {
  const std::string& name = file.name;
  if (file.named == name.size()) return Escaped(name);
  std::size_t at = OwnNameAt(name.substr(0, file.named));
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

/// The run that changes the files, each by a call of its own.
class ChangeRun {
 public:
  ChangeRun(FileJob& job, std::vector<ListedFile> files)
      : job_(job), files_(std::move(files)), output_("", job.progress) {}

  ExitStatus Run() {
    // Of a run that ends at the first failure, nothing more may have been changed.
    const unsigned int workers = job_.object.GetContinueFiles() ? job_.request.jobs : 1;
    // A run is ended between two files: one that is being rewritten gets finished.
    NoteInterruptions();
    PartQueue queue(1);
    const auto list = [&] {
      for (const ListedFile& file : files_) queue.Add({file});
    };
    RunWorkers(output_, queue, workers, list, [this]() -> Work {
      const auto worker = std::make_shared<FileWorker>(job_);
      return [this, worker](const Part& part) { RunFile(*worker, part); };
    });
    if (const int interruption = Interruption()) {
      Problems::Note("interrupted; files that weren't told of are as they were");
      return static_cast<ExitStatus>(kInterrupted + interruption);
    }
    if (failed_) return kError;
    return job_.problems.Status(changed_);
  }

 private:
  struct FileWorker {
    explicit FileWorker(const FileJob& job) : worker(job), replacer(job.object) {}
    Worker worker;
    Replacer replacer;
  };

  void RunFile(FileWorker& own, const Part& part) {
    if (Interruption() != 0) {
      output_.Stop();
      return;
    }
    const ListedFile& file = part.files.front();
    std::string failure;
    const std::uint64_t changes = Change(own, file, failure);
    if (changes > 0) {
      changed_ = true;
      PrintChanged(own.worker, file, changes);
    }
    if (!failure.empty()) failed_ = true;
    output_.Put(part.number, {own.worker.TakeOutput(), true, failure});
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

  /// Changes the file, and gives the number of changes that it has now; or says what failed.
  std::uint64_t Change(FileWorker& own, const ListedFile& file, std::string& failure) {
    RE& object = own.worker.object;
    std::uint64_t changes = 0;
    const std::string extension = job_.object.GetSaveExtension();
    object.SetFilesToMatch(PatternOf(file));
    if (!extension.empty()) object.SetSaveExtension(ExtensionFor(file.name, extension));
    object.SetOnChangingFilesClosure([&](RE*, const std::string& name,
                                         const std::vector<REMatch>& match, unsigned int,
                                         bool& change) {
      change = name == file.name;
      if (change && own.replacer(match[0].text) != match[0].text) ++changes;
    });
    object.ChangeFiles();
    if (const auto* const problems = object.GetChangeFilesErrors()) {
      for (const RE::FileChangeProblem& problem : *problems) {
        failure += "regexclass: " + InWords(problem, file.name, extension) + '\n';
        if (problem.kind != RE::RestoreAttributesFailed) changes = 0;
      }
    }
    return changes;
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

/// Puts the saved copy of a file back; false when there is none. Throws Failure.
bool PutBack(Directory& directory, const ListedFile& file, const std::string& copy, bool dryRun) {
  if (const int error = directory.Hold(file.name, file.named)) {
    throw Failure("can't open: " + SystemWords(error));
  }
  for (const std::string& name : {copy, file.name}) {
    const FileStatus status = directory.StatusOf(OwnName(name));
    if (status.kind == FileStatus::kNothing) return false;
    if (status.kind != FileStatus::kFile) throw Failure("isn't a file: " + name);
    if (name == file.name && status.otherNames) {
      throw Failure("has other names, which would keep the new content");
    }
  }
  if (dryRun) return true;
  if (const int error = directory.Replace(OwnName(file.name), OwnName(copy))) {
    throw Failure("can't put " + copy + " back: " + SystemWords(error));
  }
  return true;
}

ExitStatus Undo(const Request& request, const std::string& extension) {
  FileJob job(request, FileJob::FilesAlone());
  std::vector<ListedFile> files = job.List();
  RemoveCopies(files, extension);
  Printer printer = Printer::OfFiles(job.style, std::cout);
  std::map<std::string, unsigned int> owners;
  for (const ListedFile& file : files) ++owners[CopyName(file.name, extension)];
  Directory directory;
  bool any = false;
  for (const ListedFile& file : files) {
    const std::string copy = CopyName(file.name, extension);
    try {
      if (owners[copy] > 1 && StatusOf(copy).kind != FileStatus::kNothing) {
        throw Failure(copy + " may be the copy of another file: name the one alone");
      }
      if (!PutBack(directory, file, copy, request.dryRun)) continue;
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
  const std::string extension = job.object.GetSaveExtension();
  const std::vector<ListedFile> listed = job.List();
  std::vector<ListedFile> originals = listed;
  RemoveCopies(originals, extension);
  const std::vector<ListedFile> files = Preview(job).Run(std::move(originals));
  const bool shown = request.dryRun || request.diff;
  if (job.problems.Any() && !job.object.GetContinueFiles() && !shown) {
    throw Failure("nothing has been changed");
  }
  if (!extension.empty()) {
    const std::vector<std::string> conflicts = CopyConflicts(files, listed, extension);
    for (const std::string& conflict : conflicts) job.problems.Tell(conflict);
    if (!conflicts.empty() && !shown) throw Failure("nothing has been changed");
  }
  if (shown) return job.problems.Status(!files.empty());
  try {
    const ExitStatus status = ChangeRun(job, files).Run();
    FinishOutput();
    return status;
  } catch (const OutputClosed& closed) {  // that files weren't told of shouldn't go unsaid
    throw Failure(closed);
  }
}

}  // namespace tool
