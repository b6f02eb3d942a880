// SPDX-License-Identifier: BSL-1.0
// What is told of an expression that is no good.
#ifndef REGEXCLASS_ENGINE_COMPILEERRORS_HPP
#define REGEXCLASS_ENGINE_COMPILEERRORS_HPP

#include <functional>
#include <string>
#include <string_view>

#include "engine/EngineMessages.hpp"
#include "engine/SyntaxTranslation.hpp"

namespace RegexClass::engine {

/// Whether a token of the engine's notation is an assertion for which the engine's compiler calls
/// itself, to see what follows.
template <class Traits>
bool IsDeep(const Traits& traits, std::string_view token) {
  namespace constants = boost::regex_constants;
  if (token.size() == 1) return traits.syntax_type(token.front()) == constants::syntax_dollar;
  if (token.front() != '\\') return token == "[[:<:]]" || token == "[[:>:]]";
  const auto escape = traits.escape_syntax_type(token[1]);
  return escape == constants::escape_type_left_word || escape == constants::escape_type_right_word;
}

/// Throws an error of complexity for what would take the engine's compiler too deep: a long row of
/// tokens for which `isDeep` is true.
void RequireShallow(const Translation& translation,
                    const std::function<bool(std::string_view)>& isDeep);

/// The error that the translation has found by itself.
boost::regex_error ErrorOf(const Translation& translation);

/// What is to be told for `error`, which the engine or the translation of `source` has given: with
/// the code that fits where the engine has another, and the text, which quotes the expression as
/// its author wrote it. `messages` are the texts of a catalogue, null for the engine's own.
boost::regex_error Told(const boost::regex_error& error, std::string_view source,
                        const Translation& translation, const EngineMessages* messages);

}  // namespace RegexClass::engine

#endif  // REGEXCLASS_ENGINE_COMPILEERRORS_HPP
