// SPDX-License-Identifier: BSL-1.0
#include "options/ExpressionOptions.hpp"

#include <optional>

#include "options/OptionTable.hpp"

namespace RegexClass {
namespace {

using RE = RegularExpression;
using Option = RE::Options;

bool IsSyntax(Option option) { return RowOf(option).kind == OptionRow::Kind::kSyntax; }

/// Calls `callable` with each syntax and its switches, in the order of the numbers.
template <class Callable>
void ForEachSyntax(Callable callable) {
  for (int number = 0; number < kOptionCount; ++number) {
    const auto option = static_cast<Option>(number);
    if (IsSyntax(option)) callable(option, RowOf(option).word);
  }
}

/// The syntax that the set names, the lowest if there are several.
std::optional<Option> SyntaxOf(const ExpressionOptions& options) {
  for (const Option option : options) {
    if (IsSyntax(option)) return option;
  }
  return std::nullopt;
}

/// The switches of a set, as a word.
std::uint32_t SwitchesOf(const ExpressionOptions& options) {
  std::uint32_t word = 0;
  for (const Option option : options) {
    if (!IsSyntax(option)) word |= RowOf(option).word;
  }
  return word;
}

/// Calls `callable` with each switch of a word.
template <class Callable>
void ForEachSwitch(std::uint32_t switches, Callable callable) {
  for (int number = 0; number < kOptionCount; ++number) {
    const auto option = static_cast<Option>(number);
    if (!IsSyntax(option) && (switches & RowOf(option).word) != 0) callable(option);
  }
}

void Insert(ExpressionOptions& options, std::uint32_t switches) {
  ForEachSwitch(switches, [&options](Option option) { options.insert(option); });
}

void Erase(ExpressionOptions& options, std::uint32_t switches) {
  ForEachSwitch(switches, [&options](Option option) { options.erase(option); });
}

bool HasAll(std::uint32_t switches, std::uint32_t wanted) { return (switches & wanted) == wanted; }

void EraseSyntaxesBut(ExpressionOptions& options, Option kept) {
  ForEachSyntax([&](Option syntax, std::uint32_t) {
    if (syntax != kept) options.erase(syntax);
  });
}

/// Puts into the set the name of the syntax that its switches amount to, and no other; of two names
/// for one syntax, the second only when the set bears it already. Further switches don't hinder it.
void NameSyntax(ExpressionOptions& options) {
  const std::uint32_t switches = SwitchesOf(options);
  std::optional<Option> found;
  ForEachSyntax([&](Option syntax, std::uint32_t wanted) {
    const int rank = RowOf(syntax).rank;
    if (rank == 0 || !HasAll(switches, wanted)) return;
    if (!found || rank < RowOf(*found).rank) found = syntax;
  });
  if (!found) return;
  Option kept = *found;
  ForEachSyntax([&](Option syntax, std::uint32_t wanted) {
    if (wanted == RowOf(*found).word && options.count(syntax) != 0) kept = syntax;
  });
  options.insert(kept);
  EraseSyntaxesBut(options, kept);
}

}  // namespace

ExpressionOptions OptionsOf(Option syntax) {
  ExpressionOptions options = {syntax};
  if (IsSyntax(syntax)) Insert(options, RowOf(syntax).word);
  return options;
}

bool AddOption(ExpressionOptions& options, Option option) {
  if (options.count(option) != 0) return false;
  const std::optional<Option> former = SyntaxOf(options);
  options.insert(option);
  if (!IsSyntax(option)) {
    NameSyntax(options);
    return true;
  }
  if (former) Erase(options, RowOf(*former).word);
  Insert(options, RowOf(option).word);
  EraseSyntaxesBut(options, option);
  return true;
}

bool DeleteOption(ExpressionOptions& options, Option option) {
  if (options.erase(option) == 0) return false;
  if (IsSyntax(option)) {
    Erase(options, RowOf(option).word);
    ForEachSyntax([&](Option syntax, std::uint32_t switches) {
      if (switches == RowOf(option).word) options.erase(syntax);
    });
    return true;
  }
  // A syntax that has lost a member can't stay: its name would bring the switch back.
  const std::uint32_t present = SwitchesOf(options);
  ForEachSyntax([&](Option syntax, std::uint32_t switches) {
    if (!HasAll(present, switches)) options.erase(syntax);
  });
  return true;
}

std::uint32_t SyntaxWord(const ExpressionOptions& options) {
  const std::optional<Option> syntax = SyntaxOf(options);
  return SwitchesOf(options) | (syntax ? RowOf(*syntax).word : 0);
}

}  // namespace RegexClass
