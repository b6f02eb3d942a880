// SPDX-License-Identifier: BSL-1.0
// From a compiled expression to the language of what it can match.
#ifndef REGEXCLASS_ENGINE_BOOST_PROGRAMREADER_HPP
#define REGEXCLASS_ENGINE_BOOST_PROGRAMREADER_HPP

#include <cstddef>
#include <optional>
#include <utility>
#include <vector>

#include "engine/boost/Atoms.hpp"
#include "engine/search/Automaton.hpp"
#include "engine/search/Tree.hpp"

namespace RegexClass::engine {

/// Follows the states of a program. They lie one after the other in the order of the notation,
/// `next` leads to the next one; only a jump leads elsewhere, which ends an alternative or a
/// repeat's body.
template <class Traits>
class ProgramReader {
 public:
  using Regex = boost::basic_regex<typename Traits::char_type, Traits>;

  /// For a language that holds all matches, and maybe more.
  explicit ProgramReader(const Regex& regex)
      : first_(regex.get_first_state()), atoms_(regex, CasesOf(regex), false) {}
  /// For all that the engine does under `flags`.
  ProgramReader(const Regex& regex, Flags flags)
      : first_(regex.get_first_state()),
        exact_(true),
        flags_(flags),
        atoms_(regex, RequireOneCase(regex), true) {}

  Tree Run() {
    RequireUnderstood();
    const State* state = first_;
    Tree tree = Sequence(state, nullptr);
    if (state->type != detail::syntax_element_match) throw NotUnderstood();
    // An automaton for characters of several bytes would find an empty match inside of one.
    if (exact_ && kWide && CanBeEmpty(tree)) throw NotUnderstood();
    return tree;
  }

 private:
  using State = detail::re_syntax_base;
  static constexpr bool kWide = sizeof(typename Traits::char_type) > 1;

  /// The numbers by which the engine tells its groups apart, beside those of the marked ones.
  enum GroupIndex : int {
    kLookAround = -1,
    kNegativeLookAround = -2,
    kIndependent = -3,  // (?>...), and what a possessive repeat is turned into
  };

  static Cases RequireOneCase(const Regex& regex) {
    const Cases cases = OneCaseOf(regex, regex.can_be_null());
    if (cases.in[0] && cases.in[1]) throw NotUnderstood();
    return cases;
  }

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
  Tree Sequence(const State*& state, const State* end) {
    std::vector<Tree> parts;
    while (state != end) {
      switch (state->type) {
        case detail::syntax_element_match:
        case detail::syntax_element_jump:
          return Tree::Sequence(std::move(parts));
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
          parts.push_back(Dot(As<detail::re_dot>(state)));
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
          Mark(As<detail::re_brace>(state).index * 2 + 1, parts);
          state = state->next.p;
          break;
        case detail::syntax_element_toggle_case:
          state = state->next.p;
          break;
        case detail::syntax_element_start_line:
        case detail::syntax_element_end_line:
        case detail::syntax_element_word_boundary:
        case detail::syntax_element_within_word:
        case detail::syntax_element_word_start:
        case detail::syntax_element_word_end:
        case detail::syntax_element_buffer_start:
        case detail::syntax_element_buffer_end:
        case detail::syntax_element_soft_buffer_end:
          if (exact_) parts.push_back(Tree::Asserted(AssertionOf(state->type)));
          state = state->next.p;
          break;
        default:
          throw NotUnderstood();
      }
      if (state == nullptr) throw NotUnderstood();
    }
    return Tree::Sequence(std::move(parts));
  }

  void Literal(const detail::re_literal& literal, std::vector<Tree>& parts) {
    const auto* const text = reinterpret_cast<const typename Traits::char_type*>(&literal + 1);
    for (unsigned int i = 0; i < literal.length; ++i) parts.push_back(atoms_.Literal(text[i]));
  }

  Tree Dot(const detail::re_dot& dot) const {
    // Flags take bytes away from it at most.
    const unsigned int lines =
        exact_ && (flags_ & kNotDotNewline) != 0 ? detail::test_not_newline : detail::test_newline;
    return atoms_.Dot((lines & dot.mask) != 0, !exact_ || (flags_ & kNotDotNull) == 0);
  }

  void Mark(int number, std::vector<Tree>& parts) const {
    if (exact_ && number > 1) parts.push_back(Tree::Mark(static_cast<std::size_t>(number)));
  }

  static Assertion AssertionOf(detail::syntax_element_type type) {
    switch (type) {
      case detail::syntax_element_start_line:
        return Assertion::kLineStart;
      case detail::syntax_element_end_line:
        return Assertion::kLineEnd;
      case detail::syntax_element_word_boundary:
        return Assertion::kWordBoundary;
      case detail::syntax_element_within_word:
        return Assertion::kNoWordBoundary;
      case detail::syntax_element_word_start:
        return Assertion::kWordStart;
      case detail::syntax_element_word_end:
        return Assertion::kWordEnd;
      case detail::syntax_element_buffer_start:
        return Assertion::kTextStart;
      case detail::syntax_element_buffer_end:
        return Assertion::kTextEnd;
      default:
        throw NotUnderstood();  // \Z, which looks at several bytes
    }
  }

  /// All alternatives of a group or of the program. Each but the last ends in a jump to the same
  /// place.
  Tree Alternatives(const State*& state) {
    std::vector<Tree> parts;
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
    return Tree::Alternatives(std::move(parts));
  }

  Tree Repeat(const State*& state) {
    const auto& repeat = As<detail::re_repeat>(state);
    const State* body = state->next.p;
    Tree part = Sequence(body, nullptr);
    if (body->type != detail::syntax_element_jump || As<detail::re_jump>(body).alt.p != state) {
      throw NotUnderstood();
    }
    state = repeat.alt.p;
    return Tree::Repeat(std::move(part), repeat.min, repeat.max, repeat.greedy);
  }

  /// Enters a group; one that is no more than brackets is read on in the sequence that it stands
  /// in.
  void Group(const State*& state, std::vector<Tree>& parts) {
    const int index = As<detail::re_brace>(state).index;
    state = state->next.p;
    if (index >= 0) return Mark(index * 2, parts);
    if (exact_) throw NotUnderstood();
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
  const bool exact_ = false;
  const Flags flags_ = 0;
  const Atoms<Traits> atoms_;
};

/// Whether the longest match counts, as the engine decides it.
template <class Char, class Traits>
bool IsPosix(const boost::basic_regex<Char, Traits>& regex) {
  using boost::regbase;
  const auto flags = regex.flags();
  if ((flags & (regbase::main_option_type | regbase::no_perl_ex)) == 0) return false;
  if ((flags & (regbase::main_option_type | regbase::emacs_ex)) ==
      (regbase::basic_syntax_group | regbase::emacs_ex)) {
    return false;
  }
  return (flags & (regbase::main_option_type | regbase::literal)) != regbase::literal;
}

/// What assertions see in a character.
template <class Char, class Traits>
Context ContextOf(const boost::basic_regex<Char, Traits>& regex, Char c) {
  Context context = 0;
  if (regex.get_traits().isctype(c, regex.get_data().m_word_mask)) context |= kWord;
  if (detail::is_separator(c)) context |= kSeparator;
  if (c == '\r') context |= kCarriageReturn;
  if (c == '\n') context |= kLineFeed;
  return context;
}

/// The same for each byte. Beyond ASCII it may be part of a character.
template <class Char, class Traits>
Contexts ContextsOf(const boost::basic_regex<Char, Traits>& regex) {
  Contexts contexts = {};
  for (std::size_t byte = 0; byte < contexts.size(); ++byte) {
    if (sizeof(Char) == 1 || byte < 0x80) {
      contexts[byte] = ContextOf(regex, static_cast<Char>(byte));
      continue;
    }
    // Of the separators there, which are U+0085, U+2028 and U+2029, the first and the last byte.
    const bool ofSeparator =
        byte == 0x85 || byte == 0xA8 || byte == 0xA9 || byte == 0xC2 || byte == 0xE2;
    contexts[byte] = kUnknownWord | (ofSeparator ? kUnknownSeparator : 0);
  }
  return contexts;
}

/// A language that holds each text that `regex` can match under any flags, and maybe more.
///
/// What is read is the program that the engine runs, not the notation: syntaxes, inline options,
/// classes, case and collation are settled in there, so that none of their rules stands here again.
/// Assertions, look-ahead and look-behind count as the empty text. Nothing for a program with a
/// state that isn't as simple: back references, recursion, conditionals, verbs, \K, \G, \X and
/// lists with elements of several characters.
template <class Traits>
std::optional<Tree> ReadProgram(
    const boost::basic_regex<typename Traits::char_type, Traits>& regex) {
  try {
    return ProgramReader<Traits>(regex).Run();
  } catch (const NotUnderstood&) {
    return std::nullopt;
  }
}

/// All that `regex` matches under `flags`, and how. Nothing where ReadProgram() has nothing, nor
/// for a program with look-around, with groups that keep what they have matched, with \Z or with
/// both cases.
template <class Traits>
std::optional<ExactProgram> ReadExactly(
    const boost::basic_regex<typename Traits::char_type, Traits>& regex, Flags flags) {
  try {
    ExactProgram program;
    program.tree = ProgramReader<Traits>(regex, flags).Run();
    program.contexts = ContextsOf(regex);
    program.groups = regex.mark_count();
    program.longest = IsPosix(regex);
    program.flags = flags;
    return program;
  } catch (const NotUnderstood&) {
    return std::nullopt;
  }
}

}  // namespace RegexClass::engine

#endif  // REGEXCLASS_ENGINE_BOOST_PROGRAMREADER_HPP
