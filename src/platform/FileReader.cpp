// SPDX-License-Identifier: BSL-1.0
// What is the same on every system.
#include "platform/FileReader.hpp"

#include <algorithm>
#include <new>
#include <tuple>

namespace RegexClass::platform {

FileReader::Outcome FileReader::Failed(Outcome outcome, platform::Error error) {
  if (outcome == Outcome::kNotOpened && LeadsNowhere(error)) return Outcome::kNotAFile;
  error_ = error;
  return outcome;
}

FileReader::Outcome FileReader::ReadToEnd(std::uint64_t told, const Step& step) {
  // The size is a hint: it is 0 for files that a system makes up, and it may change.
  if (told > largest_) return Outcome::kTooLarge;
  static constexpr std::size_t kAtLeast = std::size_t{4} << 20;
  std::size_t size = 0;
  for (;;) {
    if (size == capacity_ || capacity_ <= told) {
      const std::size_t wanted = std::min(
          std::max({kAtLeast, static_cast<std::size_t>(told) + 1, capacity_ + capacity_ / 2}),
          largest_ + 1);
      if (size == 0) buffer_.reset(), capacity_ = 0;  // nobody needs both at a time
      void* const memory = std::realloc(buffer_.get(), wanted);
      if (memory == nullptr) throw std::bad_alloc();
      std::ignore = buffer_.release();
      buffer_.reset(static_cast<char*>(memory));
      capacity_ = wanted;
    }
    std::size_t count = 0;
    if (const platform::Error error = step(buffer_.get() + size, capacity_ - size, count)) {
      return Failed(Outcome::kNotRead, error);
    }
    if (count == 0) break;
    size += count;
    if (size > largest_) return Outcome::kTooLarge;
    if (size == told) break;
  }
  size_ = size;
  return Outcome::kRead;
}

}  // namespace RegexClass::platform
