// SPDX-License-Identifier: BSL-1.0
// The string cut into a list.

#include <cstdint>
#include <optional>
#include <utility>

#include "catalogues/CatalogueInForce.hpp"
#include "object/ExpressionState.hpp"

namespace RegexClass {
namespace {

/// White space, with the letter that a message catalogue may have put in the place of s.
std::string DefaultSplitExpression(const ExpressionState& state) {
  std::string expression = "\\s+";
  if (CatalogueOf(*state.CurrentModel().model) != nullptr && state.texts.splitEscapeLetter != 0) {
    expression[1] = state.texts.splitEscapeLetter;
  }
  return expression;
}

/// Appends to `pieces` what one match contributes, and stops at `limit` strings in all; false when
/// that is reached. `before` is the end of the match before.
bool AppendPieces(const engine::Match& match, const char* before, std::uint64_t limit,
                  std::vector<std::string>& pieces) {
  if (match.size() > 1) {
    for (std::size_t group = 1; group < match.size(); ++group) {
      pieces.push_back(match[group].Text());
      if (pieces.size() == limit) return false;
    }
    return true;
  }
  // A separator in front of everything makes no empty string.
  if (before != match[0].first || !pieces.empty()) pieces.emplace_back(before, match[0].first);
  return pieces.size() != limit;
}

/// Splits `text`, and returns how much of it was used up.
std::size_t SplitText(const engine::Expression& expression, const std::string& text,
                      const engine::SearchSettings& settings, std::uint64_t limit,
                      std::vector<std::string>& pieces) {
  const char* const first = text.data();
  const char* const last = first + text.size();
  const char* done = first;
  expression.Grep(text, settings, [&](const engine::Match& match) {
    const char* const before = done;
    done = match[0].second;
    return AppendPieces(match, before, limit, pieces);
  });
  if (pieces.size() < limit && done != last && expression.GroupCount() == 0) {
    pieces.emplace_back(done, last);
    done = last;
  }
  return static_cast<std::size_t>(done - first);
}

}  // namespace

unsigned int RegularExpression::Split(std::vector<std::string>& pieces) {
  pieces.clear();
  const Settings& settings = state->settings;
  if (settings.stringToMatch.empty()) return 0;

  std::optional<std::string> former;  // of an object without an expression
  if (!settings.HasExpression()) {
    former = settings.expression;
    SetExpression(DefaultSplitExpression(*state));
  }
  std::size_t used = 0;
  if (state->ParseExpression() == NoError) {
    const std::uint64_t limit = settings.maximumSplits != 0 ? settings.maximumSplits : UINT32_MAX;
    used = SplitText(*state->Expression(), settings.stringToMatch, state->SearchSettings(false),
                     limit, pieces);
  }
  if (settings.splitInputDelete) state->SettingsToChangeString().stringToMatch.erase(0, used);
  if (former) SetExpression(std::move(*former));
  return static_cast<unsigned int>(pieces.size());
}

}  // namespace RegexClass
