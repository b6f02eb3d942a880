// SPDX-License-Identifier: BSL-1.0
// The string cut into a list.

#include <cstdint>
#include <optional>
#include <type_traits>
#include <utility>

#include "object/ExpressionState.hpp"

namespace RegexClass {
namespace {

/// White space, with the letter that a message catalogue may have put in the place of s.
std::string DefaultSplitExpression(const ExpressionState& state) {
  std::string expression = "\\s+";
  const bool catalogue = state.WithModel([](const auto& model) {
    return Catalogue<typename std::decay_t<decltype(model)>::Traits>() != nullptr;
  });
  if (catalogue && state.texts.splitEscapeLetter != 0) {
    expression[1] = state.texts.splitEscapeLetter;
  }
  return expression;
}

/// Appends to `pieces` what one match contributes, and stops at `limit` strings in all; false when
/// that is reached. `before` is the end of the match before.
bool AppendPieces(const boost::cmatch& results, const char* before, std::uint64_t limit,
                  std::vector<std::string>& pieces) {
  if (results.size() > 1) {
    for (std::size_t group = 1; group < results.size(); ++group) {
      pieces.push_back(results.str(static_cast<int>(group)));
      if (pieces.size() == limit) return false;
    }
    return true;
  }
  // A separator in front of everything makes no empty string.
  if (before != results[0].first || !pieces.empty()) pieces.emplace_back(before, results[0].first);
  return pieces.size() != limit;
}

/// Splits `text`, and gives how much of it was used up.
template <class Expression>
std::size_t SplitText(const Expression& expression, const std::string& text,
                      boost::match_flag_type flags, std::uint64_t limit,
                      std::vector<std::string>& pieces) {
  const char* const first = text.data();
  const char* const last = first + text.size();
  const char* done = first;
  expression.Grep(first, last, flags, [&](const boost::cmatch& results) {
    const char* const before = done;
    done = results[0].second;
    return AppendPieces(results, before, limit, pieces);
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
    const boost::match_flag_type flags = EngineMatchFlags(settings.matchOptions, false);
    const std::uint64_t limit = settings.maximumSplits != 0 ? settings.maximumSplits : UINT32_MAX;
    used = state->WithModel([&](const auto& model) {
      return SplitText(model.expression, settings.stringToMatch, flags, limit, pieces);
    });
  }
  if (settings.splitInputDelete) state->SettingsToChangeString().stringToMatch.erase(0, used);
  if (former) SetExpression(std::move(*former));
  return static_cast<unsigned int>(pieces.size());
}

}  // namespace RegexClass
