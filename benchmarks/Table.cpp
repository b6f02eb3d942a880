// SPDX-License-Identifier: BSL-1.0
#include "Table.hpp"

#include <algorithm>
#include <cstddef>
#include <cstdint>
#include <cstdio>
#include <map>
#include <utility>
#include <vector>

#include "engine/search/SearchTuning.hpp"

namespace RegexClass::benchmarks {
namespace {

/// What nine of ten runs don't undercut. Other work on the machine slows runs down in phases, which
/// moves a median to and fro between two humps; this stays with the undisturbed runs.
constexpr const char* kStatistic = "decile";
double Decile(const std::vector<double>& measured) {
  std::vector<double> times = measured;
  const auto at = times.begin() + static_cast<std::ptrdiff_t>(times.size() / 10);
  std::nth_element(times.begin(), at, times.end());
  return *at;
}

/// Keeps the time of each run, in nanoseconds, by the name of the run.
class Times : public benchmark::BenchmarkReporter {
 public:
  bool ReportContext(const Context&) override { return true; }
  void ReportRuns(const std::vector<Run>& runs) override {
    for (const Run& run : runs) {
      if (run.error_occurred) {
        std::fprintf(stderr, "%s: %s\n", run.benchmark_name().c_str(), run.error_message.c_str());
      }
      if (run.run_type != Run::RT_Aggregate || run.aggregate_name != kStatistic) continue;
      const std::string& name = run.run_name.function_name;
      cpu_[name] = run.GetAdjustedCPUTime();
      real_[name] = run.GetAdjustedRealTime();
    }
  }

  /// 0 for a run that wasn't measured.
  double Of(const std::string& name, bool wallClock) const {
    const auto& measured = wallClock ? real_ : cpu_;
    const auto found = measured.find(name);
    return found == measured.end() ? 0 : found->second;
  }

 private:
  std::map<std::string, double> cpu_;
  std::map<std::string, double> real_;
};

std::string Format(const char* format, double number) {
  char text[32];
  std::snprintf(text, sizeof text, format, number);
  return text;
}

std::string Time(double nanoseconds) {
  if (nanoseconds <= 0) return "";
  static constexpr const char* kUnits[] = {"ns", "us", "ms", "s"};
  std::size_t unit = 0;
  while (nanoseconds >= 1000 && unit < 3) {
    nanoseconds /= 1000;
    ++unit;
  }
  return Format(nanoseconds < 10    ? "%.2f "
                : nanoseconds < 100 ? "%.1f "
                                    : "%.0f ",
                nanoseconds) +
         kUnits[unit];
}

std::string Ratio(double time, double other) {
  if (time <= 0 || other <= 0) return "";
  const double ratio = time / other;
  return Format(ratio < 0.01 ? "%.4f" : ratio < 100 ? "%.2f" : "%.0f", ratio);
}

void Print(const std::vector<std::string>& cells) {
  static constexpr int kWidths[] = {-28, -37, -21, 7, 7, 6, 14, 15, 6};
  for (std::size_t i = 0; i < cells.size(); ++i) {
    std::printf("| %*s ", kWidths[i], cells[i].c_str());
  }
  std::puts("|");
  std::fflush(stdout);
}

}  // namespace

Run WithoutFinders(Run run) {
  return [run = std::move(run)](benchmark::State& state) {
    engine::SearchTuning::Use({SIZE_MAX, SIZE_MAX, SIZE_MAX});
    run(state);
    engine::SearchTuning::Use({});
  };
}

bool Table::Wants(const std::string& work, const std::string& text) const {
  return (work + ", " + text).find(filter_) != std::string::npos;
}

void Table::Add(const Row& row) {
  if (!Wants(row.work, row.text)) return;
  if (!begun_) {
    begun_ = true;
    Print({"operation", "on", "beside", "its", "ours", "ratio", "without finder", "with subscriber",
           "ratio"});
    Print({":--", ":--", ":--", "--:", "--:", "--:", "--:", "--:", "--:"});
  }
  const auto add = [&](const char* name, const Run& run) {
    if (!run) return;
    auto* const registered = benchmark::RegisterBenchmark(name, run);
    registered->Repetitions(row.rounds)
        ->ReportAggregatesOnly()
        ->ComputeStatistics(kStatistic, Decile);
    if (row.wholeRuns) registered->Iterations(1);
    if (row.ownTime) {
      registered->UseManualTime();
    } else if (row.wholeRuns) {
      registered->UseRealTime();
    }
  };
  add("other", row.other);
  add("library", row.ours);
  add("alone", row.without);
  add("subscribed", row.subscribed);
  Times times;
  benchmark::RunSpecifiedBenchmarks(&times, ".*");
  benchmark::ClearRegisteredBenchmarks();

  const double other = times.Of("other", row.wholeRuns);
  const double library = times.Of("library", row.wholeRuns);
  const double subscribed = times.Of("subscribed", row.wholeRuns);
  Print({row.work, row.text, row.beside, Time(other), Time(library), Ratio(library, other),
         Time(times.Of("alone", row.wholeRuns)), Time(subscribed), Ratio(subscribed, other)});
}

}  // namespace RegexClass::benchmarks
