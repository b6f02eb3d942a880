// SPDX-License-Identifier: BSL-1.0
// The states between which an automaton moves, byte by byte.
#ifndef REGEXCLASS_ENGINE_SEARCH_BYTEPROGRAM_HPP
#define REGEXCLASS_ENGINE_SEARCH_BYTEPROGRAM_HPP

#include <array>
#include <cstddef>
#include <cstdint>
#include <optional>
#include <vector>

#include "engine/Flags.hpp"
#include "engine/search/Tree.hpp"

namespace RegexClass::engine {

/// What assertions ask of the byte before or after a place; a sum of the bits below.
using Context = std::uint8_t;
constexpr Context kEdge = 1;  // there is none: the text ends here
constexpr Context kWord = 2;
constexpr Context kSeparator = 4;  // of lines
constexpr Context kCarriageReturn = 8;
constexpr Context kLineFeed = 16;
constexpr Context kUnknownWord = 32;       // part of a character, which may be one of words
constexpr Context kUnknownSeparator = 64;  // or a separator of lines

/// The context that each byte is.
using Contexts = std::array<Context, 256>;

/// What assertions ask of a place of a text, where the bytes around it don't tell.
class Surroundings {
 public:
  virtual Context Before(const char* place) const = 0;
  virtual Context After(const char* place) const = 0;

 protected:
  ~Surroundings() = default;
};

/// Whether the contexts tell whether an assertion holds between two bytes.
bool IsKnown(Assertion assertion, Context before, Context after);
/// Whether it holds.
bool Holds(Assertion assertion, Context before, Context after, Flags flags);

/// A tree as states, for a run forward through a text or back. A path through them that ends in
/// kMatch and takes the bytes of a text is a match of it; forward, those come first in which the
/// engine looks for matches.
///
/// A repeat ends with an iteration that matches the empty text, as it does for the engine, even if
/// it hasn't had its least number of them. Its body stands here twice where that can be, once for
/// what has taken nothing yet: no path comes to the same state again without a byte.
class ByteProgram {
 public:
  enum class Direction { kForward, kBackward };

  struct State {
    enum class Kind : std::uint8_t {
      kBytes,      // takes one of the set `argument`, and goes on at `next`
      kSplit,      // goes on at `next`, and if that leads to no match at `other`
      kMark,       // goes on at `next`, with the place for the mark `argument`
      kAssertion,  // goes on at `next` where it holds
      kMatch,
      kUnknown,  // goes on in a way that only the engine knows
      kFail,
    };
    Kind kind = Kind::kFail;
    std::uint32_t next = 0;
    std::uint32_t other = 0;
    std::uint32_t argument = 0;
  };

  /// Nothing when there were too many states.
  static std::optional<ByteProgram> Make(const Tree& tree, Direction direction,
                                         const Contexts& contexts);

  const std::vector<State>& States() const { return states_; }
  std::uint32_t Start() const { return start_; }
  bool HasAssertions() const { return relevant_ != 0; }

  /// Whether `state` takes the bytes of a class.
  bool Takes(const State& state, std::size_t byteClass) const {
    return sets_[state.argument][sample_[byteClass]];
  }

  /// Bytes that no state and no assertion tells apart are of one class. The class of the number
  /// ClassCount() stands for the end of the text.
  std::size_t ClassCount() const { return classCount_; }
  const std::array<std::uint8_t, 256>& Classes() const { return classes_; }
  /// What the assertions in here may ask of a byte, or of a class.
  Context ContextOf(char byte) const { return contexts_[static_cast<unsigned char>(byte)]; }
  Context ContextOfClass(std::size_t byteClass) const {
    return byteClass == classCount_ ? kEdge : contexts_[sample_[byteClass]];
  }

 private:
  class Emitter;

  void Classify(const Contexts& contexts);

  std::vector<State> states_;
  std::vector<ByteSet> sets_;
  std::uint32_t start_ = 0;
  Context relevant_ = 0;  // to the assertions
  Contexts contexts_ = {};
  std::array<std::uint8_t, 256> classes_ = {};
  std::array<std::uint8_t, 256> sample_ = {};  // a byte of each class
  std::size_t classCount_ = 1;
};

}  // namespace RegexClass::engine

#endif  // REGEXCLASS_ENGINE_SEARCH_BYTEPROGRAM_HPP
