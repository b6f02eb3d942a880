// SPDX-License-Identifier: BSL-1.0
// The table that the benchmarks print.
#ifndef REGEXCLASS_BENCHMARKS_TABLE_HPP
#define REGEXCLASS_BENCHMARKS_TABLE_HPP

#include <functional>
#include <string>
#include <utility>

#include <benchmark/benchmark.h>

namespace RegexClass::benchmarks {

/// Does the work that is measured, once for each round of the state's loop.
using Run = std::function<void(benchmark::State&)>;

/// Runs `once` in the state's loop.
template <class Once>
Run Repeat(Once once) {
  return [once](benchmark::State& state) mutable {
    for (auto round : state) once();
  };
}

/// Does the same while no expression gets a finder. The objects must not have compiled before.
Run WithoutFinders(Run run);

/// One comparison.
struct Row {
  std::string work;    // the operation
  std::string text;    // on what
  std::string beside;  // what the library is compared with
  Run other;
  Run ours;
  Run subscribed;          // the library with a subscriber; empty where there is no such thing
  int rounds = 51;         // how often each of them is measured
  Run without = {};        // the library without finders; empty where that isn't of interest
  bool wholeRuns = false;  // measures the wall clock, one run each; else the processor's time
  bool ownTime = false;    // takes the time that each whole run tells
};

class Table {
 public:
  /// Only rows whose work or text holds `filter` are measured.
  explicit Table(std::string filter) : filter_(std::move(filter)) {}

  /// Whether `Add` would measure a row; for rows that are expensive to prepare.
  bool Wants(const std::string& work, const std::string& text) const;

  /// Measures the runs of a row for some milliseconds each, round by round in random order, so that
  /// all of them see the same machine, and prints the row with the first decile of each.
  void Add(const Row& row);

 private:
  const std::string filter_;
  bool begun_ = false;
};

/// Adds the rows of the operations on a string, and of compilation.
void MeasureStrings(Table& table);

/// Adds the rows of the operations on files.
void MeasureFiles(Table& table);

}  // namespace RegexClass::benchmarks

#endif  // REGEXCLASS_BENCHMARKS_TABLE_HPP
