// SPDX-License-Identifier: BSL-1.0
// Ranges of characters in a list where case doesn't count.

#include <algorithm>
#include <cstddef>
#include <type_traits>
#include <utility>
#include <vector>

#include "engine/unicode/UnicodeTraits.hpp"

namespace RegexClass::engine {
namespace {

namespace detail = boost::BOOST_REGEX_DETAIL_NS;

using CharSet = detail::basic_char_set<EngineChar, UnicodeTraits>;
using Member = CharSet::digraph_type;

EngineChar Fold(EngineChar c) { return UnicodeTraits::translate_nocase(c); }
Member Fold(const Member& member) { return {Fold(member.first), Fold(member.second)}; }

/// Calls `step` with each character from `first` to `last` that folding changes.
template <class Step>
void ForEachFolded(EngineChar first, EngineChar last, Step step) {
  const auto forRun = [&](EngineChar begin, EngineChar end) {
    for (EngineChar c = std::max(first, begin); c <= last && c < end; ++c) step(c);
  };
  forRun('A', 'Z' + 1);
  const std::vector<EngineChar>& changes = UnicodeTraits::CaseChanges();
  for (std::size_t run = 0; run < changes.size(); run += 2) forRun(changes[run], changes[run + 1]);
}

/// A list as the engine is to have it, which compares the folded characters of a text with it.
/// Ranges stay as they are, and what their other members are folded to is added.
class ClosedList {
 public:
  ClosedList(const CharSet& list, const UnicodeTraits& traits, bool collates) : traits_(traits) {
    if (list.is_negated()) closed_.negate();
    closed_.add_class(list.classes());
    closed_.add_negated_class(list.negated_classes());
    for (auto i = list.equivalents_begin(); i != list.equivalents_end(); ++i) {
      closed_.add_equivalent(*i);
    }
    for (auto i = list.singles_begin(); i != list.singles_end(); ++i) closed_.add_single(Fold(*i));
    for (auto i = list.ranges_begin(); i != list.ranges_end(); i += 2) {
      if (i->second != 0 || i[1].second != 0) {
        closed_.add_range(Fold(*i), Fold(i[1]));
      } else {
        closed_.add_range(*i, i[1]);
        collates ? AddFoldedByOrder(i->first, i[1].first) : AddFolded(i->first, i[1].first);
      }
    }
  }

  const CharSet& Get() const { return closed_; }

 private:
  using Key = UnicodeTraits::string_type;

  void AddFolded(EngineChar first, EngineChar last) {
    std::vector<EngineChar> outside;
    ForEachFolded(first, last, [&](EngineChar c) {
      const EngineChar folded = Fold(c);
      if (folded < first || folded > last) outside.push_back(folded);
    });
    std::sort(outside.begin(), outside.end());
    for (auto begin = outside.begin(); begin != outside.end();) {
      auto end = begin + 1;
      while (end != outside.end() && AreNeighbours(end[-1], *end)) ++end;
      closed_.add_range(*begin, end[-1]);
      begin = end;
    }
  }

  /// Whether no folded character lies between two.
  static bool AreNeighbours(EngineChar a, EngineChar b) {
    while (++a < b) {
      if (Fold(a) == a) return false;
    }
    return true;
  }

  void AddFoldedByOrder(EngineChar first, EngineChar last) {
    const Key begin = KeyOf(first);
    const Key end = KeyOf(last);
    const auto isInside = [&](const Key& key) { return begin <= key && key <= end; };
    if (keys_.empty()) {
      ForEachFolded(0, kLastCodePoint, [&](EngineChar c) { keys_.emplace_back(c, KeyOf(c)); });
    }
    for (const auto& [c, key] : keys_) {
      if (isInside(key) && !isInside(KeyOf(Fold(c)))) closed_.add_single(Fold(c));
    }
  }

  Key KeyOf(EngineChar c) const { return traits_.transform(&c, &c + 1); }

  const UnicodeTraits& traits_;
  std::vector<std::pair<EngineChar, Key>> keys_;  // of what folding changes
  CharSet closed_;
};

}  // namespace
}  // namespace RegexClass::engine

namespace boost::BOOST_REGEX_DETAIL_NS {

using RegexClass::engine::EngineChar;
using RegexClass::engine::UnicodeTraits;

template <>
re_syntax_base* basic_regex_creator<EngineChar, UnicodeTraits>::append_set(
    const basic_char_set<EngineChar, UnicodeTraits>& set) {
  const auto append = [this](const auto& each) {
    return append_set(each, static_cast<std::false_type*>(nullptr));
  };
  if (!m_icase) return append(set);
  const bool collates = (flags() & regex_constants::collate) != 0;
  const RegexClass::engine::ClosedList closed(set, m_traits, collates);
  m_icase = false;  // all is folded that is to be
  re_syntax_base* const state = append(closed.Get());
  m_icase = true;
  return state;
}

}  // namespace boost::BOOST_REGEX_DETAIL_NS
