// SPDX-License-Identifier: BSL-1.0
// The way of the engine from match to match of a text, which all operations go.
#ifndef REGEXCLASS_ENGINE_WALK_HPP
#define REGEXCLASS_ENGINE_WALK_HPP

#include <cstddef>
#include <memory>
#include <optional>

#include <boost/regex.hpp>

#include "engine/CandidateFinder.hpp"
#include "engine/Limits.hpp"
#include "engine/ProgramReader.hpp"
#include "engine/Utf8.hpp"

namespace RegexClass::engine {

/// The way from match to match; see RegularExpression::Grep for its rule on empty matches. The
/// engine reads a text through `Iterator`: its bytes, or its characters in UTF-8.
///
/// With a finder, the engine is tried at the candidates alone. It has the whole text in view there,
/// as always, so that assertions and what looks ahead and behind mean what they mean.
template <class Iterator, class Traits>
class Walk {
 public:
  using Regex = boost::basic_regex<typename Traits::char_type, Traits>;
  using Results = boost::match_results<Iterator>;
  using Flags = boost::match_flag_type;

  /// The results of each match come into `results`. `ahead` is how many bytes of the text will be
  /// searched for certain. `finder` belongs to `regex`.
  Walk(EarnedFinder& finder, const Regex& regex, Iterator first, Iterator last, std::size_t ahead,
       Flags flags, Results& results)
      : finder_(finder),
        regex_(regex),
        first_(first),
        last_(last),
        flags_(flags),
        results_(results) {
    CandidateFinder* const made =
        (flags & (boost::match_partial | boost::match_continuous)) != 0
            ? nullptr
            : finder.For(ahead, [&]() -> std::unique_ptr<CandidateFinder> {
                const auto pattern = ReadProgram(regex);
                return pattern ? CandidateFinder::Make(*pattern) : nullptr;
              });
    if (made != nullptr) candidates_.emplace(*made, ByteAt(first), ByteAt(last));
  }
  Walk(const Walk&) = delete;
  Walk& operator=(const Walk&) = delete;
  ~Walk() {
    finder_.Searched(static_cast<std::size_t>(ByteAt(from_) - ByteAt(first_)));
    if (gaveUp_) finder_.GaveUp();
    if (candidates_) finder_.Helped();
  }

  /// Finds the next match.
  bool Next() {
    const bool found = candidates_ ? NextOfCandidates() : NextOfEngine();
    if (!found) {
      from_ = last_;
      return false;
    }
    RequireProgress(results_, from_);
    from_ = results_[0].second;
    return true;
  }

 private:
  using Matcher = detail::perl_matcher<Iterator, typename Results::allocator_type, Traits>;

  static const char* ByteAt(const char* place) { return place; }
  static const char* ByteAt(Utf8Iterator place) { return place.Position(); }
  /// False when no place for an iterator is there.
  static bool Move(const char*& place, const char* to) {
    place = to;
    return true;
  }
  static bool Move(Utf8Iterator& place, const char* to) { return place.MoveTo(to); }

  bool NextOfEngine() {
    if (!matcher_) return Begin().find();
    if (!insisted_) {
      if (results_[0].second == last_) return false;
      if (results_.length() == 0) {
        // Behind an empty match, one that isn't empty is tried for in the same place.
        const Results former(results_);
        insisted_ = FindHere();
        if (insisted_) return true;
        results_ = former;
      }
    }
    insisted_ = false;
    return matcher_->find();
  }

  /// No candidate's match is empty.
  bool NextOfCandidates() {
    const char* candidate = candidates_->Next(ByteAt(from_));
    for (; candidate != nullptr; candidate = candidates_->Next(candidate + 1)) {
      Iterator at = from_;
      if (!Move(at, candidate) || !WouldBeTried(at) || !FindAt(at)) continue;
      // The engine takes the text before the match from where it was sent.
      auto& before = const_cast<boost::sub_match<Iterator>&>(results_.prefix());
      before.first = from_;
      before.matched = before.first != before.second;
      return true;
    }
    gaveUp_ = candidates_->GaveUp();
    if (!gaveUp_) return false;
    candidates_.reset();
    if (matcher_) GoTo(from_);
    return matcher_ ? matcher_->find() : Begin().find();
  }

  /// Whether the engine alone would try a match at `at`. Its map of first characters leaves out one
  /// too many for some expressions that change the case, and isn't asked where a search begins in
  /// some.
  bool WouldBeTried(Iterator at) const {
    if (detail::can_start(*at, regex_.get_map(), detail::mask_any)) return true;
    switch (regex_.get_restart_type()) {
      case boost::regbase::restart_any:
        return false;
      case boost::regbase::restart_line:
        return at == from_;
      default:
        return at == first_;
    }
  }

  /// Whether a match begins at `at`.
  bool FindAt(Iterator at) {
    if (!matcher_) {
      // The engine's first attempt is always at the start of the text.
      Begin();
      const bool found = FindHere();
      if (at == first_) return found;
    }
    GoTo(at);
    return FindHere();
  }

  /// Whether a match that isn't empty begins where the engine is.
  bool FindHere() {
    const Flags here = boost::match_not_null | boost::match_continuous;
    matcher_->setf(here);
    const bool found = matcher_->find();
    matcher_->unsetf(here & ~flags_);
    return found;
  }

  /// Makes the engine go on at `place`, as if the last match had ended there.
  void GoTo(Iterator place) { results_.set_second(place); }

  Matcher& Begin() { return matcher_.emplace(first_, last_, results_, regex_, flags_, first_); }

  EarnedFinder& finder_;
  const Regex& regex_;
  std::optional<Matcher> matcher_;
  const Iterator first_;
  const Iterator last_;
  Iterator from_ = first_;  // the end of the match before
  const Flags flags_;
  Results& results_;
  bool insisted_ = false;  // the last match was found in the place of an empty one
  std::optional<Candidates> candidates_;
  bool gaveUp_ = false;
};

}  // namespace RegexClass::engine

#endif  // REGEXCLASS_ENGINE_WALK_HPP
