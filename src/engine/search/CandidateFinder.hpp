// SPDX-License-Identifier: BSL-1.0
// Where in a text a match can begin, found at the speed of the memory.
#ifndef REGEXCLASS_ENGINE_SEARCH_CANDIDATEFINDER_HPP
#define REGEXCLASS_ENGINE_SEARCH_CANDIDATEFINDER_HPP

#include <algorithm>
#include <cstddef>
#include <memory>
#include <vector>

#include "engine/search/SearchTuning.hpp"
#include "engine/search/Tree.hpp"

namespace RegexClass::engine {

/// Looks for all matches of a language at once, by Hyperscan.
///
/// A match of an expression begins where a match of any language begins that holds a start of each
/// of its own matches: what matches `foo.*` begins with a `foo`. Such a shorter language is looked
/// for. Hyperscan tells each place where a match of it ends, and unless all have the same width
/// also the leftmost place where one that ends there begins. A match from a to b is therefore found
/// as one from s to b, with s at or before a: all places from those that are told up to their ends,
/// less the least width of a match, are candidates, and no match begins anywhere else, whichever of
/// them ends first.
class CandidateFinder {
 public:
  /// A finder for `tree`; null when it can match the empty text, is too large, or when the
  /// library was built without Hyperscan. `tuning` must last.
  static std::unique_ptr<CandidateFinder> Make(const Tree& tree, const SearchTuning& tuning);
  ~CandidateFinder();

 private:
  friend class Candidates;
  struct Database;
  /// Places from `first` to `last`, both included.
  struct Stretch {
    const char* first;
    const char* last;
  };

  CandidateFinder(std::unique_ptr<Database> database, const SearchTuning& tuning);

  /// Makes `found` the candidates in [first, last) for matches that end in there, ascending. False
  /// when there are too many.
  bool Scan(const char* first, const char* last, std::vector<Stretch>& found);

  /// How many candidates in [first, last) don't make the finder slower than the engine alone. A
  /// single byte is what the engine looks for fast, too, and where widths vary each costs more.
  std::size_t Tolerated(const char* first, const char* last) const;

  /// Before which place the candidates are complete when [first, last) was scanned, with more text
  /// after it: no match that begins before that place goes on after `last`.
  const char* CompleteUpTo(const char* first, const char* last) const;

  const std::unique_ptr<Database> database_;
  const SearchTuning& tuning_;
  bool cut_ = false;            // not all of the expression is looked for
  ByteSet content_;             // the bytes that a match can hold
  std::size_t least_ = 0;       // the width of a match
  std::size_t most_ = 0;        // likewise; Tree::kUnbounded for no limit
  std::vector<Stretch> spare_;  // whose memory the next text's candidates use again
};

/// The candidates of one text, in order. It is looked at in windows, small ones first, so that a
/// walk that ends early has paid for little.
class Candidates {
 public:
  /// `ahead` is how many bytes will be looked at for certain.
  Candidates(CandidateFinder& finder, const char* first, const char* last, std::size_t ahead)
      : finder_(finder),
        begin_(first),
        complete_(first),
        last_(last),
        window_(std::clamp(ahead, finder.tuning_.firstWindow, finder.tuning_.largestWindow)) {
    stretches_.swap(finder.spare_);
    stretches_.clear();
  }
  Candidates(const Candidates&) = delete;
  Candidates& operator=(const Candidates&) = delete;
  ~Candidates() { stretches_.swap(finder_.spare_); }

  /// The first candidate at or after `from`, which never goes back; null when there is none.
  const char* Next(const char* from);

  /// Whether there are too many candidates for the finder to be a help; Next() has nothing more
  /// then.
  bool GaveUp() const { return gaveUp_; }

 private:
  bool NextWindow(const char* from);

  CandidateFinder& finder_;
  const char* const begin_;
  const char* complete_;  // all candidates before this place were looked for
  const char* const last_;
  std::vector<CandidateFinder::Stretch> stretches_;
  std::size_t next_ = 0;  // in `stretches_`
  std::size_t window_;
  std::size_t told_ = 0;
  bool gaveUp_ = false;
};

}  // namespace RegexClass::engine

#endif  // REGEXCLASS_ENGINE_SEARCH_CANDIDATEFINDER_HPP
