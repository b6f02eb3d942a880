// SPDX-License-Identifier: BSL-1.0
// What no compile and no search may do.
#ifndef REGEXCLASS_ENGINE_BOOST_LIMITS_HPP
#define REGEXCLASS_ENGINE_BOOST_LIMITS_HPP

#include <algorithm>
#include <cstddef>
#include <cstdint>
#include <cstring>
#include <limits>
#include <stdexcept>
#include <string_view>
#include <type_traits>

#include "engine/boost/BoostRegex.hpp"

namespace RegexClass::engine {

/// What the engine's compiler has passed, in one search for the characters that can come first: the
/// bits of the repeats, by which it turns back from those where it has been, and their number,
/// alternatives included. It calls itself for both sides of each, which would take it deeper than
/// the stack is in a long list of alternatives that is repeated, and take a time of two to the
/// power of their number where they can be empty. After kMost it turns back, too, and takes for
/// granted that anything can follow.
class PassedForks {
 public:
  using Fork = boost::BOOST_REGEX_DETAIL_NS::re_syntax_base;

  /// `bits` are the compiler's own, 0 when the search begins.
  explicit PassedForks(std::uintmax_t& bits) : bits_(bits) {}

  bool IsEnough(const Fork* fork) const {
    return bits_ >= kMost * kOne ||
           (IsRepeat(fork) && (Id(fork) >= kIds || (bits_ >> Id(fork) & 1) != 0));
  }
  void Add(const Fork* fork) {
    if (IsRepeat(fork)) bits_ |= std::uintmax_t{1} << Id(fork);
    bits_ += kOne;
  }

 private:
  static constexpr unsigned int kIds = 48;  // of repeats that have bits
  static constexpr std::uintmax_t kOne = std::uintmax_t{1} << kIds;
  static constexpr std::uintmax_t kMost = 256;

  static bool IsRepeat(const Fork* fork) {
    return fork->type != boost::BOOST_REGEX_DETAIL_NS::syntax_element_alt;
  }
  static unsigned int Id(const Fork* fork) {
    return static_cast<const boost::BOOST_REGEX_DETAIL_NS::re_repeat*>(fork)->state_id;
  }

  std::uintmax_t& bits_;
};

/// Gives up on a match that ends before it begins, or that begins before `from`, the end of the
/// match before: \K in a look-ahead or a look-behind can bring that about. The engine would find
/// the one for ever, and text of two matches can't be replaced twice.
template <class Iterator>
void RequireProgress(const boost::match_results<Iterator>& results, Iterator from) {
  if (results[0].second < results[0].first || results[0].first < from) {
    throw boost::regex_error(boost::regex_constants::error_complexity);
  }
}

/// Results that know how many states the matcher has passed in its last search, and how many it may
/// pass. Both are private to the matcher, which lends them when it is made.
template <class Iterator>
struct CountedResults : boost::match_results<Iterator> {
  std::ptrdiff_t* steps = nullptr;
  std::ptrdiff_t* limit = nullptr;
};

/// For REGEXCLASS_COUNT_STEPS: the results of the matchers that it is for are counted ones.
template <class Iterator>
void Lend(boost::match_results<Iterator>& results, std::ptrdiff_t& steps, std::ptrdiff_t& limit) {
  auto& counted = static_cast<CountedResults<Iterator>&>(results);
  steps = 0;
  limit = 0;
  counted.steps = &steps;
  counted.limit = &limit;
}

/// Whether the text at `position` repeats that of a group; `position` goes behind what does. Counts
/// a step for each KB.
template <class Iterator, class Traits>
bool Repeats(const boost::sub_match<Iterator>& group, Iterator& position, Iterator last,
             const Traits& traits, bool icase, std::ptrdiff_t& steps) {
  constexpr std::ptrdiff_t kStep = 1024;
  constexpr std::ptrdiff_t kBlock = 64;
  std::ptrdiff_t length = 0;
  for (Iterator at = group.first; at != group.second; ++length) {
    if constexpr (std::is_pointer_v<Iterator>) {
      while (std::min(group.second - at, last - position) >= kBlock &&
             std::memcmp(at, position, kBlock) == 0) {
        at += kBlock;
        position += kBlock;
        length += kBlock;
      }
      if (at == group.second) break;
    }
    if (position == last || traits.translate(*position, icase) != traits.translate(*at, icase)) {
      steps += length / kStep;
      return false;
    }
    ++at;
    ++position;
  }
  steps += length / kStep;
  return true;
}

/// Has the engine's matcher of a model count its steps where we know of it. It lends the count when
/// it is made, in place of an estimate of its own, and comparing with the text of a group counts by
/// its length, since one comparison can be as long as the text. The rest of what it does for a back
/// reference is what the engine does.
#define REGEXCLASS_COUNT_STEPS(Matcher, Category)                                               \
  template <>                                                                                   \
  void Matcher::estimate_max_state_count(Category*) {                                           \
    RegexClass::engine::Lend(m_result, state_count, max_state_count);                           \
  }                                                                                             \
  template <>                                                                                   \
  bool Matcher::match_backref() {                                                               \
    namespace detail = boost::BOOST_REGEX_DETAIL_NS;                                            \
    int index = static_cast<const detail::re_brace*>(pstate)->index;                            \
    if (index >= detail::hash_value_mask) {                                                     \
      auto range = re.get_data().equal_range(index);                                            \
      do {                                                                                      \
        index = range.first->index;                                                             \
        ++range.first;                                                                          \
      } while (range.first != range.second && !(*m_presult)[index].matched);                    \
    }                                                                                           \
    const auto& group = (*m_presult)[index];                                                    \
    if ((m_match_flags & boost::match_perl) != 0 && !group.matched) return false;               \
    if (!RegexClass::engine::Repeats(group, position, last, traits_inst, icase, state_count)) { \
      return false;                                                                             \
    }                                                                                           \
    pstate = pstate->next.p;                                                                    \
    return true;                                                                                \
  }

/// How many states the engine may pass in one search of a text of `bytes` bytes before it gives up,
/// for an expression of `length` bytes. It has an estimate of its own, which is this one where a
/// character is a byte; it is taken from here, so that no release of the engine gives up sooner or
/// later than another.
inline std::ptrdiff_t StateLimit(std::ptrdiff_t bytes, std::size_t length) {
  constexpr double kLeast = 1e5;
  constexpr double kMostBySquare = 1e8;
  constexpr auto kLargest = static_cast<double>(std::numeric_limits<std::ptrdiff_t>::max());
  const double text = std::max(static_cast<double>(bytes), 1.0);
  const double states = std::max(static_cast<double>(length), 1.0);
  const double byStates = text * states * states;
  if (byStates + kLeast >= kLargest) return static_cast<std::ptrdiff_t>(kMostBySquare);
  const double bySquare = std::min(text * text, kMostBySquare);
  return static_cast<std::ptrdiff_t>(std::max(byStates, bySquare) + kLeast);
}

/// Positions are told as numbers of 32 bits with a sign.
inline void RequireAddressable(std::string_view text) {
  if (text.size() > static_cast<std::size_t>(std::numeric_limits<std::int32_t>::max())) {
    throw std::length_error("RegexClass: a text of more than 2147483647 bytes");
  }
}

}  // namespace RegexClass::engine

#endif  // REGEXCLASS_ENGINE_BOOST_LIMITS_HPP
