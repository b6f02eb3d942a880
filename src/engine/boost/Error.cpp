// SPDX-License-Identifier: BSL-1.0
#include "engine/boost/Error.hpp"

namespace RegexClass::engine {
namespace {

namespace constants = boost::regex_constants;

ErrorCode CodeOf(constants::error_type error) {
  switch (error) {
    case constants::error_ok:
      return ErrorCode::kNone;
    case constants::error_bad_pattern:
    case constants::error_perl_extension:
      return ErrorCode::kBadPattern;
    case constants::error_collate:
      return ErrorCode::kCollation;
    case constants::error_ctype:
      return ErrorCode::kCharacterClass;
    case constants::error_escape:
      return ErrorCode::kEscape;
    case constants::error_backref:
      return ErrorCode::kBackReference;
    case constants::error_brack:
      return ErrorCode::kBracket;
    case constants::error_paren:
      return ErrorCode::kParenthesis;
    case constants::error_right_paren:
      return ErrorCode::kRightParenthesis;
    case constants::error_brace:
      return ErrorCode::kBrace;
    case constants::error_badbrace:
      return ErrorCode::kBraceContents;
    case constants::error_range:
      return ErrorCode::kRange;
    case constants::error_space:
    case constants::error_complexity:
    case constants::error_stack:
      return ErrorCode::kSpace;
    case constants::error_badrepeat:
      return ErrorCode::kRepeat;
    case constants::error_end:
      return ErrorCode::kEnd;
    case constants::error_size:
      return ErrorCode::kMemory;
    case constants::error_empty:
      return ErrorCode::kEmpty;
    case constants::error_no_match:  // never of a compile
    case constants::error_unknown:
      break;
  }
  return ErrorCode::kUnknown;
}

}  // namespace

Error ToError(const boost::regex_error& error) {
  return {CodeOf(error.code()), error.what(), error.position(), error.code()};
}

void Throw(const Error& error, const std::string& message) {
  throw boost::regex_error(message, static_cast<constants::error_type>(error.number),
                           error.position);
}

}  // namespace RegexClass::engine
