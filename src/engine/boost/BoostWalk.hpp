// SPDX-License-Identifier: BSL-1.0
// The way of Boost.Regex from match to match.
#ifndef REGEXCLASS_ENGINE_BOOST_BOOSTWALK_HPP
#define REGEXCLASS_ENGINE_BOOST_BOOSTWALK_HPP

#include <algorithm>
#include <cstddef>
#include <cstdint>
#include <limits>
#include <optional>

#include "engine/boost/BoostRegex.hpp"
#include "engine/boost/Limits.hpp"
#include "engine/boost/ProgramMending.hpp"
#include "engine/boost/ProgramReader.hpp"
#include "engine/boost/Results.hpp"
#include "engine/search/Walk.hpp"
#include "engine/unicode/Utf8.hpp"

namespace RegexClass::engine {

/// Reads a text through `Iterator`: its bytes, or its characters in UTF-8.
template <class Iterator, class Traits>
class BoostWalk : public EngineWalk {
 public:
  using Regex = boost::basic_regex<typename Traits::char_type, Traits>;
  using Results = CountedResults<Iterator>;
  using Flags = boost::match_flag_type;

  /// `length` is how many bytes the expression has. The results of each match come into `results`.
  BoostWalk(const Regex& regex, std::size_t length, Iterator first, Iterator last, Flags flags,
            Results& results)
      : regex_(regex),
        length_(length),
        first_(first),
        last_(last),
        asked_(flags),
        flags_(MendedFlags(regex, flags)),
        results_(results) {}

  void SetStepLimit(std::optional<std::uint64_t> steps) override {
    stepLimit_ = steps;
    if (matcher_) *results_.steps = 0;
  }

  bool MatchWhole() override {
    Begin(asked_);
    Count();
    return matcher_->match();
  }

  bool Next(Found& found) override {
    Found next;
    if (!Find(found, next)) return false;
    RequireProgress(results_, found.first != nullptr ? At(found.last) : first_);
    found = {ByteAt(results_[0].first), ByteAt(results_[0].second), next.insisted};
    return true;
  }

  bool FindAt(const char* place, const char* from, Found& found) override {
    Iterator at = first_;
    if (!Move(at, place) || !IsInMap(*at)) return false;
    if (!matcher_) BeginAmid();
    results_.set_second(at);
    if (!FindHere()) return false;
    Accept(from, found);
    return true;
  }

  bool FindSame(const Found& same, const char* from) override {
    Found found = same;
    if (same.first != same.last) return FindAt(same.first, from, found);
    // Unless the match before is an empty one, the engine goes on where that has ended.
    const Iterator at = At(same.first);
    if (first_ == last_) {
      Begin(flags_);
    } else {
      if (!matcher_) BeginAmid();
      results_.set_first(at == first_ ? last_ : first_);
      results_.set_second(at);
    }
    matcher_->setf(boost::match_continuous);
    const bool isFound = Search();
    matcher_->unsetf(boost::match_continuous);
    if (isFound) Accept(from, found);
    return isFound;
  }

  const char* NextPlace(const char* place) const override {
    Iterator at = At(place);
    return ByteAt(++at);
  }

  Context Before(const char* place) const override {
    Iterator at = first_;
    if (!Move(at, place)) return 0;
    return at == first_ ? kEdge : ContextOf(regex_, *--at);
  }
  Context After(const char* place) const override {
    Iterator at = first_;
    if (!Move(at, place)) return 0;
    return at == last_ ? kEdge : ContextOf(regex_, *at);
  }

  void Take(Match& match) const override { ToMatch(results_, match); }

 private:
  using Matcher = detail::perl_matcher<Iterator, typename Results::allocator_type, Traits>;

  /// False when no place for an iterator is there.
  static bool Move(const char*& place, const char* to) {
    place = to;
    return true;
  }
  static bool Move(Utf8Iterator& place, const char* to) { return place.MoveTo(to); }
  Iterator At(const char* place) const {
    Iterator at = first_;
    Move(at, place);
    return at;
  }

  void Accept(const char* from, Found& found) {
    RequireProgress(results_, At(from));
    // The engine takes the text before the match from where it was sent.
    auto& before = const_cast<boost::sub_match<Iterator>&>(results_.prefix());
    before.first = At(from);
    before.matched = before.first != before.second;
    found = {ByteAt(results_[0].first), ByteAt(results_[0].second), false};
  }

  bool IsInMap(typename Traits::char_type c) const {
    return detail::can_start(c, regex_.get_map(), detail::mask_any);
  }

  bool Find(const Found& former, Found& next) {
    const bool again = former.first != nullptr;
    if (!matcher_ && !again) {
      Begin(flags_);
      return Search();
    }
    if (!matcher_) BeginAmid();
    const auto goBack = [&] {
      const auto& whole = results_[0];
      if (ByteAt(whole.first) == former.first && ByteAt(whole.second) == former.last) return;
      results_.set_first(At(former.first));
      results_.set_second(At(former.last));
    };
    if (!again) {
      results_.set_second(first_);
      return Search();
    }
    goBack();
    if (!former.insisted) {
      if (former.last == ByteAt(last_)) return false;
      if (former.first == former.last) {
        // After an empty match, one that isn't empty is tried for in the same place.
        next.insisted = FindHere();
        if (next.insisted) return true;
        goBack();
      }
    }
    return Search();
  }

  /// Whether a match that isn't empty begins where the engine is.
  bool FindHere() {
    const Flags here = boost::match_not_null | boost::match_continuous;
    matcher_->setf(here);
    const bool found = Search();
    matcher_->unsetf(here & ~flags_);
    // Newer releases of the engine forget this flag when another is taken back.
    if (isAny_) matcher_->setf(boost::match_any);
    return found;
  }

  bool Search() {
    Count();
    return matcher_->find();
  }
  /// Takes what the engine's last search has cost from what there is for the next one.
  void Count() {
    constexpr std::uint64_t kMost = std::numeric_limits<std::ptrdiff_t>::max();
    if (stepLimit_) {
      *stepLimit_ -= std::min(*stepLimit_, static_cast<std::uint64_t>(*results_.steps));
      *results_.limit = static_cast<std::ptrdiff_t>(std::min(*stepLimit_, kMost));
    } else {
      if (ownLimit_ == 0) ownLimit_ = StateLimit(ByteAt(last_) - ByteAt(first_), length_);
      *results_.limit = ownLimit_;
    }
    *results_.steps = 0;
  }

  void Begin(Flags flags) { matcher_.emplace(first_, last_, results_, regex_, flags, first_); }
  /// As if there had been a search already.
  void BeginAmid() {
    Begin(flags_);
    matcher_->setf(boost::regex_constants::match_init);
    results_.set_size(regex_.mark_count() + 1, first_, last_);
    results_.set_base(first_);
    results_.set_named_subs(regex_.get_named_subs());
  }

  const Regex& regex_;
  const std::size_t length_;
  std::optional<Matcher> matcher_;
  std::ptrdiff_t ownLimit_ = 0;  // of each of the engine's searches; 0: not asked for yet
  std::optional<std::uint64_t> stepLimit_;  // that is left, in its stead
  const Iterator first_;
  const Iterator last_;
  const Flags asked_;
  const Flags flags_;
  const bool isAny_ = (flags_ & boost::match_any) != 0 && !regex_.get_data().m_disable_match_any;
  Results& results_;
};

/// What the aids of a search ask of a program of Boost.Regex.
template <class Traits>
class BoostProgram final : public Program {
 public:
  using Regex = boost::basic_regex<typename Traits::char_type, Traits>;

  explicit BoostProgram(const Regex& regex) : regex_(regex) {}

  std::optional<Tree> Language() const override { return ReadProgram(regex_); }
  std::optional<ExactProgram> Exactly(engine::Flags flags) const override {
    return ReadExactly(regex_, flags);
  }
  bool IsTried(unsigned char byte) const override {
    using Char = typename Traits::char_type;
    if (sizeof(Char) > 1 && byte >= 0x80) return true;
    return detail::can_start(static_cast<Char>(byte), regex_.get_map(), detail::mask_any);
  }
  unsigned int GroupCount() const override {
    return static_cast<unsigned int>(regex_.mark_count());
  }

 private:
  const Regex& regex_;
};

}  // namespace RegexClass::engine

#endif  // REGEXCLASS_ENGINE_BOOST_BOOSTWALK_HPP
