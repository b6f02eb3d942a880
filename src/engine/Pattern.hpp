// SPDX-License-Identifier: BSL-1.0
// What an expression can match, as a regular language of bytes.
#ifndef REGEXCLASS_ENGINE_PATTERN_HPP
#define REGEXCLASS_ENGINE_PATTERN_HPP

#include <bitset>
#include <cstddef>
#include <limits>
#include <utility>
#include <vector>

namespace RegexClass::engine {

using ByteSet = std::bitset<256>;

/// A tree of sequences, alternatives and repeats over sets of bytes.
struct Pattern {
  enum class Kind {
    kBytes,         // one byte of `bytes`
    kSequence,      // `parts`, one behind the other; the empty text when there are none
    kAlternatives,  // one of `parts`
    kRepeat,        // `least` to `most` times the one of `parts`
  };
  static constexpr std::size_t kUnbounded = std::numeric_limits<std::size_t>::max();

  static Pattern Of(const ByteSet& bytes) { return {Kind::kBytes, bytes, {}}; }
  static Pattern Sequence(std::vector<Pattern> parts = {}) {
    return {Kind::kSequence, {}, std::move(parts)};
  }
  static Pattern Alternatives(std::vector<Pattern> parts) {
    return {Kind::kAlternatives, {}, std::move(parts)};
  }
  static Pattern Repeat(Pattern part, std::size_t least, std::size_t most) {
    return {Kind::kRepeat, {}, {std::move(part)}, least, most};
  }

  Kind kind;
  ByteSet bytes;
  std::vector<Pattern> parts;
  std::size_t least = 1;
  std::size_t most = 1;
};

}  // namespace RegexClass::engine

#endif  // REGEXCLASS_ENGINE_PATTERN_HPP
