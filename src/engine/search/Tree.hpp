// SPDX-License-Identifier: BSL-1.0
// What an expression matches, as a regular language of bytes.
#ifndef REGEXCLASS_ENGINE_SEARCH_TREE_HPP
#define REGEXCLASS_ENGINE_SEARCH_TREE_HPP

#include <algorithm>
#include <bitset>
#include <cstddef>
#include <cstdint>
#include <limits>
#include <utility>
#include <vector>

namespace RegexClass::engine {

using ByteSet = std::bitset<256>;

/// What must be true of a place of the text, which takes no bytes.
enum class Assertion : std::uint8_t {
  kLineStart,
  kLineEnd,
  kWordBoundary,
  kNoWordBoundary,
  kWordStart,
  kWordEnd,
  kTextStart,
  kTextEnd,
  kNoMoreBytes,  // the text ends here, whatever the flags make of its end
};

/// A tree of sequences, alternatives and repeats over sets of bytes; one that tells all of an
/// expression has its groups and assertions, too.
struct Tree {
  enum class Kind : std::uint8_t {
    kBytes,         // one byte of `bytes`
    kSequence,      // `parts`, one after the other; the empty text when there are none
    kAlternatives,  // one of `parts`, the first one that leads to a match
    kRepeat,        // `least` to `most` times the one of `parts`, as often as possible if `greedy`
    kMark,          // the empty text, where group `number / 2` begins or, with an odd one, ends
    kAssertion,     // the empty text, where `assertion` holds
    kUnknown,       // what only the engine knows
  };
  static constexpr std::size_t kUnbounded = std::numeric_limits<std::size_t>::max();

  static Tree Of(const ByteSet& bytes) { return {Kind::kBytes, bytes, {}}; }
  static Tree Sequence(std::vector<Tree> parts = {}) {
    return {Kind::kSequence, {}, std::move(parts)};
  }
  static Tree Alternatives(std::vector<Tree> parts) {
    return {Kind::kAlternatives, {}, std::move(parts)};
  }
  static Tree Repeat(Tree part, std::size_t least, std::size_t most, bool greedy = true) {
    Tree repeat{Kind::kRepeat, {}, {std::move(part)}, least, most};
    repeat.greedy = greedy;
    return repeat;
  }
  static Tree Mark(std::size_t number) {
    Tree mark{Kind::kMark, {}, {}};
    mark.number = static_cast<std::uint32_t>(number);
    return mark;
  }
  static Tree Asserted(Assertion assertion) {
    Tree asserted{Kind::kAssertion, {}, {}};
    asserted.assertion = assertion;
    return asserted;
  }

  static Tree Unknown() { return {Kind::kUnknown, {}, {}}; }

  Kind kind;
  ByteSet bytes;
  std::vector<Tree> parts;
  std::size_t least = 1;
  std::size_t most = 1;
  bool greedy = true;
  Assertion assertion = Assertion::kTextStart;
  std::uint32_t number = 0;
};

inline bool CanBeEmpty(const Tree& tree) {
  const auto& parts = tree.parts;
  switch (tree.kind) {
    case Tree::Kind::kBytes:
      return false;
    case Tree::Kind::kAlternatives:
      return std::any_of(parts.begin(), parts.end(), CanBeEmpty);
    case Tree::Kind::kRepeat:
      return tree.least == 0 || CanBeEmpty(parts.front());
    default:
      return std::all_of(parts.begin(), parts.end(), CanBeEmpty);
  }
}

/// Adds the bytes that a match of `tree` can begin with to `bytes`.
inline void AddFirstBytes(const Tree& tree, ByteSet& bytes) {
  bytes |= tree.bytes;
  for (const Tree& part : tree.parts) {
    AddFirstBytes(part, bytes);
    if (tree.kind == Tree::Kind::kSequence && !CanBeEmpty(part)) break;
  }
}

}  // namespace RegexClass::engine

#endif  // REGEXCLASS_ENGINE_SEARCH_TREE_HPP
