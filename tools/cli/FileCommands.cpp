// SPDX-License-Identifier: BSL-1.0
// grep-files and find-files.

#include <RegularExpression.hpp>
#include <algorithm>
#include <atomic>
#include <iostream>
#include <limits>
#include <memory>
#include <mutex>
#include <optional>
#include <string>
#include <utility>
#include <vector>

#include "cli/Commands.hpp"
#include "cli/FileJob.hpp"
#include "output/LineWriter.hpp"

namespace tool {

namespace {

using RegexClass::REMatch;

/// A run of either command by several workers.
class SearchRun {
 public:
  explicit SearchRun(const Request& request)
      : job_(request),
        lines_(request.lines),
        most_(request.maximumCount.value_or(std::numeric_limits<std::uint64_t>::max())),
        output_(Separator(), job_.progress) {
    lines_.most = most_;
    lines_.silent = job_.style.Silent();
  }

  ExitStatus GrepFiles() {
    if (most_ == 0) return job_.problems.Status(false);
    const bool namesAlone = job_.style.NamesOnly() && !lines_.inverted;
    Run([this, namesAlone](Worker& worker, const FilePart& part) {
      namesAlone ? FindPart(worker, part) : GrepPart(worker, part);
    });
    return Finish();
  }

  ExitStatus FindFiles() {
    Run([this](Worker& worker, const FilePart& part) { FindPart(worker, part); });
    if (job_.style.count && !job_.style.quiet) {
      std::cout << (job_.style.json ? Json{{"count", named_.load()}}.dump()
                                    : std::to_string(named_))
                << '\n';
    }
    return Finish();
  }

 private:
  /// The lines of a file that are selected, and what is printed of it.
  class FileReport;

  std::string Separator() const {
    if (job_.style.Silent()) return "";
    if (Printer::OfFiles(job_.style, std::cout).Headings()) return "\n";
    return lines_.before > 0 || lines_.after > 0 ? "--\n" : "";
  }

  /// Whether a single thread does all and can search a file as soon as it is listed: nobody asks
  /// for the files without a match, each once, nor git for its rules.
  bool IsOneWalk() const {
    return job_.request.jobs == 1 && !lines_.inverted && !job_.style.filesWithout &&
           !job_.choice.ignoreFiles;
  }

  template <typename Function>
  void Run(const Function& onPart) {
    PartQueue queue(kPartSize);
    const auto list = [&] {
      if (IsOneWalk()) return queue.AddWalk();
      ListFiles(
          job_.choice, job_.object, [&](auto files) { queue.Add(std::move(files)); }, wrongFiles_);
    };
    RunWorkers(output_, queue, job_.request.jobs, list, [&]() -> Work {
      const auto worker = std::make_shared<Worker>(job_);
      return [worker, &onPart](const FilePart& part) { onPart(*worker, part); };
    });
  }

  ExitStatus Finish() {
    if (job_.style.quiet && found_ > 0) return kMatch;
    for (const std::string& problem : wrongFiles_) job_.problems.Tell(problem);
    job_.Tell(messages_);
    return job_.problems.Status(found_ > 0);
  }

  /// Counts a file with something that was looked for.
  void Found() {
    ++found_;
    if (!job_.style.quiet) return;
    output_.Stop();
    throw Enough();
  }

  void PrintName(Worker& worker, const FilePart& part, const ListedFile& file) {
    ++named_;
    if (!job_.style.count) {
      job_.style.json ? worker.printer.Json(Printer::File(file.name))
                      : worker.printer.FileName(file.name);
    }
    output_.Put(part.number, {worker.TakeOutput(), false});
  }

  void EndPart(const FilePart& part, const PartSearch& search) {
    if (search.Stopped()) output_.StopBehind(part.number);
    const std::lock_guard<std::mutex> lock(messagesMutex_);
    messages_[part.number] = search.Failures();
  }

  void FindPart(Worker& worker, const FilePart& part) {
    PartSearch search(job_, part);
    const bool without = job_.style.filesWithout;
    const PartSearch::OnFile tell = [&](const ListedFile& file) { PrintName(worker, part, file); };
    const auto found = [&](const ListedFile& file) {
      Found();
      if (!without) tell(file);
    };
    search.FindFiles(worker.object, found, without ? tell : nullptr);
    EndPart(part, search);
  }

  void GrepPart(Worker& worker, const FilePart& part);

  FileJob job_;
  LineChoice lines_;
  const std::uint64_t most_;
  OrderedOutput output_;
  std::atomic<std::uint64_t> found_{0};  // files with a match
  std::atomic<std::uint64_t> named_{0};  // files whose names were asked for
  std::vector<std::string> wrongFiles_;
  std::mutex messagesMutex_;
  PartMessages messages_;
};

void SearchRun::GrepPart(Worker& worker, const FilePart& part) {
  const Style& style = job_.style;
  std::uint64_t count = 0;
  std::optional<FileLines> lines;
  bool begins = true;
  const auto begin = [&](const ListedFile& file, std::string_view content) {
    count = 0;
    begins = true;
    const bool matchesAlone = style.Silent() || style.json || style.onlyMatching;
    if (lines_.inverted || !matchesAlone) lines.emplace(worker.printer, lines_, file.name, content);
  };
  const auto put = [&] {
    std::string text = worker.TakeOutput();
    if (text.empty()) return;
    output_.Put(part.number, {std::move(text), begins});
    begins = false;
  };
  const auto done = [&](const ListedFile& file) {
    if (lines) lines->End();
    if (lines_.inverted) count = lines->Selected();
    lines.reset();
    const bool selected = count > 0;
    if (selected) Found();
    if (style.NamesOnly()) {
      if (selected != style.filesWithout) PrintName(worker, part, file);
    } else if (style.count && selected && style.json) {
      Json json = Printer::File(file.name);
      json["count"] = count;
      worker.printer.Json(json);
    } else if (style.count && selected) {
      worker.printer.Count(file.name, count);
    }
    put();
    count = 0;
  };
  const auto match = [&](const ListedFile& file, const std::vector<REMatch>& marks,
                         unsigned int line) {
    if (count == 0) begin(file, worker.object.GetFileContent());
    ++count;
    if (style.quiet && !lines_.inverted) Found();
    if (lines) {
      lines->Add(marks[0], line);
    } else if (style.json && !style.Silent()) {
      Json json = Printer::Place(file.name, line);
      AddMatch(json, marks, marks.size(), 0);
      worker.printer.Json(json);
    } else if (style.onlyMatching && !style.Silent()) {
      worker.printer.Record(file.name, line, marks[0].text, Printer::kMatchColor);
    }
    if (!style.Silent() && worker.out.tellp() > (1 << 16)) put();
    return lines_.inverted || count < most_;
  };
  PartSearch::OnFile without;
  if (lines_.inverted) {
    without = [&](const ListedFile& file) {
      begin(file, ContentOf(file.name));
      done(file);
    };
  }
  PartSearch search(job_, part);
  search.GrepFiles(worker.object, match, done, without);
  EndPart(part, search);
}

}  // namespace

ExitStatus RunGrepFiles(const Request& request) { return SearchRun(request).GrepFiles(); }
ExitStatus RunFindFiles(const Request& request) { return SearchRun(request).FindFiles(); }

}  // namespace tool
