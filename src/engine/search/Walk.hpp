// SPDX-License-Identifier: BSL-1.0
// The way of the engine from match to match of a text, which all operations go.
#ifndef REGEXCLASS_ENGINE_SEARCH_WALK_HPP
#define REGEXCLASS_ENGINE_SEARCH_WALK_HPP

#include <cstddef>
#include <memory>
#include <optional>
#include <type_traits>
#include <utility>

#include "engine/boost/BoostRegex.hpp"
#include "engine/boost/Limits.hpp"
#include "engine/boost/ProgramMending.hpp"
#include "engine/boost/ProgramReader.hpp"
#include "engine/search/ByteSequence.hpp"
#include "engine/search/CandidateFinder.hpp"
#include "engine/search/Earned.hpp"
#include "engine/search/FirstBytes.hpp"
#include "engine/unicode/Utf8.hpp"

namespace RegexClass::engine {

/// What the walks of one expression have earned.
struct Helps {
  Earned<ByteSequence> sequence{CandidateFinder::tuning.price / 32};
  Earned<FirstBytes> starts{CandidateFinder::tuning.price / 8};
  Earned<CandidateFinder> finder{CandidateFinder::tuning.price};
};

/// The way from match to match; see RegularExpression::Grep for its rule on empty matches. The
/// engine reads a text through `Iterator`: its bytes, or its characters in UTF-8.
///
/// With a finder, or with the bytes that a match can begin with, the engine is tried at the places
/// that these tell alone. It has the whole text in view there, as always, so that assertions and
/// what looks ahead and behind mean what they mean. For a ByteSequence it isn't needed at all.
template <class Iterator, class Traits>
class Walk {
 public:
  using Regex = boost::basic_regex<typename Traits::char_type, Traits>;
  using Results = boost::match_results<Iterator>;
  using Flags = boost::match_flag_type;

  /// The results of each match come into `results`. `ahead` is how many bytes of the text will be
  /// searched for certain. `helps` are those of `regex`.
  Walk(Helps& helps, const Regex& regex, Iterator first, Iterator last, std::size_t ahead,
       Flags flags, Results& results)
      : helps_(helps),
        regex_(regex),
        first_(first),
        last_(last),
        flags_(MendedFlags(regex, flags)),
        results_(results) {
    if ((flags & (boost::match_partial | boost::match_continuous)) != 0) return;
    if constexpr (kBytes) {
      sequence_ = helps.sequence.For(ahead, [this] { return ByteSequence::Read(regex_); });
    }
    if (sequence_ != nullptr) results_.set_named_subs(regex.get_named_subs());
    const auto size = static_cast<std::size_t>(ByteAt(last) - ByteAt(first));
    if (size < CandidateFinder::tuning.leastText) return;
    if (CandidateFinder* const finder = helps.finder.For(ahead, [this] { return MakeFinder(); })) {
      candidates_.emplace(*finder, ByteAt(first), ByteAt(last), ahead);
    }
    if (sequence_ != nullptr) return;
    if (FirstBytes* const bytes = helps.starts.For(ahead, [this] { return MakeFirstBytes(); })) {
      starts_.emplace(*bytes, ByteAt(first), ByteAt(last));
    }
  }
  Walk(const Walk&) = delete;
  Walk& operator=(const Walk&) = delete;
  ~Walk() {
    helps_.sequence.Searched(Searched());
    Settle(helps_.finder, candidates_);
    Settle(helps_.starts, starts_);
  }

  /// Finds the next match.
  bool Next() {
    if (!Find()) {
      passed_ += static_cast<std::size_t>(ByteAt(last_) - ByteAt(from_));
      from_ = last_;
      return false;
    }
    RequireProgress(results_, from_);
    passed_ += static_cast<std::size_t>(ByteAt(results_[0].first) - ByteAt(from_));
    from_ = results_[0].second;
    return true;
  }

 private:
  static constexpr bool kBytes = std::is_same_v<Iterator, const char*>;  // no characters of several
  using Matcher = detail::perl_matcher<Iterator, typename Results::allocator_type, Traits>;

  static const char* ByteAt(const char* place) { return place; }
  static const char* ByteAt(Utf8Iterator place) { return place.Position(); }
  /// False when no place for an iterator is there.
  static bool Move(const char*& place, const char* to) {
    place = to;
    return true;
  }
  static bool Move(Utf8Iterator& place, const char* to) { return place.MoveTo(to); }

  std::unique_ptr<CandidateFinder> MakeFinder() const {
    if constexpr (kBytes) {
      if (sequence_ != nullptr && sequence_->IsFastestIn(first_, last_)) return nullptr;
    }
    const std::optional<Pattern> pattern = ReadProgram(regex_);
    return pattern ? CandidateFinder::Make(*pattern) : nullptr;
  }

  /// Null where the engine's own map is as good.
  std::unique_ptr<FirstBytes> MakeFirstBytes() const {
    constexpr int kWorthwhile = 16;  // bytes that can be left out
    const std::optional<Pattern> pattern = ReadProgram(regex_);
    if (!pattern || CanBeEmpty(*pattern)) return nullptr;
    ByteSet bytes;
    AddFirstBytes(*pattern, bytes);
    auto made = std::make_unique<FirstBytes>();
    int leftOut = 0;
    for (std::size_t i = 0; i < bytes.size(); ++i) {
      (*made)[i] = bytes[i];
      const bool isCharacter = i < 0x80 || kBytes;
      const bool tried = !isCharacter || IsInMap(static_cast<typename Traits::char_type>(i));
      if (tried && !bytes[i]) ++leftOut;
    }
    return leftOut < kWorthwhile ? nullptr : std::move(made);
  }

  std::size_t Searched() const { return static_cast<std::size_t>(ByteAt(from_) - ByteAt(first_)); }

  template <class Help, class Places>
  void Settle(Earned<Help>& help, const std::optional<Places>& places) {
    help.Searched(Searched());
    if (!places) return;
    // What was found so soon would have been found sooner without it.
    const bool little = passed_ < CandidateFinder::tuning.leastText;
    places->GaveUp() || little ? help.GaveUp() : help.Helped();
  }

  bool Find() {
    if (candidates_ && !candidates_->GaveUp()) {
      if (FindIn(*candidates_)) return true;
      if (!candidates_->GaveUp()) return false;
    }
    if constexpr (kBytes) {
      if (sequence_ != nullptr) {
        const char* const place = sequence_->Find(from_, {first_, last_, flags_});
        return place != nullptr && Take(place);
      }
    }
    if (starts_ && !starts_->GaveUp()) {
      if (FindIn(*starts_)) return true;
      if (!starts_->GaveUp()) return false;
    }
    return FindByEngine();
  }

  bool FindByEngine() {
    if (!matcher_) return Begin().find();
    if (std::exchange(lost_, false)) {
      GoTo(from_);
      return matcher_->find();
    }
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

  /// Finds the next match that begins at one of `places`; none of these is empty.
  template <class Places>
  bool FindIn(Places& places) {
    const char* place = places.Next(ByteAt(from_));
    for (; place != nullptr; place = places.Next(place + 1)) {
      Iterator at = from_;
      if (!Move(at, place) || !IsInMap(*at) || !FindAt(at)) continue;
      // The engine takes the text before the match from where it was sent.
      auto& before = const_cast<boost::sub_match<Iterator>&>(results_.prefix());
      before.first = from_;
      before.matched = before.first != before.second;
      return true;
    }
    lost_ = true;
    return false;
  }

  /// Makes the results those of the engine for a match of the sequence at `place`. True.
  bool Take(const char* place) {
    results_.set_size(1, from_, last_);
    results_.set_base(first_);
    results_.set_first(place);
    results_.set_second(place + sequence_->Width());
    return true;
  }

  bool IsInMap(typename Traits::char_type c) const {
    return detail::can_start(c, regex_.get_map(), detail::mask_any);
  }

  /// Whether a match begins at `at`.
  bool FindAt(Iterator at) {
    if constexpr (kBytes) {
      if (sequence_ != nullptr) {
        return sequence_->MatchesAt(at, {first_, last_, flags_}) && Take(at);
      }
    }
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
    if (isAny_) matcher_->setf(boost::match_any);
    return found;
  }

  /// Makes the engine go on at `place`, as if the last match had ended there.
  void GoTo(Iterator place) { results_.set_second(place); }

  Matcher& Begin() { return matcher_.emplace(first_, last_, results_, regex_, flags_, first_); }

  Helps& helps_;
  const Regex& regex_;
  std::optional<Matcher> matcher_;
  const Iterator first_;
  const Iterator last_;
  Iterator from_ = first_;  // the end of the match before
  std::size_t passed_ = 0;  // the bytes that lay before matches
  const Flags flags_;
  // Newer releases of the engine forget the flag when another is taken back.
  const bool isAny_ = (flags_ & boost::match_any) != 0 && !regex_.get_data().m_disable_match_any;
  Results& results_;
  const ByteSequence* sequence_ = nullptr;  // what the expression matches, if it's one
  bool insisted_ = false;                   // the last match was found in the place of an empty one
  bool lost_ = false;                       // the engine isn't where the last match ended
  std::optional<Candidates> candidates_;
  std::optional<Starts> starts_;
};

}  // namespace RegexClass::engine

#endif  // REGEXCLASS_ENGINE_SEARCH_WALK_HPP
