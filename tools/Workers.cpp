// SPDX-License-Identifier: BSL-1.0
#include "Workers.hpp"

#include <algorithm>
#include <atomic>
#include <exception>
#include <iostream>
#include <limits>
#include <system_error>
#include <thread>
#include <utility>
#include <vector>

namespace tool {

namespace {

constexpr std::size_t kMuch = std::size_t{4} << 20U;

}  // namespace

OrderedOutput::OrderedOutput(std::string separator, Progress& progress)
    : separator_(std::move(separator)),
      progress_(progress),
      end_(std::numeric_limits<std::size_t>::max()) {}

void OrderedOutput::Print(const Piece& piece) {
  progress_.Clear();
  if (!piece.out.empty()) {
    if (piece.beginsFile && anyPrinted_) std::cout << separator_;
    anyPrinted_ = true;
    std::cout << piece.out;
    CheckOutput();
  }
  if (!piece.messages.empty()) {
    std::cout.flush();  // keeps the order when both go to one place
    std::cerr << piece.messages;
  }
}

bool OrderedOutput::Begin(std::size_t part, std::size_t farthest) {
  Lock lock(mutex_);
  turn_.wait(lock, [&] { return !Wanted(part) || part < next_ + farthest; });
  return Wanted(part);
}

void OrderedOutput::Put(std::size_t part, Piece piece) {
  Lock lock(mutex_);
  const auto mayPrint = [&] { return part == next_ || !Wanted(part); };
  Kept& kept = kept_[part];
  kept.bytes += piece.out.size();
  if (!mayPrint() && kept.bytes > kMuch) turn_.wait(lock, mayPrint);
  if (!Wanted(part)) throw Enough();
  if (part == next_) {
    for (const Piece& earlier : std::exchange(kept.pieces, {})) Print(earlier);
    Print(piece);
  } else {
    kept.pieces.push_back(std::move(piece));
  }
}

void OrderedOutput::End(std::size_t part, std::size_t files, std::size_t all) {
  const Lock lock(mutex_);
  done_ += files;
  kept_[part].ended = true;
  while (Wanted(next_)) {
    const auto at = kept_.find(next_);
    if (at == kept_.end()) break;
    for (const Piece& piece : std::exchange(at->second.pieces, {})) Print(piece);
    if (!at->second.ended) break;
    kept_.erase(at);
    ++next_;
  }
  progress_.Show([&] { return std::to_string(done_) + " of " + std::to_string(all) + " files"; });
  turn_.notify_all();
}

void OrderedOutput::StopBehind(std::size_t part) {
  const Lock lock(mutex_);
  end_ = std::min(end_, part + 1);
  turn_.notify_all();
}

void OrderedOutput::Stop() {
  const Lock lock(mutex_);
  end_ = 0;
  turn_.notify_all();
}

void RunWorkers(OrderedOutput& output, std::size_t files, std::size_t size, unsigned int workers,
                const std::function<Work()>& makeWorker) {
  const std::size_t parts = (files + size - 1) / size;
  std::atomic<std::size_t> nextPart{0};
  std::exception_ptr failure;
  std::once_flag failed;
  const auto run = [&](const Work& work) {
    for (;;) {
      const std::size_t number = nextPart++;
      if (number >= parts || !output.Begin(number, 4 * std::size_t{workers})) return;
      const Part part = {number, number * size, std::min(files, (number + 1) * size)};
      work(part);
      output.End(number, part.end - part.begin, files);
    }
  };
  const auto guarded = [&](const Work& work) {
    try {
      run(work);
    } catch (const Enough&) {
    } catch (...) {
      std::call_once(failed, [&] { failure = std::current_exception(); });
      output.Stop();
    }
  };
  std::vector<Work> works;
  for (std::size_t i = 0; i < std::min<std::size_t>(workers, parts); ++i) {
    works.push_back(makeWorker());
  }
  std::vector<std::thread> threads;
  try {
    for (std::size_t i = 1; i < works.size(); ++i) {
      threads.emplace_back(guarded, std::cref(works[i]));
    }
  } catch (const std::system_error&) {  // fewer will do
  }
  if (!works.empty()) guarded(works.front());
  for (std::thread& thread : threads) thread.join();
  output.Finish();
  if (failure != nullptr) std::rethrow_exception(failure);
}

}  // namespace tool
