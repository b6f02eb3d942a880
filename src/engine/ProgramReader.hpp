// SPDX-License-Identifier: BSL-1.0
// From a compiled expression to the language of what it can match.
#ifndef REGEXCLASS_ENGINE_PROGRAMREADER_HPP
#define REGEXCLASS_ENGINE_PROGRAMREADER_HPP

#include <optional>

#include <boost/regex.hpp>

#include "engine/Pattern.hpp"
#include "engine/Traits.hpp"

namespace RegexClass::engine {

/// A language that holds each text that `regex` can match under any flags, and maybe more.
///
/// What is read is the program that the engine runs, not the notation: syntaxes, inline options,
/// classes, case and collation are settled in there, so that none of their rules stands here again.
/// Assertions, look-ahead and look-behind count as the empty text. Nothing for a program with a
/// state that isn't as simple: back references, recursion, conditionals, verbs, \K, \G, \X and
/// lists with elements of several bytes.
template <class Traits>
std::optional<Pattern> ReadProgram(const boost::basic_regex<char, Traits>& regex);

extern template std::optional<Pattern> ReadProgram(const boost::basic_regex<char, CppTraits>&);
extern template std::optional<Pattern> ReadProgram(const boost::basic_regex<char, W32Traits>&);
extern template std::optional<Pattern> ReadProgram(const boost::basic_regex<char, CTraits>&);

}  // namespace RegexClass::engine

#endif  // REGEXCLASS_ENGINE_PROGRAMREADER_HPP
