#include "engine/CompileErrors.hpp"

#include <algorithm>
#include <cstddef>
#include <vector>

namespace RegexClass::engine {
namespace {

namespace detail = boost::BOOST_REGEX_DETAIL_NS;
namespace constants = boost::regex_constants;

/// The beginning of the engine's two sentences on the place of an error.
constexpr std::string_view kSentence = "  The error occurred while parsing the regular expression";
constexpr std::size_t kQuoted = 10;  // bytes quoted before and behind the place

/// More assertions in a row than anybody writes, and few enough for a small stack.
constexpr std::size_t kMostAssertions = 200;

/// A bracket list in the engine's notation.
struct List {
  std::size_t begin;
  std::size_t end;  // behind the closing bracket; npos without one
};

/// Where a list that begins at `at` ends; npos when it doesn't.
std::size_t EndOfList(std::string_view text, std::size_t at) {
  ++at;
  if (text.substr(at, 1) == "^") ++at;
  for (const std::size_t first = at; at < text.size();) {
    if (text[at] == ']' && at != first) return at + 1;
    const char kind = at + 1 < text.size() ? text[at + 1] : '\0';
    if (text[at] == '\\') {
      at += 2;
    } else if (text[at] == '[' && (kind == ':' || kind == '.' || kind == '=')) {
      const char closing[] = {kind, ']', 0};
      const std::size_t end = text.find(closing, std::min(at + 3, text.size()));
      if (end == std::string_view::npos) return end;
      at = end + 2;
    } else {
      ++at;
    }
  }
  return std::string_view::npos;
}

/// Calls `step` with the offset and the length of each token of the engine's notation: an escape, a
/// quoted text, a comment, a verb, a list, the opening of a group with its options, or a character.
/// A list without end reaches to the end.
template <class Step>
void ForEachToken(std::string_view text, Step step) {
  bool extended = false;  // an option says that blanks and comments don't count
  for (std::size_t at = 0; at < text.size();) {
    std::size_t end = at + 1;
    const auto to = [&](std::string_view closing) {
      const std::size_t found = text.find(closing, at);
      end = found == std::string_view::npos ? text.size() : found + closing.size();
    };
    if (text.substr(at, 2) == "(*") {
      to(")");
    } else if (text.substr(at, 2) == "\\Q") {
      to("\\E");
    } else if (text[at] == '\\') {
      end = std::min(at + 2, text.size());
    } else if (text.substr(at, 3) == "(?#") {
      to(")");
    } else if (text.substr(at, 2) == "(?") {
      end = std::min(text.find_first_not_of("imsx-^", at + 2), text.size() - 1) + 1;
      extended = extended || text.substr(at, end - at).find('x') != std::string_view::npos;
    } else if (text[at] == '#' && extended) {
      to("\n");
    } else if (text[at] == '[') {
      end = std::min(EndOfList(text, at), text.size());
    }
    step(at, end - at);
    at = end;
  }
}

/// Whether the engine's compiler goes on behind the token in search of the first character.
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
  ForEachToken(text, [&](std::size_t at, std::size_t) {
    if (text[at] == '[') lists.push_back({at, EndOfList(text, at)});
  });
  return lists;
}

/// The code and the place that fit an error. The engine takes a range such as [b-a] for a bad class
/// name, reported behind the list, and what a list without end leaves open for the fault of
/// whatever came before it.
constants::error_type Fitting(const boost::regex_error& error, std::string_view text,
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
  return error.code();
}

/// The engine's text for an error, without its sentence on the place; a catalogue's where it has
/// one.
std::string TextOf(const boost::regex_error& error, constants::error_type code,
                   const EngineMessages* messages) {
  const std::string own = detail::get_default_error_string(code);
  if (messages != nullptr && messages->errors.at(code) != own) return messages->errors.at(code);
  if (code != error.code()) return own;
  const std::string text = error.what();
  return text.substr(0, text.find(kSentence));
}

}  // namespace

void RequireShallow(const Translation& translation) {
  if ((translation.flags & boost::regbase::literal) != 0) return;
  const std::string_view text = translation.text;
  std::size_t assertions = 0;
  ForEachToken(text, [&](std::size_t at, std::size_t size) {
    const std::string_view token = text.substr(at, size);
    if (token == "$" || token == "\\<" || token == "\\>") {
      if (++assertions > kMostAssertions) {
        throw boost::regex_error(detail::get_default_error_string(constants::error_complexity),
                                 constants::error_complexity, static_cast<std::ptrdiff_t>(at));
      }
    } else if (!IsPassedOver(token)) {
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

boost::regex_error Told(const boost::regex_error& error, std::string_view source,
                        const Translation& translation, const EngineMessages* messages) {
  auto position = static_cast<std::size_t>(std::max<std::ptrdiff_t>(error.position(), 0));
  position = std::min(position, translation.text.size());
  const bool literal = (translation.flags & boost::regbase::literal) != 0;
  const auto code = literal ? error.code() : Fitting(error, translation.text, position);
  std::string text = TextOf(error, code, messages);
  if (!translation.origins.empty()) position = translation.origins[position];
  if (std::string_view(error.what()).find(kSentence) != std::string_view::npos) {
    const std::size_t begin = position - std::min(position, kQuoted);
    const std::size_t end = std::min(position + kQuoted, source.size());
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
  return boost::regex_error(text, code, static_cast<std::ptrdiff_t>(position));
}

}  // namespace RegexClass::engine
