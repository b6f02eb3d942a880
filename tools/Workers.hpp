// SPDX-License-Identifier: BSL-1.0
// Several threads on one list of files, with the output of one.
#ifndef REGEXCLASS_TOOLS_WORKERS_HPP
#define REGEXCLASS_TOOLS_WORKERS_HPP

#include <condition_variable>
#include <cstddef>
#include <cstdint>
#include <functional>
#include <map>
#include <mutex>
#include <string>
#include <vector>

#include "Output.hpp"

namespace tool {

/// Thrown by work that is no longer wanted.
struct Enough {};

/// What the parts of a run print, in the order of the parts whichever is done first. May be used by
/// any number of threads.
class OrderedOutput {
 public:
  /// `separator` comes between the files that print something.
  OrderedOutput(std::string separator, Progress& progress);

  /// What a part has to print: on standard output and, behind it, on standard error.
  struct Piece {
    std::string out;
    bool beginsFile = true;
    std::string messages = {};
  };
  /// Prints what has its turn; keeps what hasn't, and lets the caller wait when that gets much.
  /// Throws Enough when the part isn't wanted any more, and Failure when standard output fails.
  void Put(std::size_t part, Piece piece);
  /// The part has said everything. Shows how many of all files are done by now, with those of the
  /// part.
  void End(std::size_t part, std::size_t files, std::size_t all);
  /// No part is worked on any more.
  void Finish() { progress_.Clear(); }
  /// No part behind this one is wanted.
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

/// A stretch of the list.
struct Part {
  std::size_t number = 0;
  std::size_t begin = 0;
  std::size_t end = 0;
};

/// Hands parts of `files` files, `size` to a part, to `workers` threads, the caller's included;
/// `makeWorker` makes the function that works on a part, once for each thread. The first exception,
/// but for Enough, ends the run and passes to the caller.
using Work = std::function<void(const Part& part)>;
void RunWorkers(OrderedOutput& output, std::size_t files, std::size_t size, unsigned int workers,
                const std::function<Work()>& makeWorker);

}  // namespace tool

#endif  // REGEXCLASS_TOOLS_WORKERS_HPP
