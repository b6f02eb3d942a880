// SPDX-License-Identifier: BSL-1.0
// What is the same on every system.
#include "platform/FileReader.hpp"

#include <algorithm>

namespace RegexClass::platform {

FileReader::Outcome FileReader::Failed(Outcome outcome, platform::Error error) {
  if (outcome == Outcome::kNotOpened && LeadsNowhere(error)) return Outcome::kNotAFile;
  error_ = error;
  return outcome;
}

FileReader::Outcome FileReader::ReadToEnd(std::uint64_t told, const Step& step) {
  // The size is a hint: it is 0 for files that a system makes up, and it may change.
  if (told > largest_) return Outcome::kTooLarge;
  static constexpr std::size_t kAtLeast = 65536;
  std::size_t size = 0;
  for (;;) {
    if (size == buffer_.size() || buffer_.size() <= told) {
      const std::size_t wanted =
          std::max({kAtLeast, static_cast<std::size_t>(told) + 1, size + size / 2});
      if (size == 0) buffer_ = std::vector<char>();  // nobody needs both at a time
      buffer_.resize(std::max(buffer_.size(), std::min(wanted, largest_ + 1)));
    }
    std::size_t count = 0;
    if (const platform::Error error = step(buffer_.data() + size, buffer_.size() - size, count)) {
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
