// SPDX-License-Identifier: BSL-1.0
// What makes searches faster, and costs something before it does.
#ifndef REGEXCLASS_ENGINE_SEARCH_LAZY_HPP
#define REGEXCLASS_ENGINE_SEARCH_LAZY_HPP

#include <algorithm>
#include <cstddef>
#include <memory>

namespace RegexClass::engine {

/// An aid for the searches of one expression, made when that has searched so much text that it
/// pays.
template <class Aid>
class Lazy {
 public:
  /// `price` is how many bytes are searched before.
  explicit Lazy(std::size_t price) : price_(price) {}

  /// The aid for a search that will read `ahead` bytes at least; null when there is none yet or
  /// never. `make` makes it.
  template <class Make>
  Aid* For(std::size_t ahead, Make make) {
    return searched_ + ahead < price_ ? nullptr : Now(make);
  }
  /// The same, whatever was searched.
  template <class Make>
  Aid* Now(Make make) {
    if (!made_) aid_ = make();
    made_ = true;
    return aid_.get();
  }

  /// Whether it is known that there never is one.
  bool IsNone() const { return made_ && aid_ == nullptr; }

  /// Counts text that was searched.
  void Searched(std::size_t bytes) { searched_ += bytes; }
  /// Takes notice that it has helped with a text, or given up on it. Then the next texts go without
  /// it, twice as long after each one on which it gives up.
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
  std::unique_ptr<Aid> aid_;
};

}  // namespace RegexClass::engine

#endif  // REGEXCLASS_ENGINE_SEARCH_LAZY_HPP
