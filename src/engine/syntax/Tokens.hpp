// SPDX-License-Identifier: BSL-1.0
// The tokens of the engine's notation, for those who look into it.
#ifndef REGEXCLASS_ENGINE_SYNTAX_TOKENS_HPP
#define REGEXCLASS_ENGINE_SYNTAX_TOKENS_HPP

#include <algorithm>
#include <cstddef>
#include <string_view>
#include <vector>

namespace RegexClass::engine {

/// The length of the escape at `at`; \cX names a control character, whatever X is.
inline std::size_t SizeOfEscape(std::string_view text, std::size_t at) {
  return std::min<std::size_t>(text.substr(at + 1, 1) == "c" ? 3 : 2, text.size() - at);
}

/// Where a list that begins at `at` ends, after its bracket; npos when it doesn't.
inline std::size_t EndOfList(std::string_view text, std::size_t at) {
  ++at;
  if (text.substr(at, 1) == "^") ++at;
  for (const std::size_t first = at; at < text.size();) {
    if (text[at] == ']' && at != first) return at + 1;
    const char kind = at + 1 < text.size() ? text[at + 1] : '\0';
    if (text[at] == '\\') {
      at += SizeOfEscape(text, at);
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

/// A token of the engine's notation: an escape, a quoted text, a comment, a verb, a list (to the
/// end when it has none), the opening of a group with its options, or a character.
struct Token {
  std::size_t at;
  std::string_view text;
  bool icase;  // case doesn't count here
};

/// Follows the options that an expression changes in itself, for the rest of a group.
class InlineOptions {
 public:
  struct State {
    bool icase = false;
    bool extended = false;  // blanks and comments don't count
  };

  explicit InlineOptions(bool icase) { now_.icase = icase; }

  const State& Now() const { return now_; }

  void Pass(std::string_view token) {
    if (token == ")") {
      if (outer_.empty()) return;
      now_ = outer_.back();
      outer_.pop_back();
    } else if (token == "(" || (token.substr(0, 2) == "(?" && token.substr(0, 3) != "(?#")) {
      if (token.back() != ')') outer_.push_back(now_);
      if (token.back() == '(' && token.size() > 1) outer_.push_back(now_);  // a condition
      bool on = true;
      for (const char c : token.substr(1)) {
        if (c == '-') on = false;
        if (c == 'i') now_.icase = on;
        if (c == 'x') now_.extended = on;
      }
    }
  }

 private:
  State now_;
  std::vector<State> outer_;  // of the groups that are open
};

/// Calls `step` with each token of `text`. `icase` tells whether case doesn't count at its start.
template <class Step>
void ForEachToken(std::string_view text, bool icase, Step step) {
  InlineOptions options(icase);
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
      end = at + SizeOfEscape(text, at);
    } else if (text.substr(at, 2) == "(?") {
      end = std::min(text.find_first_not_of("imsx-", at + 2), text.size() - 1) + 1;
    } else if (text[at] == '#' && options.Now().extended) {
      end = std::min(text.find_first_of("\n\r\f", at), text.size() - 1) + 1;
    } else if (text[at] == '[') {
      end = std::min(EndOfList(text, at), text.size());
    }
    const Token token = {at, text.substr(at, end - at), options.Now().icase};
    step(token);
    options.Pass(token.text);
    at = end;
  }
}

}  // namespace RegexClass::engine

#endif  // REGEXCLASS_ENGINE_SYNTAX_TOKENS_HPP
