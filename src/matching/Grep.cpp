// SPDX-License-Identifier: BSL-1.0
// The walk over the string, match by match.

#include <cstddef>
#include <string>
#include <utility>

#include "matching/WalkReporter.hpp"
#include "object/ExpressionState.hpp"

namespace RegexClass {
namespace {

/// Searches `text` with the current expression, and holds on to it: a notification may compile
/// another one meanwhile.
unsigned int GrepText(ExpressionState& state, const std::string& text,
                      const engine::Expression::Report& report) {
  const engine::SearchSettings settings = state.SearchSettings(true);
  const WalkScope walk(state);
  const auto expression = state.Expression();
  return expression->Grep(text, settings, report);
}

/// A copy of the string to match. The next one uses its memory again, unless that is much.
class TextCopy {
 public:
  explicit TextCopy(ExpressionState& state) : state_(state), text_(std::move(state.spareText)) {
    text_ = state.settings.stringToMatch;
  }
  TextCopy(const TextCopy&) = delete;
  TextCopy& operator=(const TextCopy&) = delete;
  ~TextCopy() {
    constexpr std::size_t kMost = 64 << 10;
    if (text_.capacity() <= kMost) state_.spareText.swap(text_);
  }
  const std::string& operator*() const { return text_; }
  const std::string* operator->() const { return &text_; }

 private:
  ExpressionState& state_;
  std::string text_;
};

using Matches = std::vector<std::vector<REMatch>>;

/// Walks, and keeps each match in `matches` unless that is null.
unsigned int GrepInto(ExpressionState& state, Matches* matches) {
  if (matches != nullptr) matches->clear();
  if (state.ParseExpression() != RegularExpression::NoError) return 0;

  Matches found;
  const auto keep = [&](const engine::Match& match) {
    if (matches != nullptr) ToSubMatches(match, found.emplace_back());
    return true;
  };
  unsigned int count = 0;
  if (const auto subscriber = state.notifications.onGrepping.Clone()) {
    // A copy, because the subscriber may set another string.
    const TextCopy text(state);
    WalkReporter reporter(state, subscriber, text->data());
    const auto tell = [&](const engine::Match& match) {
      const CurrentMatchScope current(state, match);
      return keep(match) && reporter(match);
    };
    count = GrepText(state, *text, tell);
  } else if (matches != nullptr) {
    count = GrepText(state, state.settings.stringToMatch, keep);
  } else {
    count = GrepText(state, state.settings.stringToMatch, nullptr);
  }
  if (matches != nullptr) matches->swap(found);
  return count;
}

}  // namespace

unsigned int RegularExpression::Grep() { return GrepInto(*state, nullptr); }
unsigned int RegularExpression::Grep(std::vector<std::vector<REMatch>>& matches) {
  return GrepInto(*state, &matches);
}

}  // namespace RegexClass
