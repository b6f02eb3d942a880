// SPDX-License-Identifier: BSL-1.0
// What the smallest parts of a compiled expression match.
#ifndef REGEXCLASS_ENGINE_BOOST_ATOMS_HPP
#define REGEXCLASS_ENGINE_BOOST_ATOMS_HPP

#include <cstddef>

#include "engine/boost/BoostRegex.hpp"
#include "engine/search/Tree.hpp"

namespace RegexClass::engine {

namespace detail = boost::BOOST_REGEX_DETAIL_NS;

/// Thrown for a state that a reader of a program doesn't understand.
struct NotUnderstood {};

/// Which cases a program is in somewhere: case counts; it doesn't. The engine keeps the case while
/// it runs, groups and inline options change it; a program with both is read as if each character
/// came in either.
struct Cases {
  bool in[2] = {false, false};

  /// Whether `holds` is true in one of them.
  template <class Holds>
  bool Any(Holds holds) const {
    return (in[0] && holds(false)) || (in[1] && holds(true));
  }
};

/// The case that a state changes the program to; null for a state that doesn't.
inline const bool* CaseFrom(const detail::re_syntax_base& state) {
  switch (state.type) {
    case detail::syntax_element_toggle_case:
      return &static_cast<const detail::re_case&>(state).icase;
    case detail::syntax_element_startmark:
    case detail::syntax_element_endmark:
      return &static_cast<const detail::re_brace&>(state).icase;
    default:
      return nullptr;
  }
}

/// The one case of a program that keeps it throughout, whatever path the engine takes through it:
/// nothing but brackets stands before the first change, if there is one, and the case is changed
/// back only at the end, after which nothing can fail. Else both.
template <class Char, class Traits>
Cases OneCaseOf(const boost::basic_regex<Char, Traits>& regex, bool canBeEmpty) {
  bool now = (regex.flags() & boost::regex_constants::icase) != 0;
  bool began = false;
  bool first = now;
  const auto set = [&](bool icase, const detail::re_syntax_base& next) {
    now = icase;
    if (!began) first = now;
    const bool atEnd = next.type == detail::syntax_element_match && !canBeEmpty;
    return !began || now == first || atEnd;
  };
  for (const auto* state = regex.get_first_state(); state != nullptr; state = state->next.p) {
    const bool* const changed = CaseFrom(*state);
    if (changed != nullptr && !set(*changed, *state->next.p)) return {{true, true}};
    if (changed == nullptr) began = true;
  }
  Cases cases;
  cases.in[first ? 1 : 0] = true;
  return cases;
}

template <class Char, class Traits>
Cases CasesOf(const boost::basic_regex<Char, Traits>& regex) {
  Cases cases;
  bool icase = (regex.flags() & boost::regex_constants::icase) != 0;
  const auto* state = regex.get_first_state();
  // Of the changes that a program begins with, as with (?i), the last one counts.
  for (; state != nullptr; state = state->next.p) {
    const bool* const changed = CaseFrom(*state);
    if (changed == nullptr) break;
    icase = *changed;
  }
  cases.in[icase ? 1 : 0] = true;
  for (; state != nullptr; state = state->next.p) {
    if (const bool* const changed = CaseFrom(*state)) cases.in[*changed ? 1 : 0] = true;
  }
  return cases;
}

/// What the atoms of a program of `Traits` match, as a language of bytes; here, where a character
/// is a byte.
template <class Traits>
class Atoms {
 public:
  using Regex = boost::basic_regex<char, Traits>;

  Atoms(const Regex& regex, Cases cases, bool /*exact*/) : regex_(regex), cases_(cases) {}

  Tree Literal(char literal) const {
    return Tree::Of(BytesWhere([literal](char c) { return c == literal; }));
  }

  Tree Set(const detail::re_syntax_base* state) const {
    if (state->type != detail::syntax_element_set) throw NotUnderstood();
    const unsigned char* const map = static_cast<const detail::re_set*>(state)->_map;
    return Tree::Of(BytesWhere([map](char c) { return map[static_cast<unsigned char>(c)] != 0; }));
  }

  /// A dot, which may be one that matches separators of lines, or zero bytes.
  Tree Dot(bool separators, bool zero) const {
    ByteSet bytes;
    for (std::size_t i = 0; i < bytes.size(); ++i) {
      bytes[i] = separators || !detail::is_separator(static_cast<char>(i));
    }
    bytes[0] = bytes[0] && zero;
    return Tree::Of(bytes);
  }

 private:
  /// The bytes that `holds` is true of in the form in which the engine compares them.
  template <class Holds>
  ByteSet BytesWhere(Holds holds) const {
    ByteSet bytes;
    for (std::size_t i = 0; i < bytes.size(); ++i) {
      bytes[i] = cases_.Any([&](bool icase) {
        return holds(regex_.get_traits().translate(static_cast<char>(i), icase));
      });
    }
    return bytes;
  }

  const Regex& regex_;
  const Cases cases_;
};

}  // namespace RegexClass::engine

#endif  // REGEXCLASS_ENGINE_BOOST_ATOMS_HPP
