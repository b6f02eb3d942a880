// SPDX-License-Identifier: BSL-1.0
// From an expression in any combination of the syntax switches to the engine's own notation.
#ifndef REGEXCLASS_ENGINE_SYNTAX_SYNTAXTRANSLATION_HPP
#define REGEXCLASS_ENGINE_SYNTAX_SYNTAXTRANSLATION_HPP

#include <cstddef>
#include <cstdint>
#include <string>
#include <string_view>
#include <vector>

#include "engine/boost/BoostRegex.hpp"

namespace RegexClass::engine {

/// The bits of a syntax word, one for each switch. They are this library's own numbers; the
/// engine's differ, and several switches have no counterpart there.
enum SyntaxBits : std::uint32_t {
  kEscapeInLists = 0x1,
  kCharClasses = 0x2,
  kIntervals = 0x4,
  kLimitedOps = 0x8,
  kNewlineAlt = 0x10,
  kBkPlusQm = 0x20,
  kBkBraces = 0x40,
  kBkParens = 0x80,
  kBkRefs = 0x100,
  kBkVbar = 0x200,
  kLiteral = 0x1000,
  kIcase = 0x2000,
  kNoCollate = 0x4000,

  kNormal = kEscapeInLists | kCharClasses | kIntervals | kBkRefs | kNoCollate,
};

/// What the engine is to be given.
struct Translation {
  std::string text;
  boost::regbase::flag_type flags = 0;
  /// For each byte of `text`, and for its end, the offset in the source of what it stands for;
  /// empty when `text` is the source.
  std::vector<std::size_t> origins;

  /// An error that the engine would overlook, with its offset in `text`; else error_ok.
  boost::regex_constants::error_type error = boost::regex_constants::error_ok;
  std::size_t errorPosition = 0;
};

/// Rewrites the operators of `text`, which holds no zero byte, token by token into the engine's
/// extended notation.
///
/// A word with all of kNormal gives the Perl extensions and Perl's first match; a plain one comes
/// back with its text unchanged. Every other word gives POSIX: no extensions, the longest of the
/// leftmost matches. With kBkParens such a word has the rules of the basic syntaxes for what stands
/// at the ends of an expression, a group or an alternative: a repeat that has nothing before it
/// there is an ordinary character, and so are `^` and `$` anywhere else. What no switch governs
/// (dot, escapes such as \w) is the same under all words. Never fails: an expression that is broken
/// in its dialect comes out as one that is broken in the same way, or with `error` set.
Translation Translate(std::string_view text, std::uint32_t word);

/// Makes each (?P<name>...), as Python and PCRE write a named group, too, the engine's
/// (?<name>...). `defaultNotation` is the text of the translation as it would be without a
/// catalogue.
void ReadPythonNames(Translation& translation, std::string_view defaultNotation);

}  // namespace RegexClass::engine

#endif  // REGEXCLASS_ENGINE_SYNTAX_SYNTAXTRANSLATION_HPP
