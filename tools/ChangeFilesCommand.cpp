// SPDX-License-Identifier: BSL-1.0
// change-files, which rewrites files, tells beforehand what it would do, or takes it back.

#include <RegularExpression.hpp>
#include <algorithm>
#include <atomic>
#include <cerrno>
#include <csignal>
#include <cstdio>
#include <fcntl.h>
#include <fstream>
#include <functional>
#include <iostream>
#include <iterator>
#include <map>
#include <memory>
#include <mutex>
#include <set>
#include <string>
#include <sys/stat.h>
#include <unistd.h>
#include <utility>
#include <vector>

#include "Diff.hpp"
#include "Directory.hpp"
#include "FileJob.hpp"
#include "SavedCopies.hpp"

namespace tool {

namespace {

using RegexClass::REMatch;

std::atomic<int> interruption{0};  // the number of the signal

/// A run is ended between two files: one that is being rewritten gets finished. A signal that the
/// tool was started to ignore stays ignored.
void EndRunsInOrder() {
  for (const int signal : {SIGINT, SIGTERM, SIGHUP}) {
    if (std::signal(signal, [](int number) { interruption = number; }) == SIG_IGN) {
      std::signal(signal, SIG_IGN);
    }
  }
  std::signal(SIGPIPE, SIG_IGN);  // nobody reads the output any more: FinishOutput tells of it
}

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

  /// Prints the changes when that is all that is asked for. Gives the files that would change.
  std::vector<ListedFile> Run() {
    RunWorkers(output_, job_.files.size(), PartSize(job_), job_.request.jobs, [this]() -> Work {
      const auto worker = std::make_shared<Worker>(job_);
      const auto replacer = std::make_shared<Replacer>(job_.object);
      return [this, worker, replacer](const Part& part) { RunPart(*worker, *replacer, part); };
    });
    job_.Tell(messages_);
    std::vector<ListedFile> files;
    for (const std::size_t file : changing_) files.push_back(job_.files[file]);
    return files;
  }

 private:
  /// Why the library passes over the file; an empty text when it doesn't.
  static std::string PassedOver(const ListedFile& file) {
    struct stat status = {};
    if (lstat(file.name.c_str(), &status) != 0) return SystemWords(errno);
    const bool named = file.named == file.name.size();
    if (S_ISLNK(status.st_mode) && !named) return "passed over: a link that isn't named as such";
    if (stat(file.name.c_str(), &status) == 0 && (status.st_mode & 0222) == 0) {
      return "passed over: read-only";
    }
    return "";
  }

  void RunPart(Worker& worker, Replacer& replacer, const Part& part) {
    std::vector<std::string> notes;
    std::vector<Change> changes;
    std::vector<std::size_t> changing;
    std::size_t at = part.begin;
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
      while (&job_.files[at] != &file) ++at;
      changing.push_back(at);
      if (job_.request.diff && !job_.style.quiet) PrintFileDiff(worker, file, changes);
      changes.clear();
      output_.Put(part.number, {worker.TakeOutput(), true, ""});
    };
    PartSearch search(job_, part);
    search.GrepFiles(worker.object, match, done, nullptr);
    if (search.Stopped()) output_.StopBehind(part.number);
    std::string words;
    for (const std::string& note : notes) words += "regexclass: " + note + '\n';
    output_.Put(part.number, {"", false, words});
    const std::lock_guard<std::mutex> lock(mutex_);
    messages_[part.number] = search.Failures();
    changing_.insert(changing.begin(), changing.end());
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
    if (access(file.name.c_str(), W_OK) != 0) {
      worker.printer.Plain("", "can't be written: " + file.name + ": " + SystemWords(errno));
    }
    PrintDiff(worker.printer, file.name, content, changes);
  }

  FileJob& job_;
  const bool shows_;
  OrderedOutput output_;
  std::mutex mutex_;
  PartMessages messages_;
  std::set<std::size_t> changing_;
};

/// What failed in the file, in words.
std::string InWords(const RE::FileChangeProblem& problem, const std::string& file,
                    const std::string& extension) {
  const std::string at = " at byte " + std::to_string(problem.position);
  const std::string reason = problem.lastError != 0
                                 ? ": " + SystemWords(static_cast<int>(problem.lastError))
                                 : std::string();
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
    EndRunsInOrder();
    RunWorkers(output_, files_.size(), 1, workers, [this]() -> Work {
      const auto worker = std::make_shared<FileWorker>(job_);
      return [this, worker](const Part& part) { RunFile(*worker, part); };
    });
    if (interruption != 0) {
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
    Directory directory;
  };

  void RunFile(FileWorker& own, const Part& part) {
    if (interruption != 0) {
      output_.Stop();
      return;
    }
    const ListedFile& file = files_[part.begin];
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
    if (const int error = own.directory.Open(file)) {
      failure = "regexclass: " + file.name + ": can't open: " + SystemWords(error) + '\n';
      return 0;
    }
    RE& object = own.worker.object;
    std::uint64_t changes = 0;
    object.SetFilesToMatch(own.directory.PatternOf(file));
    object.SetOnChangingFilesClosure([&](RE*, const std::string& name,
                                         const std::vector<REMatch>& match, unsigned int,
                                         bool& change) {
      change = NameIn(name) == NameIn(file.name);
      if (change && own.replacer(match[0].text) != match[0].text) ++changes;
    });
    object.ChangeFiles();
    if (const auto* const problems = object.GetChangeFilesErrors()) {
      for (const RE::FileChangeProblem& problem : *problems) {
        failure += "regexclass: " + InWords(problem, file.name, object.GetSaveExtension()) + '\n';
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
  files.erase(std::remove_if(files.begin(), files.end(), isCopy), files.end());
}

/// Puts the saved copy of a file back; false when there is none. Throws Failure.
bool PutBack(Directory& directory, const ListedFile& file, const std::string& copy, bool dryRun) {
  const auto at = [&](const std::string& path, struct stat& status) {
    if (fstatat(directory.Descriptor(), NameIn(path).c_str(), &status, AT_SYMLINK_NOFOLLOW) != 0) {
      return false;
    }
    if (!S_ISREG(status.st_mode)) throw Failure("isn't a file: " + path);
    return true;
  };
  if (const int error = directory.Open(file)) throw Failure("can't open: " + SystemWords(error));
  struct stat saved = {};
  struct stat present = {};
  if (!at(copy, saved) || !at(file.name, present)) return false;
  if (present.st_nlink > 1) throw Failure("has other names, which would keep the new content");
  if (!dryRun && renameat(directory.Descriptor(), NameIn(copy).c_str(), directory.Descriptor(),
                          NameIn(file.name).c_str()) != 0) {
    throw Failure("can't put " + copy + " back: " + SystemWords(errno));
  }
  return true;
}

ExitStatus Undo(const Request& request, const std::string& extension) {
  FileJob job(request, FileJob::FilesAlone());
  RemoveCopies(job.files, extension);
  Printer printer = Printer::OfFiles(job.style, std::cout);
  std::map<std::string, unsigned int> owners;
  for (const ListedFile& file : job.files) ++owners[CopyName(file.name, extension)];
  Directory directory;
  bool any = false;
  for (const ListedFile& file : job.files) {
    const std::string copy = CopyName(file.name, extension);
    try {
      if (owners[copy] > 1 && access(copy.c_str(), F_OK) == 0) {
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
  const std::vector<ListedFile> listed = job.files;
  RemoveCopies(job.files, extension);
  const std::vector<ListedFile> files = Preview(job).Run();
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
  return ChangeRun(job, files).Run();
}

}  // namespace tool
