// SPDX-License-Identifier: BSL-1.0
// What the smallest parts of a compiled expression match.
#ifndef REGEXCLASS_ENGINE_BOOST_ATOMS_HPP
#define REGEXCLASS_ENGINE_BOOST_ATOMS_HPP

#include <cstddef>

#include "engine/boost/BoostRegex.hpp"
#include "engine/search/Pattern.hpp"

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

template <class Char, class Traits>
Cases CasesOf(const boost::basic_regex<Char, Traits>& regex) {
  Cases cases;
  const auto add = [&cases](bool icase) { cases.in[icase ? 1 : 0] = true; };
  add((regex.flags() & boost::regex_constants::icase) != 0);
  for (const auto* state = regex.get_first_state(); state != nullptr; state = state->next.p) {
    if (state->type == detail::syntax_element_toggle_case) {
      add(static_cast<const detail::re_case*>(state)->icase);
    } else if (state->type == detail::syntax_element_startmark ||
               state->type == detail::syntax_element_endmark) {
      add(static_cast<const detail::re_brace*>(state)->icase);
    }
  }
  return cases;
}

/// What the atoms of a program of `Traits` match, as a language of bytes; here, where a character
/// is a byte.
template <class Traits>
class Atoms {
 public:
  using Regex = boost::basic_regex<char, Traits>;

  Atoms(const Regex& regex, Cases cases) : regex_(regex), cases_(cases) {}

  Pattern Literal(char literal) const {
    return Pattern::Of(BytesWhere([literal](char c) { return c == literal; }));
  }

  Pattern Set(const detail::re_syntax_base* state) const {
    if (state->type != detail::syntax_element_set) throw NotUnderstood();
    const unsigned char* const map = static_cast<const detail::re_set*>(state)->_map;
    return Pattern::Of(
        BytesWhere([map](char c) { return map[static_cast<unsigned char>(c)] != 0; }));
  }

  /// A dot, which may be one that matches line feeds.
  Pattern Dot(bool separators) const {
    ByteSet bytes;
    for (std::size_t i = 0; i < bytes.size(); ++i) {
      bytes[i] = separators || !detail::is_separator(static_cast<char>(i));
    }
    return Pattern::Of(bytes);
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
