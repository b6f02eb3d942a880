// SPDX-License-Identifier: BSL-1.0
// An automaton whose states are made when a text comes to them.
#ifndef REGEXCLASS_ENGINE_SEARCH_LAZYDFA_HPP
#define REGEXCLASS_ENGINE_SEARCH_LAZYDFA_HPP

#include <cstddef>
#include <cstdint>
#include <string>
#include <unordered_map>
#include <vector>

#include "engine/search/ByteProgram.hpp"

namespace RegexClass::engine {

/// Runs through a text with all paths of a ByteProgram at once, in one step a byte. A state of it
/// is the list of the program's states in which the paths are, the preferred ones first.
///
/// A match is told one byte late, since assertions ask what comes next: by the transition with the
/// byte after it, or with the end of the text.
class LazyDfa {
 public:
  struct Rules {
    bool longest = false;   // of the matches from one place the longest, else the preferred one
    bool anchored = false;  // a match begins where the run does
    bool backward = false;
    bool notEmpty = false;
    Flags flags = 0;
    std::size_t memory = std::size_t{2} << 20;  // bytes of states, before all of them are dropped
  };

  /// `program` must last.
  LazyDfa(const ByteProgram& program, const Rules& rules);

  /// Runs from `from` up to `last`, or down to it, and returns where the match ends; null for none.
  /// `edge` is the end of the text in that direction, `start` the context of the byte on the other
  /// side of `from`. `stop` becomes the place up to which it had to read. It may give up.
  const char* Run(const char* from, const char* last, const char* edge, Context start,
                  const Surroundings& around, const char*& stop, bool insistent);

  /// Whether the last run stopped, with a result that means nothing: it made states nearly as fast
  /// as it read bytes, and had to drop them all, unless it was `insistent`; or came to where only
  /// the engine knows how to go on.
  bool GaveUp() const { return gaveUp_; }

 private:
  // A transition: the number of the first transition of the state it leads to, and:
  static constexpr std::uint32_t kMatch = 0x80000000;
  static constexpr std::uint32_t kNotMade = 0x7fffffff;
  static constexpr std::uint32_t kUnknown = 0x7ffffffe;
  static constexpr std::uint32_t kDead = 0;  // no path is left
  static constexpr std::uint32_t kGroupEnd = 0xffffffff;

  struct State {
    std::vector<std::uint32_t> paths;  // kGroupEnd after those from one place
    Context before = 0;
    bool closed = false;   // no match begins any more
    bool initial = false;  // nothing was read yet, by a run that is anchored
  };

  std::uint32_t Start(Context before);
  void MakeRoom(std::uint32_t& state);
  /// The transition of `state` by a class, which is kUnknown where it depends on what the classes
  /// don't tell.
  std::uint32_t Step(std::uint32_t state, std::size_t byteClass);
  std::uint32_t StepAt(const char* place, std::uint32_t state, std::size_t byteClass,
                       const Surroundings& around);
  std::uint32_t Make(std::uint32_t state, std::size_t byteClass, Context before, Context after);
  void Follow(std::uint32_t path, std::size_t byteClass, Context before, Context after,
              bool mayBeEmpty);
  void EndGroup();
  std::uint32_t NumberOf(State state);
  void Drop();

  const ByteProgram& program_;
  const Rules rules_;
  const std::uint32_t width_;  // of a state's transitions
  std::vector<std::uint32_t> transitions_;
  std::vector<State> states_;
  std::unordered_map<std::string, std::uint32_t> numbers_;
  std::unordered_map<std::uint64_t, std::uint32_t>
      resolved_;               // transitions that are kUnknown above
  std::uint32_t starts_[128];  // for each context
  std::size_t memory_ = 0;
  std::size_t misses_ = 0;  // transitions that were made since the states were dropped
  std::size_t read_ = 0;    // bytes that were read since then, by runs that have ended
  bool gaveUp_ = false;

  // Of one step.
  std::uint32_t step_ = 0;
  std::vector<std::uint32_t> seen_;   // the step in which a state of the program was met last
  std::vector<std::uint32_t> taken_;  // likewise, and came into `paths_`
  std::vector<std::uint32_t> paths_;
  std::vector<std::uint32_t> toFollow_;
  std::size_t group_ = 0;  // where in `paths_` it begins
  bool matched_ = false;
  bool unknown_ = false;  // a path goes on in a way that only the engine knows
};

}  // namespace RegexClass::engine

#endif  // REGEXCLASS_ENGINE_SEARCH_LAZYDFA_HPP
