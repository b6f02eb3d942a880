// SPDX-License-Identifier: BSL-1.0
// A file descriptor with an owner.
#ifndef REGEXCLASS_PLATFORM_POSIX_DESCRIPTOR_HPP
#define REGEXCLASS_PLATFORM_POSIX_DESCRIPTOR_HPP

#include <unistd.h>
#include <utility>

namespace RegexClass::platform {

/// Closes a descriptor with the object; a negative number is none.
class Descriptor {
 public:
  Descriptor() = default;
  explicit Descriptor(int number) : number_(number) {}
  Descriptor(Descriptor&& source) noexcept : number_(std::exchange(source.number_, -1)) {}
  Descriptor& operator=(Descriptor&& source) noexcept {
    std::swap(number_, source.number_);
    return *this;
  }
  ~Descriptor() {
    if (number_ >= 0) ::close(number_);
  }

  int Number() const { return number_; }
  /// Hands the descriptor over.
  int Release() { return std::exchange(number_, -1); }

 private:
  int number_ = -1;
};

}  // namespace RegexClass::platform

#endif  // REGEXCLASS_PLATFORM_POSIX_DESCRIPTOR_HPP
