// SPDX-License-Identifier: BSL-1.0
// What makes searches faster, and costs something before it does.
#ifndef REGEXCLASS_ENGINE_SEARCH_EARNED_HPP
#define REGEXCLASS_ENGINE_SEARCH_EARNED_HPP

#include <algorithm>
#include <cstddef>
#include <memory>

namespace RegexClass::engine {

/// A help for the searches of one expression, made when that has searched so much text that it
/// pays.
template <class Help>
class Earned {
 public:
  /// `price` is how many bytes are searched before.
  explicit Earned(std::size_t price) : price_(price) {}

  /// The help for a search that `ahead` bytes certainly lie before; null when there is none yet or
  /// never. `make` makes it.
  template <class Make>
  Help* For(std::size_t ahead, Make make) {
    if (searched_ + ahead < price_) return nullptr;
    if (!made_) help_ = make();
    made_ = true;
    return help_.get();
  }

  /// Counts text that was searched.
  void Searched(std::size_t bytes) { searched_ += bytes; }
  /// Takes notice that it was a help with a text, or gave up: how long the next ones go without it
  /// doubles from one text to the next on which it gives up.
  void Helped() { pause_ = kLeastPause; }
  void GaveUp() {
    price_ = searched_ + pause_;
    pause_ = std::min(pause_ * 2, kLongestPause);
  }

 private:
  static constexpr std::size_t kLeastPause = 4 << 10;
  static constexpr std::size_t kLongestPause = 64 << 20;

  std::size_t pause_ = kLeastPause;
  std::size_t price_;
  std::size_t searched_ = 0;
  bool made_ = false;
  std::unique_ptr<Help> help_;
};

}  // namespace RegexClass::engine

#endif  // REGEXCLASS_ENGINE_SEARCH_EARNED_HPP
