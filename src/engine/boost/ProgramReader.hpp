// SPDX-License-Identifier: BSL-1.0
// From a compiled expression to the language of what it can match.
#ifndef REGEXCLASS_ENGINE_BOOST_PROGRAMREADER_HPP
#define REGEXCLASS_ENGINE_BOOST_PROGRAMREADER_HPP

#include <cstddef>
#include <optional>
#include <utility>
#include <vector>

#include "engine/boost/Atoms.hpp"
#include "engine/search/Pattern.hpp"

namespace RegexClass::engine {

/// Follows the states of a program. They lie one behind the other in the order of the notation,
/// `next` leads to the next one; only a jump leads elsewhere, which ends an alternative or a
/// repeat's body.
template <class Traits>
class ProgramReader {
 public:
  using Regex = boost::basic_regex<typename Traits::char_type, Traits>;

  explicit ProgramReader(const Regex& regex)
      : first_(regex.get_first_state()), atoms_(regex, CasesOf(regex)) {}

  Pattern Run() {
    RequireUnderstood();
    const State* state = first_;
    Pattern pattern = Sequence(state, nullptr);
    if (state->type != detail::syntax_element_match) throw NotUnderstood();
    return pattern;
  }

 private:
  using State = detail::re_syntax_base;

  /// The numbers by which the engine tells its groups apart, beside those of the marked ones.
  enum GroupIndex : int {
    kLookAround = -1,
    kNegativeLookAround = -2,
    kIndependent = -3,  // (?>...), and what a possessive repeat is turned into
  };

  template <class Wanted>
  static const Wanted& As(const State* state) {
    return *static_cast<const Wanted*>(state);
  }

  /// Throws for a state beside which the others can't be read, wherever it stands.
  void RequireUnderstood() const {
    for (const State* state = first_; state != nullptr; state = state->next.p) {
      switch (state->type) {
        case detail::syntax_element_startmark:
        case detail::syntax_element_endmark:
          if (As<detail::re_brace>(state).index < kIndependent) throw NotUnderstood();
          break;
        case detail::syntax_element_backref:
        case detail::syntax_element_restart_continue:
        case detail::syntax_element_recurse:
        case detail::syntax_element_assert_backref:
        case detail::syntax_element_accept:
        case detail::syntax_element_commit:
        case detail::syntax_element_then:
          throw NotUnderstood();
        default:
          break;
      }
    }
  }

  /// Reads up to `end`, to a jump or to the end of the program, and leaves `state` there.
  Pattern Sequence(const State*& state, const State* end) {
    std::vector<Pattern> parts;
    while (state != end) {
      switch (state->type) {
        case detail::syntax_element_match:
        case detail::syntax_element_jump:
          return Pattern::Sequence(std::move(parts));
        case detail::syntax_element_literal:
          Literal(As<detail::re_literal>(state), parts);
          state = state->next.p;
          break;
        case detail::syntax_element_set:
        case detail::syntax_element_long_set:
          parts.push_back(atoms_.Set(state));
          state = state->next.p;
          break;
        case detail::syntax_element_wild:
          // Match options take line feeds away from a dot at most.
          parts.push_back(atoms_.Dot((detail::test_newline & As<detail::re_dot>(state).mask) != 0));
          state = state->next.p;
          break;
        case detail::syntax_element_alt:
          parts.push_back(Alternatives(state));
          break;
        case detail::syntax_element_rep:
        case detail::syntax_element_dot_rep:
        case detail::syntax_element_char_rep:
        case detail::syntax_element_short_set_rep:
        case detail::syntax_element_long_set_rep:
          parts.push_back(Repeat(state));
          break;
        case detail::syntax_element_startmark:
          Group(state, parts);
          break;
        case detail::syntax_element_endmark:
        case detail::syntax_element_toggle_case:
        case detail::syntax_element_start_line:
        case detail::syntax_element_end_line:
        case detail::syntax_element_word_boundary:
        case detail::syntax_element_within_word:
        case detail::syntax_element_word_start:
        case detail::syntax_element_word_end:
        case detail::syntax_element_buffer_start:
        case detail::syntax_element_buffer_end:
        case detail::syntax_element_soft_buffer_end:
          state = state->next.p;
          break;
        default:
          throw NotUnderstood();
      }
      if (state == nullptr) throw NotUnderstood();
    }
    return Pattern::Sequence(std::move(parts));
  }

  void Literal(const detail::re_literal& literal, std::vector<Pattern>& parts) {
    const auto* const text = reinterpret_cast<const typename Traits::char_type*>(&literal + 1);
    for (unsigned int i = 0; i < literal.length; ++i) parts.push_back(atoms_.Literal(text[i]));
  }

  /// All alternatives of a group or of the program. Each but the last ends in a jump to the same
  /// place.
  Pattern Alternatives(const State*& state) {
    std::vector<Pattern> parts;
    const State* join = nullptr;
    while (state != join && state->type == detail::syntax_element_alt) {
      const State* branch = state->next.p;
      parts.push_back(Sequence(branch, nullptr));
      if (branch->type != detail::syntax_element_jump) throw NotUnderstood();
      const State* const target = As<detail::re_jump>(branch).alt.p;
      if (join != nullptr && join != target) throw NotUnderstood();
      join = target;
      state = As<detail::re_alt>(state).alt.p;
    }
    parts.push_back(Sequence(state, join));
    if (state != join) throw NotUnderstood();
    return Pattern::Alternatives(std::move(parts));
  }

  Pattern Repeat(const State*& state) {
    const auto& repeat = As<detail::re_repeat>(state);
    const State* body = state->next.p;
    Pattern part = Sequence(body, nullptr);
    if (body->type != detail::syntax_element_jump || As<detail::re_jump>(body).alt.p != state) {
      throw NotUnderstood();
    }
    state = repeat.alt.p;
    return Pattern::Repeat(std::move(part), repeat.min, repeat.max);
  }

  /// Enters a group; one that is no more than brackets is read on in the sequence that it stands
  /// in.
  void Group(const State*& state, std::vector<Pattern>& parts) {
    const int index = As<detail::re_brace>(state).index;
    state = state->next.p;
    if (index >= 0) return;
    if (state->type != detail::syntax_element_jump) throw NotUnderstood();
    const State* const end = As<detail::re_jump>(state).alt.p;
    if (index == kIndependent) {
      const State* body = state->next.p;
      parts.push_back(Sequence(body, end));
      if (body != end) throw NotUnderstood();
    }
    state = end->next.p;
  }

  const State* const first_;
  const Atoms<Traits> atoms_;
};

/// A language that holds each text that `regex` can match under any flags, and maybe more.
///
/// What is read is the program that the engine runs, not the notation: syntaxes, inline options,
/// classes, case and collation are settled in there, so that none of their rules stands here again.
/// Assertions, look-ahead and look-behind count as the empty text. Nothing for a program with a
/// state that isn't as simple: back references, recursion, conditionals, verbs, \K, \G, \X and
/// lists with elements of several characters.
template <class Traits>
std::optional<Pattern> ReadProgram(
    const boost::basic_regex<typename Traits::char_type, Traits>& regex) {
  try {
    return ProgramReader<Traits>(regex).Run();
  } catch (const NotUnderstood&) {
    return std::nullopt;
  }
}

}  // namespace RegexClass::engine

#endif  // REGEXCLASS_ENGINE_BOOST_PROGRAMREADER_HPP
