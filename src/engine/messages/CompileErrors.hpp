// SPDX-License-Identifier: BSL-1.0
// What is told of an expression that is no good.
#ifndef REGEXCLASS_ENGINE_MESSAGES_COMPILEERRORS_HPP
#define REGEXCLASS_ENGINE_MESSAGES_COMPILEERRORS_HPP

#include <string>
#include <string_view>

#include "engine/messages/EngineMessages.hpp"
#include "engine/syntax/SyntaxTranslation.hpp"

namespace RegexClass::engine {

/// Throws an error of complexity for what would take the engine's compiler too deep: a long row of
/// assertions for which it calls itself, to see what follows. `text` is that of the translation, in
/// the notation that holds without a catalogue.
void RequireShallow(const Translation& translation, std::string_view text);

/// The error that the translation has found by itself.
boost::regex_error ErrorOf(const Translation& translation);

/// What is to be told for `error`, which the engine or the translation of `source` has given: with
/// the code that fits where the engine has another, and the text, which quotes the expression as
/// its author wrote it. Its position is that in `source`, -1 when the engine doesn't know the
/// place. `messages` are the texts of a catalogue, null for the engine's own.
boost::regex_error DescribeError(const boost::regex_error& error, std::string_view source,
                                 const Translation& translation, const EngineMessages* messages);

}  // namespace RegexClass::engine

#endif  // REGEXCLASS_ENGINE_MESSAGES_COMPILEERRORS_HPP
