// SPDX-License-Identifier: BSL-1.0
#include "engine/messages/CompileErrors.hpp"

#include <algorithm>
#include <cstddef>
#include <vector>

#include "engine/syntax/Tokens.hpp"

namespace RegexClass::engine {
namespace {

namespace detail = boost::BOOST_REGEX_DETAIL_NS;
namespace constants = boost::regex_constants;

/// The beginning of the engine's two sentences on the place of an error.
constexpr std::string_view kSentence = "  The error occurred while parsing the regular expression";
constexpr std::size_t kQuoted = 10;  // bytes quoted before and after the place

/// More assertions in a row than anybody writes. The engine would go on until the stack ends.
constexpr std::size_t kMostAssertions = 100;

/// A bracket list in the engine's notation.
struct List {
  std::size_t begin;
  std::size_t end;  // after the closing bracket; npos without one
};

/// Whether a token is an assertion for which the engine's compiler calls itself.
bool IsDeep(std::string_view token) {
  return token == "$" || token == "\\<" || token == "\\>" || token == "[[:<:]]" ||
         token == "[[:>:]]";
}

/// Whether the engine's compiler goes on after the token in search of the first character.
bool IsPassedOver(std::string_view token) {
  const char c = token.front();
  if (c == '\\') {
    return token == "\\Q\\E" ||
           (token.size() == 2 && std::string_view("bBAzZGKX`'").find(token[1]) != token.npos);
  }
  return std::string_view("()^# \t\r\n\v\f").find(c) != std::string_view::npos;
}

std::vector<List> Lists(std::string_view text) {
  std::vector<List> lists;
  ForEachToken(text, false, [&](const Token& token) {
    if (token.text.front() == '[') lists.push_back({token.at, EndOfList(text, token.at)});
  });
  return lists;
}

/// Whether a byte of UTF-8 is one after the first of a character, so that no quotation is to begin
/// with it.
bool IsContinuation(char c) { return (static_cast<unsigned char>(c) & 0xC0) == 0x80; }

/// The code and the place that fit an error. The engine takes a range such as [b-a] for a bad class
/// name, reported after the list, what a list without end leaves open for the fault of whatever
/// came before it, and the end of a group that has none for a group without end, of which it tells
/// the end of the expression.
constants::error_type CorrectCode(const boost::regex_error& error, std::string_view text,
                                  std::size_t& position) {
  for (const List& list : Lists(text)) {
    if (list.end == std::string_view::npos && position > list.begin) {
      position = list.begin;
      return constants::error_brack;
    }
    if (list.end == position && error.code() == constants::error_ctype) {
      return constants::error_range;
    }
  }
  const bool isEnd = error.code() == constants::error_paren && position != text.size();
  return isEnd ? constants::error_right_paren : error.code();
}

/// The engine's text for an error, without its sentence on the place; a catalogue's where it has
/// one.
std::string TextOf(const boost::regex_error& error, constants::error_type code,
                   const EngineMessages* messages) {
  std::string own = detail::get_default_error_string(code);
  if (messages != nullptr && messages->errors.at(code) != own) return messages->errors.at(code);
  if (code != error.code() && code != constants::error_right_paren) return own;
  const std::string text = error.what();
  return text.substr(0, text.find(kSentence));
}

}  // namespace

void RequireShallow(const Translation& translation, std::string_view text) {
  if ((translation.flags & boost::regbase::literal) != 0) return;
  if (text.size() <= kMostAssertions) return;
  std::size_t assertions = 0;
  ForEachToken(text, false, [&](const Token& token) {
    if (IsDeep(token.text)) {
      if (++assertions > kMostAssertions) {
        throw boost::regex_error(detail::get_default_error_string(constants::error_complexity),
                                 constants::error_complexity,
                                 static_cast<std::ptrdiff_t>(token.at));
      }
    } else if (!IsPassedOver(token.text)) {
      assertions = 0;
    }
  });
}

boost::regex_error ErrorOf(const Translation& translation) {
  std::string text = detail::get_default_error_string(translation.error);
  if (translation.error != constants::error_empty) text += kSentence;
  return boost::regex_error(text, translation.error,
                            static_cast<std::ptrdiff_t>(translation.errorPosition));
}

boost::regex_error DescribeError(const boost::regex_error& error, std::string_view source,
                                 const Translation& translation, const EngineMessages* messages) {
  auto position = static_cast<std::size_t>(std::max<std::ptrdiff_t>(error.position(), 0));
  position = std::min(position, translation.text.size());
  const bool literal = (translation.flags & boost::regbase::literal) != 0;
  const auto code = literal ? error.code() : CorrectCode(error, translation.text, position);
  std::string text = TextOf(error, code, messages);
  if (!translation.origins.empty()) position = translation.origins[position];
  const bool quoted = std::string_view(error.what()).find(kSentence) != std::string_view::npos;
  if (quoted) {
    std::size_t begin = position - std::min(position, kQuoted);
    std::size_t end = std::min(position + kQuoted, source.size());
    while (begin > 0 && IsContinuation(source[begin])) --begin;
    while (end < source.size() && IsContinuation(source[end])) ++end;
    const bool whole = begin == 0 && end == source.size();
    text += messages != nullptr
                ? (whole ? messages->inExpression : messages->inFragment)
                : std::string(whole ? EngineMessages::kInExpression : EngineMessages::kInFragment);
    text += "'";
    if (begin != end) {
      text += source.substr(begin, position - begin);
      text += messages != nullptr ? messages->here : EngineMessages::kHere;
      text += source.substr(position, end - position);
    }
    text += "'.";
  }
  const bool placed = quoted || error.position() > 0;
  return boost::regex_error(text, code, placed ? static_cast<std::ptrdiff_t>(position) : -1);
}

}  // namespace RegexClass::engine
