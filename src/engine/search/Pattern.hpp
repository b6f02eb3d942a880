// SPDX-License-Identifier: BSL-1.0
// What an expression can match, as a regular language of bytes.
#ifndef REGEXCLASS_ENGINE_SEARCH_PATTERN_HPP
#define REGEXCLASS_ENGINE_SEARCH_PATTERN_HPP

#include <algorithm>
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

inline bool CanBeEmpty(const Pattern& pattern) {
  const auto& parts = pattern.parts;
  switch (pattern.kind) {
    case Pattern::Kind::kBytes:
      return false;
    case Pattern::Kind::kAlternatives:
      return std::any_of(parts.begin(), parts.end(), CanBeEmpty);
    case Pattern::Kind::kRepeat:
      return pattern.least == 0 || CanBeEmpty(parts.front());
    default:
      return std::all_of(parts.begin(), parts.end(), CanBeEmpty);
  }
}

/// Adds the bytes that a match of `pattern` can begin with to `bytes`.
inline void AddFirstBytes(const Pattern& pattern, ByteSet& bytes) {
  bytes |= pattern.bytes;
  for (const Pattern& part : pattern.parts) {
    AddFirstBytes(part, bytes);
    if (pattern.kind == Pattern::Kind::kSequence && !CanBeEmpty(part)) break;
  }
}

}  // namespace RegexClass::engine

#endif  // REGEXCLASS_ENGINE_SEARCH_PATTERN_HPP
