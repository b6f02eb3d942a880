// SPDX-License-Identifier: BSL-1.0
// The part of a message catalogue that is the engine's.
#ifndef REGEXCLASS_ENGINE_MESSAGES_ENGINEMESSAGES_HPP
#define REGEXCLASS_ENGINE_MESSAGES_ENGINEMESSAGES_HPP

#include <array>
#include <functional>
#include <map>
#include <string>

#include "engine/boost/BoostRegex.hpp"

namespace RegexClass::engine {

/// The engine's texts as a catalogue gives them, with the engine's own for those that it lacks.
/// The numbers in the catalogue are the engine's.
class EngineMessages {
 public:
  /// The text of a number, or `defaultText` when there is none.
  using Lookup = std::function<std::string(int number, const std::string& defaultText)>;
  explicit EngineMessages(const Lookup& lookup);

  /// The characters that have each meaning in the syntax of expressions, in the order of the
  /// meanings; number 1 is the first of them. A character in several is that of the last.
  std::array<std::string, boost::regex_constants::syntax_max> syntax;
  /// The text of each error.
  std::array<std::string, boost::regex_constants::error_unknown + 1> errors;
  /// What stands between the text of an error and the quotation of the expression, all of it or a
  /// part, and what marks the place in there.
  static constexpr const char* kInExpression =
      "  The error occurred while parsing the regular expression: ";
  static constexpr const char* kInFragment =
      "  The error occurred while parsing the regular expression fragment: ";
  static constexpr const char* kHere = ">>>HERE>>>";
  std::string inExpression;
  std::string inFragment;
  std::string here;
  /// Further names of character classes, with the engine's name for each.
  std::map<std::string, std::string> classNames;
};

}  // namespace RegexClass::engine

#endif  // REGEXCLASS_ENGINE_MESSAGES_ENGINEMESSAGES_HPP
