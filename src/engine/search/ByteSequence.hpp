// SPDX-License-Identifier: BSL-1.0
// Expressions that are so simple that their matches are found without the engine.
#ifndef REGEXCLASS_ENGINE_SEARCH_BYTESEQUENCE_HPP
#define REGEXCLASS_ENGINE_SEARCH_BYTESEQUENCE_HPP

#include <algorithm>
#include <array>
#include <cstddef>
#include <cstdint>
#include <functional>
#include <memory>
#include <vector>

#include "engine/search/Automaton.hpp"

namespace RegexClass::engine {

/// What an expression such as `template`, `[0-9]{4}` or `\bint\b` matches: a byte of one set, then
/// one of the next, and so on, with ends of words at some places.
class ByteSequence {
 public:
  /// A text, and the flags under which it is searched.
  struct Text {
    const char* first;
    const char* last;
    Flags flags;
  };

  /// What an expression matches; null when that is no such sequence, or a long one.
  static std::unique_ptr<ByteSequence> Make(const ExactProgram& program);

  /// The bytes of a match.
  std::size_t Width() const { return width_; }

  bool MatchesAt(const char* place, const Text& text) const {
    if (static_cast<std::size_t>(text.last - place) < width_) return false;
    for (std::size_t i = 0; i < width_; ++i) {
      if ((Places(place[i]) >> i & 1) == 0) return false;
    }
    return AreWordEnds(place, text);
  }

  /// The first match at or after `from`; null when there is none. By backward nondeterministic
  /// DAWG matching: reads back from where a match at `from` would end while what it has read occurs
  /// in a match, then goes on to where a match begins with what it has read last, or else after.
  const char* Find(const char* from, const Text& text) const {
    while (static_cast<std::size_t>(text.last - from) >= width_) {
      std::size_t left = width_ - 1;
      PlaceSet places = Places(from[left]);  // in a match, of what was read
      if (places == 0) {
        from += width_;
        continue;
      }
      std::size_t next = width_;
      while (places != 0 && left != 0) {
        if ((places & 1) != 0) next = left;
        places = places >> 1 & Places(from[--left]);
      }
      if ((places & 1) != 0 && AreWordEnds(from, text)) return from;
      from += next;
    }
    return nullptr;
  }

  /// Whether nothing is faster than Find() in a text that begins like this one: where bytes that a
  /// match can hold are rare, or where none of a match is a certain one.
  bool IsFastestIn(const char* first, const char* last) const {
    constexpr std::ptrdiff_t kSample = 16 << 10;
    constexpr std::size_t kLeastWidth = 4;
    if (width_ < kLeastWidth) return false;
    last = first + std::min(last - first, kSample);
    const auto held = std::count_if(first, last, [this](char c) { return Places(c) != 0; });
    return !hasLetter_ || held * 16 < last - first;
  }

 private:
  using PlaceSet = std::uint64_t;  // a bit for each byte of a match, the first one's lowest
  static constexpr std::size_t kLargest = 64;

  PlaceSet Places(char c) const { return places_[static_cast<unsigned char>(c)]; }

  bool AreWordEnds(const char* place, const Text& text) const {
    return std::all_of(wordEnds_.begin(), wordEnds_.end(),
                       [&](std::size_t at) { return IsWordEnd(place + at, text); });
  }
  bool IsWordEnd(const char* place, const Text& text) const {
    const bool atFirst = place == text.first;
    const bool atLast = place == text.last;
    const auto context = [&](char c) { return contexts_[static_cast<unsigned char>(c)]; };
    return Holds(Assertion::kWordBoundary, atFirst ? kEdge : context(place[-1]),
                 atLast ? kEdge : context(*place), text.flags);
  }

  std::size_t width_ = 0;
  bool hasLetter_ = false;  // one at least of a match is the same in each, but for case
  std::array<PlaceSet, 256> places_ = {};  // where in a match a byte can be
  std::vector<std::size_t> wordEnds_;      // from the start of a match
  Contexts contexts_ = {};
};

inline std::unique_ptr<ByteSequence> ByteSequence::Make(const ExactProgram& program) {
  auto sequence = std::make_unique<ByteSequence>();
  std::vector<ByteSet> sets;
  const auto unknown = [](Context context) { return (context & kUnknownWord) != 0; };
  const bool known = std::none_of(program.contexts.begin(), program.contexts.end(), unknown);
  const std::function<bool(const Tree&)> append = [&](const Tree& tree) {
    const auto& parts = tree.parts;
    switch (tree.kind) {
      case Tree::Kind::kBytes:
        sets.push_back(tree.bytes);
        break;
      case Tree::Kind::kSequence:
        return std::all_of(parts.begin(), parts.end(), append);
      case Tree::Kind::kRepeat:
        if (tree.least != tree.most || parts.front().kind != Tree::Kind::kSequence) return false;
        if (parts.front().parts.size() != 1 || tree.least > kLargest) return false;
        for (std::size_t i = 0; i < tree.least; ++i) {
          if (!append(parts.front())) return false;
        }
        break;
      case Tree::Kind::kAssertion:
        sequence->wordEnds_.push_back(sets.size());
        return tree.assertion == Assertion::kWordBoundary && known;
      default:
        return false;
    }
    return sets.size() <= kLargest;
  };
  if (!append(program.tree) || sets.empty()) return nullptr;
  sequence->width_ = sets.size();
  sequence->hasLetter_ =
      std::any_of(sets.begin(), sets.end(), [](const ByteSet& set) { return set.count() <= 2; });
  sequence->contexts_ = program.contexts;
  for (std::size_t byte = 0; byte < sequence->places_.size(); ++byte) {
    for (std::size_t i = 0; i < sets.size(); ++i) {
      if (sets[i][byte]) sequence->places_[byte] |= PlaceSet{1} << i;
    }
  }
  return sequence;
}

}  // namespace RegexClass::engine

#endif  // REGEXCLASS_ENGINE_SEARCH_BYTESEQUENCE_HPP
