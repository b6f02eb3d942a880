// SPDX-License-Identifier: BSL-1.0
// Where in a text a match can begin, by its first byte.
#ifndef REGEXCLASS_ENGINE_SEARCH_FIRSTBYTES_HPP
#define REGEXCLASS_ENGINE_SEARCH_FIRSTBYTES_HPP

#include <array>
#include <cstddef>

#include "engine/search/Tree.hpp"

namespace RegexClass::engine {

/// The bytes that a match can begin with. The engine has a map of them, too, but one that leaves
/// out few for an expression that begins with a repeat, and none beyond ASCII for characters.
using FirstBytes = std::array<bool, 256>;

/// The places of one text at which such a byte stands.
class Starts {
 public:
  Starts(const FirstBytes& bytes, const char* first, const char* last, std::size_t patience)
      : bytes_(bytes), first_(first), last_(last), patience_(patience) {}

  /// The first one at or after `from`, which never goes back; null when there is none.
  const char* Next(const char* from) {
    if (from == behind_ && ++vain_ > Tolerated(from)) gaveUp_ = true;
    if (gaveUp_) return nullptr;
    while (from != last_ && !bytes_[static_cast<unsigned char>(*from)]) ++from;
    if (from == last_) return nullptr;
    behind_ = from + 1;
    return from;
  }

  /// Whether there are so many without a match that the engine is faster alone; Next() has nothing
  /// more then.
  bool GaveUp() const { return gaveUp_; }

 private:
  std::size_t Tolerated(const char* from) const {
    return patience_ + static_cast<std::size_t>(from - first_) / 8;
  }

  const FirstBytes& bytes_;
  const char* const first_;
  const char* const last_;
  const std::size_t patience_;
  const char* behind_ = nullptr;  // the place that was told last
  std::size_t vain_ = 0;          // places from which the search went on at the next byte
  bool gaveUp_ = false;
};

}  // namespace RegexClass::engine

#endif  // REGEXCLASS_ENGINE_SEARCH_FIRSTBYTES_HPP
