// SPDX-License-Identifier: BSL-1.0
// Several threads on the files of a run, with the output of one.
#ifndef REGEXCLASS_TOOLS_FILES_WORKERS_HPP
#define REGEXCLASS_TOOLS_FILES_WORKERS_HPP

#include <condition_variable>
#include <cstddef>
#include <cstdint>
#include <deque>
#include <functional>
#include <map>
#include <mutex>
#include <string>
#include <utility>
#include <vector>

#include "files/FileList.hpp"
#include "output/Output.hpp"

namespace tool {

/// Thrown by work that is no longer wanted, since the output has stopped before it.
struct Enough {};

/// What a thread works on at a time.
struct FilePart {
  std::size_t number = 0;
  std::vector<ListedFile> files = {};
  bool isWalk = false;  ///< It is all of a run, whose files are listed as they are searched.
};

/// The files of a run on their way from the thread that lists them to those that work on them, some
/// of which begin while the listing goes on. May be used by any number of threads.
class PartQueue {
 public:
  /// A part has `size` files or, where they are those of a directory, up to four times as many,
  /// unless it is closed before.
  explicit PartQueue(std::size_t size) : size_(size) {}

  /// Lets `ready` be called for each part that can be taken, in the thread that has put it there.
  /// To be set before the first.
  void OnReady(std::function<void()> ready) { ready_ = std::move(ready); }
  /// Puts files after those that are there. Throws Enough when no more are wanted.
  void Add(std::vector<ListedFile> files);
  /// Puts the part there that is all of a run.
  void AddWalk();
  /// Lets the files since the last part be one.
  void Close();
  /// No more files come.
  void End();
  /// No more are wanted.
  void Stop();
  /// Waits for the next part; false when there is none.
  bool Take(FilePart& part);
  /// How many files there have been by now.
  std::size_t Listed() const;

 private:
  void Close(const std::unique_lock<std::mutex>& locked);

  const std::size_t size_;
  std::function<void()> ready_;
  mutable std::mutex mutex_;
  std::condition_variable more_;
  std::size_t listed_ = 0;
  std::size_t closed_ = 0;  // parts that are complete
  FilePart open_;
  std::deque<FilePart> parts_;
  bool ended_ = false;
  bool stopped_ = false;
};

/// What the parts of a run print, in the order of the parts whichever is done first. May be used by
/// any number of threads.
class OrderedOutput {
 public:
  /// `separator` comes between the files that print something.
  OrderedOutput(std::string separator, Progress& progress);

  /// What a part has to print: on standard output and, after it, notes on standard error.
  struct Piece {
    std::string out;
    bool beginsFile = true;
    std::vector<std::string> notes = {};
  };
  /// Prints what has its turn; keeps what hasn't, and lets the caller wait when that gets much.
  /// Throws Enough when the part isn't wanted any more, and Failure when standard output fails.
  void Put(std::size_t part, Piece piece);
  /// So many more files are done, of all that there are by now.
  void ShowDone(std::size_t files, std::size_t all);
  /// The part has said everything.
  void End(std::size_t part);
  /// No part is worked on any more.
  void Finish() { progress_.Clear(); }
  /// No part after this one is wanted.
  void StopBehind(std::size_t part);
  /// Nothing is wanted any more.
  void Stop();
  /// Lets the caller wait until the part is no longer far ahead of what has its turn; false when it
  /// isn't wanted.
  bool Begin(std::size_t part, std::size_t farthest);

 private:
  using Lock = std::unique_lock<std::mutex>;
  bool Wanted(std::size_t part) const { return part < end_; }
  void Print(const Piece& piece);

  std::mutex mutex_;
  std::condition_variable turn_;
  const std::string separator_;
  Progress& progress_;
  std::size_t done_ = 0;  // files
  bool anyPrinted_ = false;
  std::size_t next_ = 0;  // the part whose turn it is
  std::size_t end_;       // the first part that isn't wanted
  struct Kept {
    std::vector<Piece> pieces;
    std::size_t bytes = 0;
    bool ended = false;
  };
  std::map<std::size_t, Kept> kept_;
};

/// Lets `workers` threads, the caller's included and no more than there are parts, work on the
/// parts that `list` puts into the queue; the caller's lists first. `makeWorker` makes the function
/// that works on a part, in each thread that gets one. The first exception, but for Enough, ends
/// the run and passes to the caller.
using Work = std::function<void(const FilePart& part)>;
void RunWorkers(OrderedOutput& output, PartQueue& queue, unsigned int workers,
                const std::function<void()>& list, const std::function<Work()>& makeWorker);

}  // namespace tool

#endif  // REGEXCLASS_TOOLS_FILES_WORKERS_HPP
