// SPDX-License-Identifier: BSL-1.0
// A search in a time that grows with the text alone, whatever the expression.
#ifndef REGEXCLASS_ENGINE_SEARCH_AUTOMATON_HPP
#define REGEXCLASS_ENGINE_SEARCH_AUTOMATON_HPP

#include <array>
#include <cstddef>
#include <memory>
#include <optional>

#include "engine/Flags.hpp"
#include "engine/Match.hpp"
#include "engine/search/ByteProgram.hpp"
#include "engine/search/GroupFinder.hpp"
#include "engine/search/LazyDfa.hpp"
#include "engine/search/SearchTuning.hpp"
#include "engine/search/Tree.hpp"

namespace RegexClass::engine {

/// Where a match was found.
struct Found {
  const char* first = nullptr;
  const char* last = nullptr;
  bool insisted = false;  ///< At the place of an empty match before, in its stead.
};

/// What an automaton is made of: all that there is to know of an expression.
struct ExactProgram {
  Tree tree;           // with its groups and assertions
  Contexts contexts;   // what each byte is to an assertion
  std::size_t groups;  // how many there are
  bool longest;        // of the matches that begin at a place the longest, else the preferred one
  Flags flags;         // under which all this holds
};

/// The matches of an expression that is regular, exactly those of the engine.
class Automaton {
 public:
  /// Null when the expression is too large.
  static std::unique_ptr<Automaton> Make(const ExactProgram& program, const SearchTuning& tuning);

  /// Whether Groups() has an answer. For a POSIX syntax that is so where there is but one way to
  /// take the text of a match.
  bool KnowsGroups() const { return !longest_ || onePass_.IsOne(); }

  /// Whether it can also go back, without which it has to try each place.
  bool CanScan() { return Backward() != nullptr; }

 private:
  friend class AutomatonSearch;

  Automaton(ByteProgram program, const ExactProgram& source, const SearchTuning& tuning);

  LazyDfa* Backward();
  LazyDfa& Whole();

  const Tree tree_;
  const Contexts contexts_;
  const bool longest_;
  const Flags flags_;
  const std::size_t memory_;
  const bool canBeEmpty_;
  std::array<bool, 256> first_ = {};  // the bytes that a match can begin with
  int onlyFirst_ = -1;                // the one, if there is but one
  int required_ = -1;                 // the rarest of the bytes that each match has
  const ByteProgram program_;
  std::optional<ByteProgram> reversed_;
  LazyDfa find_;
  LazyDfa findHere_;
  LazyDfa findMoreHere_;  // what isn't empty
  std::optional<LazyDfa> back_;
  bool triedBack_ = false;
  std::optional<LazyDfa> whole_;  // the longest match where it begins
  const OnePass onePass_;         // of an expression with groups
  GroupSearch groups_;
};

/// The search for the matches in one text, from the first to the last.
///
/// Places are tried one after the other, each of which may read far into the text.
class AutomatonSearch {
 public:
  enum class Outcome {
    kFound,
    kNone,
    kGaveUp,  // so many states were needed that the engine may be faster
  };
  /// With `insistent` it never gives up.
  AutomatonSearch(Automaton& automaton, const char* first, const char* last,
                  const Surroundings& around, bool insistent)
      : automaton_(automaton), first_(first), last_(last), around_(around), insistent_(insistent) {}

  /// The leftmost match at or after `from`.
  Outcome Find(const char* from, Found& found);
  /// The match at `at`; with `more` one that isn't empty.
  Outcome FindHere(const char* at, bool more, Found& found);
  /// Whether the whole text matches.
  Outcome MatchWhole();

  /// Whether so much was read in vain that trying the place `at` may take more than a time that
  /// grows with the text.
  bool IsWasteful(const char* at) const {
    constexpr std::size_t kAllowance = 512;
    return wasted_ > kAllowance + static_cast<std::size_t>(at - first_) / 2;
  }

  /// Sets what the groups of a match took in `parts`; where one took no part that isn't touched.
  /// Returns the group that was closed last, 0 for none. False when only the engine knows.
  bool Groups(const Found& found, Part* parts, std::size_t& closed);

 private:
  Context Before(const char* at) const {
    return at == first_ ? kEdge : automaton_.program_.ContextOf(at[-1]);
  }
  const char* NextStart(const char* from) const;
  bool CanMatchFrom(const char* from);
  Outcome Scan(const char* from, Found& found);

  Automaton& automaton_;
  const char* const first_;
  const char* const last_;
  const Surroundings& around_;
  const bool insistent_;
  const char* required_ = nullptr;  // where the byte is that each match has, if it isn't before
  std::size_t wasted_ = 0;          // bytes that were read and are to be read again
};

}  // namespace RegexClass::engine

#endif  // REGEXCLASS_ENGINE_SEARCH_AUTOMATON_HPP
