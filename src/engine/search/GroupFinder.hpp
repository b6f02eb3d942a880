// SPDX-License-Identifier: BSL-1.0
// Where the groups of a match lie that an automaton has found.
#ifndef REGEXCLASS_ENGINE_SEARCH_GROUPFINDER_HPP
#define REGEXCLASS_ENGINE_SEARCH_GROUPFINDER_HPP

#include <cstddef>
#include <cstdint>
#include <vector>

#include "engine/Flags.hpp"
#include "engine/Match.hpp"
#include "engine/search/ByteProgram.hpp"

namespace RegexClass::engine {

/// The text of a match, and the edges of what assertions can look at.
struct MatchedText {
  const char* edge;
  const char* first;
  const char* last;
  const char* otherEdge;
  const Surroundings& around;
};

/// The groups of an expression for which the next byte alone decides, at any place in a match, how
/// its text is taken: one look at each byte.
class OnePass {
 public:
  /// `program` must last, and runs forward. With not `wanted` it is none.
  OnePass(const ByteProgram& program, bool wanted);

  /// Whether the expression is one.
  bool IsOne() const { return isOne_; }

  /// Sets the ends of the groups in `parts`; those that took no part aren't touched. Returns the
  /// group that was closed last, 0 for none.
  std::size_t Find(const MatchedText& text, Part* parts) const;

 private:
  static constexpr std::uint32_t kNone = 0xffffffff;
  struct Move {
    std::uint32_t to = kNone;  // the first move of the next place
    std::uint32_t marks = 0;   // in `marks_`, for what is passed before the byte
  };

  bool Read();

  const ByteProgram& program_;
  std::vector<std::vector<std::uint32_t>> marks_{{}};
  std::vector<Move> moves_;           // a row for each place, a column for each class
  std::vector<std::uint32_t> atEnd_;  // for each place, as Move::marks, or kNone
  bool isOne_;
};

/// The groups of any other expression: tries what the engine tries, in its order, but nothing that
/// the next byte rules out, and nothing twice once that would take long.
class GroupSearch {
 public:
  /// `program` must last, and runs forward.
  GroupSearch(const ByteProgram& program, Flags flags);

  /// Whether a text isn't too long for it.
  bool Takes(std::size_t bytes) const {
    constexpr std::size_t kMost = std::size_t{64} << 20;  // tries, each a bit
    return (bytes + 1) * program_.States().size() <= kMost;
  }

  /// As OnePass::Find(). The text must be that of a match.
  std::size_t Find(const MatchedText& text, Part* parts);

 private:
  struct Attempt {
    std::uint32_t state;
    const char* at;  // null to take a mark back
  };
  struct Taken {
    Part* part;
    Part before;
    std::size_t closedBefore;
  };

  void ReadNextBytes();
  /// Whether a path from `state` can go on with a byte of a class, or end with the text.
  bool CanGoOn(std::uint32_t state, std::size_t byteClass) const {
    return (goesOn_[state * words_ + byteClass / 64] >> byteClass % 64 & 1) != 0;
  }
  template <bool kRemembers>
  bool Try(const MatchedText& text, Part* parts, std::size_t& closed);
  bool TakeBack(std::size_t& closed);
  bool Remember(std::uint32_t state, std::size_t at, std::size_t length);

  const ByteProgram& program_;
  const Flags flags_;
  const std::size_t words_;            // for a bit for each class and one for the end of the text
  std::vector<std::uint64_t> goesOn_;  // made at the first search
  std::vector<std::uint64_t> tried_;   // a bit for each place at each state
  std::vector<Attempt> toTry_;
  std::vector<Taken> taken_;
};

}  // namespace RegexClass::engine

#endif  // REGEXCLASS_ENGINE_SEARCH_GROUPFINDER_HPP
