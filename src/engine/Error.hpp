// SPDX-License-Identifier: BSL-1.0
// What came of a compile.
#ifndef REGEXCLASS_ENGINE_ERROR_HPP
#define REGEXCLASS_ENGINE_ERROR_HPP

#include <cstddef>
#include <string>

namespace RegexClass::engine {

enum class ErrorCode {
  kNone,
  kBadPattern,
  kCollation,
  kCharacterClass,
  kEscape,
  kBackReference,
  kBracket,
  kParenthesis,
  kRightParenthesis,
  kBrace,
  kBraceContents,
  kRange,
  kSpace,
  kRepeat,
  kEnd,
  kMemory,
  kEmpty,
  kUnknown,
};

struct Error {
  ErrorCode code = ErrorCode::kNone;
  std::string message;           ///< For the user; empty without an error.
  std::ptrdiff_t position = -1;  ///< Offset in bytes in the expression as it was written; -1: none.
  int number = 0;                ///< The engine's own, for whom it is thrown to.

  explicit operator bool() const { return code != ErrorCode::kNone; }
};

/// Throws it as what the engine throws when it gives up on a text: boost::regex_error.
[[noreturn]] void Throw(const Error& error, const std::string& message);

}  // namespace RegexClass::engine

#endif  // REGEXCLASS_ENGINE_ERROR_HPP
