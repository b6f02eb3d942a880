// SPDX-License-Identifier: BSL-1.0
#include "files/Workers.hpp"

#include <algorithm>
#include <exception>
#include <iostream>
#include <limits>
#include <system_error>
#include <thread>
#include <utility>
#include <vector>

#include "output/Problems.hpp"

namespace tool {

namespace {

constexpr std::size_t kMuch = std::size_t{4} << 20U;

}  // namespace

void PartQueue::Add(std::vector<ListedFile> files) {
  const std::unique_lock<std::mutex> lock(mutex_);
  if (stopped_) throw Enough();
  listed_ += files.size();
  const std::size_t most = size_ > 1 ? 4 * size_ : 1;
  if (!open_.files.empty() && open_.files.size() + files.size() > most) Close(lock);
  for (ListedFile& file : files) {
    if (open_.files.size() >= most) Close(lock);
    open_.files.push_back(std::move(file));
  }
  if (open_.files.size() >= size_) Close(lock);
}

void PartQueue::AddWalk() {
  const std::unique_lock<std::mutex> lock(mutex_);
  open_.isWalk = true;
  Close(lock);
}

void PartQueue::Close() {
  const std::unique_lock<std::mutex> lock(mutex_);
  if (!open_.files.empty()) Close(lock);
}

/// Lets the part that is being filled be taken.
void PartQueue::Close(const std::unique_lock<std::mutex>& /*locked*/) {
  open_.number = closed_++;
  parts_.push_back(std::exchange(open_, {}));
  more_.notify_one();
  if (ready_) ready_();
}

void PartQueue::End() {
  const std::unique_lock<std::mutex> lock(mutex_);
  if (!open_.files.empty()) Close(lock);
  ended_ = true;
  more_.notify_all();
}

void PartQueue::Stop() {
  const std::lock_guard<std::mutex> lock(mutex_);
  stopped_ = true;
  more_.notify_all();
}

bool PartQueue::Take(FilePart& part) {
  std::unique_lock<std::mutex> lock(mutex_);
  more_.wait(lock, [this] { return stopped_ || ended_ || !parts_.empty(); });
  if (stopped_ || parts_.empty()) return false;
  part = std::move(parts_.front());
  parts_.pop_front();
  return true;
}

std::size_t PartQueue::Listed() const {
  const std::lock_guard<std::mutex> lock(mutex_);
  return listed_;
}

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
  for (const std::string& note : piece.notes) Problems::Note(note);
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
    Print(piece);
  } else {
    kept.pieces.push_back(std::move(piece));
  }
}

void OrderedOutput::ShowDone(std::size_t files, std::size_t all) {
  const Lock lock(mutex_);
  done_ += files;
  progress_.Show([&] { return std::to_string(done_) + " of " + std::to_string(all) + " files"; });
}

void OrderedOutput::End(std::size_t part) {
  const Lock lock(mutex_);
  kept_[part].ended = true;
  while (Wanted(next_)) {
    const auto at = kept_.find(next_);
    if (at == kept_.end()) break;
    for (const Piece& piece : std::exchange(at->second.pieces, {})) Print(piece);
    if (!at->second.ended) break;
    kept_.erase(at);
    ++next_;
  }
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

void RunWorkers(OrderedOutput& output, PartQueue& queue, unsigned int workers,
                const std::function<void()>& list, const std::function<Work()>& makeWorker) {
  std::exception_ptr failure;
  std::once_flag failed;
  const auto guarded = [&](const std::function<void()>& run) {
    try {
      return run();
    } catch (const Enough&) {
    } catch (...) {
      std::call_once(failed, [&] { failure = std::current_exception(); });
      output.Stop();
    }
    queue.Stop();
  };
  const std::function<void()> work = [&] {
    Work onPart;
    FilePart part;
    while (queue.Take(part)) {
      if (!output.Begin(part.number, 4 * std::size_t{workers})) throw Enough();
      if (!onPart) onPart = makeWorker();
      onPart(part);
      output.ShowDone(part.files.size(), queue.Listed());
      output.End(part.number);
    }
  };
  std::vector<std::thread> threads;
  bool more = true;
  queue.OnReady([&] {
    if (!more || threads.size() + 1 >= workers) return;
    try {
      threads.emplace_back(guarded, work);
    } catch (const std::system_error&) {  // fewer will do
      more = false;
    }
  });
  guarded([&] {
    list();
    queue.End();
  });
  guarded(work);
  for (std::thread& thread : threads) thread.join();
  output.Finish();
  if (failure != nullptr) std::rethrow_exception(failure);
}

}  // namespace tool
