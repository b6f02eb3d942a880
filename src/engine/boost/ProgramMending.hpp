// SPDX-License-Identifier: BSL-1.0
// What the engine's compile leaves wrong in a program, put right: where it loses matches.
#ifndef REGEXCLASS_ENGINE_BOOST_PROGRAMMENDING_HPP
#define REGEXCLASS_ENGINE_BOOST_PROGRAMMENDING_HPP

#include <algorithm>
#include <array>
#include <cstddef>
#include <functional>
#include <limits>
#include <type_traits>
#include <vector>

#include "engine/boost/Atoms.hpp"
#include "engine/boost/BoostRegex.hpp"

namespace RegexClass::engine {

/// Whether `repeat` has an upper limit.
inline bool IsBounded(const detail::re_repeat& repeat) {
  return repeat.max != std::numeric_limits<std::size_t>::max();
}

inline bool IsRepeat(const detail::re_syntax_base& state) {
  switch (state.type) {
    case detail::syntax_element_rep:
    case detail::syntax_element_dot_rep:
    case detail::syntax_element_char_rep:
    case detail::syntax_element_short_set_rep:
    case detail::syntax_element_long_set_rep:
      return true;
    default:
      return false;
  }
}

/// Mends a program that was just compiled and that nobody else has yet.
///
/// *Restarts.* Where an expression begins with a repeat of one character, the engine marks that as
/// `leading`, and after an attempt that failed goes on where the repeat had got to. From there a
/// match may still begin earlier: a lazy repeat with an upper limit may have had to stop, and in
/// a recursion the repeat may have been at another place. The mark is taken off such ones.
///
/// *Start maps.* The engine notes of the program, and of each side of an alternative and of a
/// repeat, with which characters below 256 it can go on and whether it can at the end of the text,
/// and tries nothing else. For some programs it notes too little: `\<` and `\>` take away what
/// another branch has put there, the way round a repeat is followed too short, the case after a
/// group and \X are forgotten. What can follow each state is found here by going over the program
/// until nothing is added any more, and what lacks is added. The maps never hold less than the
/// engine's own. Most programs have nothing that the engine forgets, and are left as they are: what
/// comes first is computed for the others alone, and in them for the states that a map asks for.
template <class Traits>
class ProgramMender {
 public:
  using Regex = boost::basic_regex<typename Traits::char_type, Traits>;

  explicit ProgramMender(Regex& regex) : regex_(regex), cases_(CasesOf(regex)) {
    ForEach([this](State& state) {
      ++size_;
      hasRecursion_ = hasRecursion_ || state.type == detail::syntax_element_recurse;
      hasLoop_ = hasLoop_ || state.type == detail::syntax_element_rep;
    });
  }

  void Run() {
    UnmarkRestarts();
    bool forgets = mixed_;
    if (!forgets && !hasLoop_ && AreKnown()) return;
    states_.reserve(size_);
    ForEach([this](State& state) { states_.push_back(&state); });
    FindWanted();
    for (std::size_t i = 0; !forgets && i < size_; ++i) {
      forgets = wanted_[i] && !IsKnown(*states_[i]);
    }
    if (!forgets && !(hasLoop_ && HasEmptyRound())) return;
    FindFirsts();
    WidenMaps();
  }

 private:
  using State = detail::re_syntax_base;
  using Char = typename Traits::char_type;
  static constexpr std::size_t kEnd = 256;

  /// The characters that come first from some state on, and at kEnd whether the end of the text may
  /// stand there. A byte for each, 0 or 1, so that the loops go through many at a time.
  struct Firsts {
    std::array<unsigned char, kEnd + 1> in = {};

    bool any() const { return std::find(in.begin(), in.end(), 1) != in.end(); }
    bool operator!=(const Firsts& other) const { return in != other.in; }
    Firsts& operator|=(const Firsts& other) {
      for (std::size_t i = 0; i < in.size(); ++i) {
        in[i] = static_cast<unsigned char>(in[i] | other.in[i]);
      }
      return *this;
    }
    Firsts operator|(const Firsts& other) const { return Firsts(*this) |= other; }
    Firsts operator&(const Firsts& other) const {
      Firsts both;
      for (std::size_t i = 0; i < in.size(); ++i) {
        both.in[i] = static_cast<unsigned char>(in[i] & other.in[i]);
      }
      return both;
    }
    Firsts operator~() const {
      Firsts others;
      for (std::size_t i = 0; i < in.size(); ++i) {
        others.in[i] = static_cast<unsigned char>(in[i] ^ 1);
      }
      return others;
    }
  };

  template <class Wanted>
  Wanted& As(std::size_t index) const {
    return *static_cast<Wanted*>(states_[index]);
  }

  /// The states belong to the regex, which tells them as constant.
  template <class Use>
  void ForEach(const Use& use) {
    for (auto* state = const_cast<State*>(regex_.get_first_state()); state != nullptr;
         state = state->next.p) {
      use(*state);
    }
  }

  void UnmarkRestarts() {
    ForEach([this](State& state) {
      if (!IsRepeat(state)) return;
      auto& repeat = static_cast<detail::re_repeat&>(state);
      if (hasRecursion_ || (IsBounded(repeat) && !repeat.greedy)) repeat.leading = false;
    });
  }

  /// Whether the engine's maps hold all that can begin with `state`, where they hold what follows.
  bool IsKnown(const State& state) const {
    switch (state.type) {
      case detail::syntax_element_startmark:
      case detail::syntax_element_endmark:
        return static_cast<const detail::re_brace&>(state).index >= 0;
      case detail::syntax_element_long_set:
        return IsSingle(state);
      case detail::syntax_element_word_start:
      case detail::syntax_element_word_end:
        // They take away what another branch has put there, and what follows is read in the case of
        // the flags.
        return !hasLoop_ &&
               cases_.in[(regex_.flags() & boost::regex_constants::icase) != 0 ? 1 : 0];
      case detail::syntax_element_literal:
      case detail::syntax_element_set:
      case detail::syntax_element_wild:
      case detail::syntax_element_backref:
      case detail::syntax_element_match:
      case detail::syntax_element_start_line:
      case detail::syntax_element_end_line:
      case detail::syntax_element_word_boundary:
      case detail::syntax_element_within_word:
      case detail::syntax_element_buffer_start:
      case detail::syntax_element_buffer_end:
      case detail::syntax_element_restart_continue:
      case detail::syntax_element_toggle_case:
      case detail::syntax_element_jump:
      case detail::syntax_element_alt:
        return true;
      default:
        return IsRepeat(state);
    }
  }

  bool AreKnown() const {
    const State* state = regex_.get_first_state();
    while (state != nullptr && IsKnown(*state)) state = state->next.p;
    return state == nullptr;
  }

  /// Whether a set holds single characters alone.
  static bool IsSingle(const State& set) {
    return static_cast<const detail::re_set_long<typename Traits::char_class_type>&>(set).singleton;
  }

  /// Whether what comes first from a state on is known without what follows it.
  static bool IsLast(const State& state) {
    switch (state.type) {
      case detail::syntax_element_literal:
      case detail::syntax_element_set:
      case detail::syntax_element_long_set:
      case detail::syntax_element_wild:
      case detail::syntax_element_backref:
      case detail::syntax_element_match:
        return true;
      default:
        return false;
    }
  }

  /// Whether some repeat can be gone round without a character. The engine fills its map while it
  /// follows such a round, and reads it half full.
  bool HasEmptyRound() const {
    // From each state on, the outermost repeat whose round can end without a character.
    std::vector<std::size_t> ending(size_, size_);
    for (std::size_t i = size_; i-- > 0;) {
      if (IsLast(*states_[i])) continue;
      ending[i] = ending[i + 1];
      if (states_[i]->type == detail::syntax_element_jump) {
        const std::size_t target = Target(i);
        ending[i] = target > i ? ending[target] : std::min(target, ending[Target(target)]);
      } else if (IsFork(i)) {
        if (ending[i] <= i) return true;
        ending[i] = std::min(ending[i], ending[Target(i)]);
      }
    }
    return false;
  }

  /// Marks the states that the maps ask for, and those that these lead to without a character.
  void FindWanted() {
    wanted_.assign(size_, hasRecursion_);
    wanted_.front() = true;
    for (std::size_t i = 0; i < size_; ++i) {
      const bool fork = IsFork(i);
      if (!fork && (!wanted_[i] || IsLast(*states_[i]))) continue;
      const bool jump = states_[i]->type == detail::syntax_element_jump;
      if (!jump) wanted_[i + 1] = true;
      if (fork || jump) wanted_[Target(i)] = true;
    }
  }

  void FindFirsts() {
    if (cases_.in[1]) {
      for (std::size_t i = 0; i < kEnd; ++i) {
        folded_[i] = regex_.get_traits().translate(static_cast<Char>(i), true);
      }
    }
    firsts_.resize(size_);
    bool grows = true;
    while (grows) {
      grows = false;
      for (std::size_t i = size_; i-- > 0;) {
        if (wanted_[i]) firsts_[i] = From(i);
      }
      for (std::size_t i = 0; !grows && i < size_; ++i) {
        grows = wanted_[i] && LooksBack(i) && From(i) != firsts_[i];
      }
    }
  }

  /// Whether what comes first from a state on depends on states before it.
  bool LooksBack(std::size_t index) const {
    switch (states_[index]->type) {
      case detail::syntax_element_jump:
        return Target(index) < index;
      case detail::syntax_element_recurse:
        return true;
      case detail::syntax_element_endmark:
        return hasRecursion_;
      default:
        return false;
    }
  }

  /// What comes first from a state on, as far as it is known of the states that it leads to.
  Firsts From(std::size_t index) {
    const State* const state = states_[index];
    switch (state->type) {
      case detail::syntax_element_literal:
      case detail::syntax_element_set:
      case detail::syntax_element_long_set:
        return firsts_[index].any() ? firsts_[index] : Member(index);
      case detail::syntax_element_alt:
        return Next(index) | firsts_[Target(index)];
      case detail::syntax_element_rep:
      case detail::syntax_element_dot_rep:
      case detail::syntax_element_char_rep:
      case detail::syntax_element_short_set_rep:
      case detail::syntax_element_long_set_rep:
        return As<detail::re_repeat>(index).min == 0 ? OnceMore(index) : Next(index);
      case detail::syntax_element_jump: {
        const std::size_t target = Target(index);
        return target < index ? OnceMore(target) : firsts_[target];
      }
      case detail::syntax_element_recurse:
        return firsts_[Target(index)];
      case detail::syntax_element_startmark:
        return As<detail::re_brace>(index).index < 0 ? Everything() : Next(index);
      case detail::syntax_element_endmark:
        return As<detail::re_brace>(index).index < 0 ? Everything() : BehindGroup(index);
      case detail::syntax_element_word_start:
        return Next(index) & Words();
      case detail::syntax_element_word_end:
        return Next(index) & ~Words();
      case detail::syntax_element_end_line:
      case detail::syntax_element_soft_buffer_end:
        return Next(index) & WithEnd(Where([](Char c, bool) { return detail::is_separator(c); }));
      case detail::syntax_element_buffer_end:
        return Next(index) & WithEnd({});
      case detail::syntax_element_toggle_case:
      case detail::syntax_element_start_line:
      case detail::syntax_element_word_boundary:
      case detail::syntax_element_within_word:
      case detail::syntax_element_buffer_start:
      case detail::syntax_element_restart_continue:
      case detail::syntax_element_backstep:
      case detail::syntax_element_assert_backref:
      case detail::syntax_element_then:
      case detail::syntax_element_fail:
        return Next(index);
      case detail::syntax_element_wild:
      case detail::syntax_element_combining:
        return ~WithEnd({});
      default:
        return Everything();
    }
  }

  /// The first characters of a literal, or the members of a set.
  Firsts Member(std::size_t index) const {
    const State* const state = states_[index];
    Firsts members;
    if (state->type == detail::syntax_element_literal) {
      const Char first = *reinterpret_cast<const Char*>(&As<detail::re_literal>(index) + 1);
      const auto number = static_cast<std::make_unsigned_t<Char>>(first);
      for (std::size_t i = 0; cases_.in[1] && i < kEnd; ++i) members.in[i] = folded_[i] == first;
      if (cases_.in[0] && number < kEnd) members.in[number] = 1;
      return members;
    }
    if (state->type == detail::syntax_element_set) {
      const unsigned char* const map = As<detail::re_set>(index)._map;
      const auto isMember = [map](auto c) { return map[static_cast<unsigned char>(c)] != 0; };
      for (std::size_t i = 0; i < kEnd; ++i) {
        members.in[i] = (cases_.in[0] && isMember(i)) || (cases_.in[1] && isMember(folded_[i]));
      }
      return members;
    }
    if (!IsSingle(*state)) return Everything();
    if (!mixed_ && index > 0 && states_[index - 1]->type == detail::syntax_element_long_set_rep) {
      const unsigned char* const map = As<detail::re_alt>(index - 1)._map;  // holds just these
      for (std::size_t i = 0; i < kEnd; ++i) members.in[i] = (map[i] & detail::mask_take) != 0;
      return members;
    }
    const auto& set = As<detail::re_set_long<typename Traits::char_class_type>>(index);
    return Where([&](Char c, bool icase) {
      const Char* const first = &c;
      return detail::re_is_set_member(first, first + 1, &set, regex_.get_data(), icase) != first;
    });
  }

  template <class Holds>
  Firsts Where(const Holds& holds) const {
    Firsts firsts;
    for (std::size_t i = 0; i < kEnd; ++i) {
      const auto c = static_cast<Char>(i);
      firsts.in[i] = cases_.Any([&](bool icase) { return holds(c, icase); }) ? 1 : 0;
    }
    return firsts;
  }

  Firsts Words() const {
    const auto mask = regex_.get_data().m_word_mask;
    return Where([&](Char c, bool) { return regex_.get_traits().isctype(c, mask); });
  }
  static Firsts Everything() { return ~Firsts(); }
  static Firsts WithEnd(Firsts firsts) {
    firsts.in[kEnd] = 1;
    return firsts;
  }

  /// Whether a state has a map of its own, for the next one and for its target.
  bool IsFork(std::size_t index) const {
    return states_[index]->type == detail::syntax_element_alt || IsRepeat(*states_[index]);
  }
  const Firsts& Next(std::size_t index) const { return firsts_[index + 1]; }
  /// From a repeat on that was gone through at least once.
  Firsts OnceMore(std::size_t repeat) const { return Next(repeat) | firsts_[Target(repeat)]; }
  /// From the end of a group on: also after what recurses into it.
  Firsts BehindGroup(std::size_t index) const {
    Firsts firsts = Next(index);
    for (std::size_t i = 0; hasRecursion_ && i < size_; ++i) {
      if (states_[i]->type != detail::syntax_element_recurse) continue;
      const int group = As<detail::re_brace>(Target(i)).index;
      if (group == As<detail::re_brace>(index).index) firsts |= Next(i);
    }
    return firsts;
  }

  /// The state that `index` can lead to beside the next one. They lie in the order of the program.
  std::size_t Target(std::size_t index) const {
    const State* const target = As<detail::re_jump>(index).alt.p;
    const auto found = std::lower_bound(states_.begin(), states_.end(), target, std::less<>());
    return static_cast<std::size_t>(found - states_.begin());
  }

  void WidenMaps() {
    for (std::size_t i = 0; i < size_; ++i) {
      if (!IsFork(i)) continue;
      auto& fork = As<detail::re_alt>(i);
      Widen(fork._map, fork.can_be_null, detail::mask_take, Next(i));
      Widen(fork._map, fork.can_be_null, detail::mask_skip, firsts_[Target(i)]);
    }
    auto& data = const_cast<std::decay_t<decltype(regex_.get_data())>&>(regex_.get_data());
    Widen(data.m_startmap, data.m_can_be_null, detail::mask_any, firsts_.front());
  }

  static void Widen(unsigned char (&map)[256], unsigned int& atEnd, detail::mask_type mask,
                    const Firsts& firsts) {
    const auto bits = static_cast<unsigned char>(mask);
    for (std::size_t i = 0; i < kEnd; ++i) {
      map[i] = static_cast<unsigned char>(map[i] | firsts.in[i] * bits);
    }
    if (firsts.in[kEnd] != 0) atEnd |= bits;
  }

  Regex& regex_;
  const Cases cases_;
  const bool mixed_ = cases_.in[0] && cases_.in[1];
  std::size_t size_ = 0;  // of the states
  std::vector<State*> states_;
  std::vector<bool> wanted_;            // by the numbers of the states
  std::vector<Firsts> firsts_;          // likewise
  std::array<Char, kEnd> folded_ = {};  // where case doesn't count
  bool hasRecursion_ = false;
  bool hasLoop_ = false;  // more than a single character is repeated
};

/// The flags to run `regex` under when `flags` are asked for. With match_any the engine reads a
/// greedy repeat as a lazy one, and its restart loses matches after one with an upper limit. Where
/// the program begins with such a one, the best match has to do for any.
template <class Char, class Traits>
boost::match_flag_type MendedFlags(const boost::basic_regex<Char, Traits>& regex,
                                   boost::match_flag_type flags) {
  if ((flags & boost::match_any) == 0) return flags;
  for (const auto* state = regex.get_first_state(); state != nullptr; state = state->next.p) {
    if (!IsRepeat(*state)) continue;
    const auto& repeat = *static_cast<const detail::re_repeat*>(state);
    if (repeat.leading && IsBounded(repeat)) return flags ^ boost::match_any;
  }
  return flags;
}

}  // namespace RegexClass::engine

#endif  // REGEXCLASS_ENGINE_BOOST_PROGRAMMENDING_HPP
