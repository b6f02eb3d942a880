// SPDX-License-Identifier: BSL-1.0
// The way from match to match of a text, which all operations go.
#ifndef REGEXCLASS_ENGINE_SEARCH_WALK_HPP
#define REGEXCLASS_ENGINE_SEARCH_WALK_HPP

#include <cstddef>
#include <cstdint>
#include <memory>
#include <optional>
#include <string_view>
#include <vector>

#include "engine/Expression.hpp"
#include "engine/Flags.hpp"
#include "engine/Match.hpp"
#include "engine/search/Automaton.hpp"
#include "engine/search/ByteSequence.hpp"
#include "engine/search/CandidateFinder.hpp"
#include "engine/search/FirstBytes.hpp"
#include "engine/search/Lazy.hpp"
#include "engine/search/SearchTuning.hpp"
#include "engine/search/Tree.hpp"

namespace RegexClass::engine {

/// What the aids of a search are made from: the engine's program of an expression.
class Program {
 public:
  virtual ~Program() = default;
  /// A language that holds each match, and maybe more; nothing when the program isn't understood.
  virtual std::optional<Tree> Language() const = 0;
  /// All that it does under `flags`; nothing when it isn't regular.
  virtual std::optional<ExactProgram> Exactly(Flags flags) const = 0;
  /// Whether the engine tries to match where the character of a byte stands; true for a byte that
  /// is none.
  virtual bool IsTried(unsigned char byte) const = 0;
  virtual unsigned int GroupCount() const = 0;
};

/// The engine's way through a text. Each search throws a std::runtime_error when it gives up.
class EngineWalk : public Surroundings {
 public:
  virtual ~EngineWalk() = default;
  /// Gives the searches from now on this many steps in all; without a number, each one as many as
  /// the engine has by itself.
  virtual void SetStepLimit(std::optional<std::uint64_t> steps) = 0;
  /// Whether the whole text matches, for Take().
  virtual bool MatchWhole() = 0;
  /// The next match after `found`, if it isn't null; `found` becomes that.
  virtual bool Next(Found& found) = 0;
  /// Whether a match that isn't empty begins at `place`; `found` becomes that. `from` is where the
  /// match before ended: what Take() has before the match begins there.
  virtual bool FindAt(const char* place, const char* from, Found& found) = 0;
  /// Finds a match again that another way has found, for its groups.
  virtual bool FindSame(const Found& same, const char* from) = 0;
  /// The place after the character at `place`.
  virtual const char* NextPlace(const char* place) const = 0;
  /// What the last search has found, with its groups.
  virtual void Take(Match& match) const = 0;
};

/// What the searches of one expression have found out, and what was made to help them.
class SearchAids {
 public:
  SearchAids() = default;

  /// Whether a search under `flags` takes a time that grows with the text alone, whatever the text.
  /// The aids are those of `program`.
  bool IsLinear(const Program& program, Flags flags);

 private:
  friend class Walk;

  /// A way to search that needs no engine; one of the two.
  struct Regular {
    std::unique_ptr<ByteSequence> sequence;
    std::unique_ptr<Automaton> automaton;
    bool isLinear = false;
  };
  struct UnderFlags {
    Flags flags;
    Lazy<Regular> regular;
  };

  Lazy<Regular>* For(Flags flags);
  std::unique_ptr<Regular> Make(const Program& program, Flags flags) const;

  const SearchTuning tuning_ = SearchTuning::Current();
  std::vector<std::unique_ptr<UnderFlags>> regular_;
  Lazy<FirstBytes> starts_{tuning_.startsPrice};
  Lazy<CandidateFinder> finder_{tuning_.finderPrice};
};

/// The way from match to match; see RegularExpression::Grep for its rule on empty matches.
///
/// Each match is found by the first of these that there is and that hasn't given up on the text:
/// by the candidates of a finder, each of which is tried; by the plain sequence of bytes that the
/// expression is; by an automaton; by the engine at the bytes that a match can begin with; by the
/// engine. What tries a place has the whole text in view, so that assertions and what looks ahead
/// and back mean what they mean.
class Walk {
 public:
  /// All that is passed must last, and the aids be those of the program.
  Walk(SearchAids& aids, const Program& program, EngineWalk& engine, std::string_view text,
       const SearchSettings& settings);
  Walk(const Walk&) = delete;
  Walk& operator=(const Walk&) = delete;
  ~Walk();

  /// Looks for help. `ahead` is how many bytes of the text will be searched for certain.
  void Begin(std::size_t ahead);
  /// Finds the next match.
  bool Next();
  /// Whether the whole text matches, in place of all of these.
  bool MatchWhole();
  const char* First() const { return found_.first; }
  const char* Last() const { return found_.last; }
  /// Reports each match; returns how many there are.
  unsigned int Run(const char* text, const std::shared_ptr<const GroupNames>& names,
                   const Expression::Report& report);
  /// Makes `match`, which has begun with the text, the one that was found.
  void Take(Match& match);

 private:
  void UseRegular(SearchAids::Regular* regular);
  std::size_t Length() const { return static_cast<std::size_t>(last_ - first_); }
  void LimitEngine();
  bool TrustEngine();
  template <class Search>
  bool AskEngine(Search search);
  SearchAids::Regular* LastResort();
  bool Insist();
  bool Find();
  bool FindByAutomaton(bool& found);
  template <class Places>
  bool FindIn(Places& places, bool& found);
  bool FindAt(const char* place);
  template <class Aid>
  void Settle(Lazy<Aid>& aid, bool used, bool gaveUp);

  SearchAids& aids_;
  const Program& program_;
  EngineWalk& engine_;
  const char* const first_;
  const char* const last_;
  const Flags flags_;
  const std::uint64_t stepLimit_;
  Found found_;
  bool byEngine_ = false;   // found_ is the engine's
  bool isWhole_ = false;    // likewise that of MatchWhole()
  bool isWary_ = false;     // the engine gets few steps, since an automaton may do better
  const char* from_;        // the end of the match before
  const char* before_;      // that of the match before it
  std::size_t passed_ = 0;  // the bytes that lay before matches
  Lazy<SearchAids::Regular>* regular_ = nullptr;
  const ByteSequence* sequence_ = nullptr;
  std::optional<AutomatonSearch> automaton_;
  bool automatonGaveUp_ = false;
  std::optional<Candidates> candidates_;
  std::optional<Starts> starts_;
};

}  // namespace RegexClass::engine

#endif  // REGEXCLASS_ENGINE_SEARCH_WALK_HPP
