// SPDX-License-Identifier: BSL-1.0
// The tokens of the engine's notation, for those who look into it.
#ifndef REGEXCLASS_ENGINE_TOKENS_HPP
#define REGEXCLASS_ENGINE_TOKENS_HPP

#include <algorithm>
#include <cstddef>
#include <string_view>

namespace RegexClass::engine {

/// Where a list that begins at `at` ends, behind its bracket; npos when it doesn't.
inline std::size_t EndOfList(std::string_view text, std::size_t at) {
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
    if (text.substr(at, 2) == "(*" || text.substr(at, 3) == "(?#") {
      to(")");
    } else if (text.substr(at, 2) == "\\Q") {
      to("\\E");
    } else if (text[at] == '\\') {
      end = std::min(at + 2, text.size());
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

}  // namespace RegexClass::engine

#endif  // REGEXCLASS_ENGINE_TOKENS_HPP
