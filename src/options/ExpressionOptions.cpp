#include "options/ExpressionOptions.hpp"

#include <algorithm>
#include <initializer_list>
#include <optional>

#include "engine/SyntaxTranslation.hpp"
#include "object/ExpressionState.hpp"

namespace RegexClass {
namespace {

using RE = RegularExpression;
using Option = RE::Options;

struct Preset {
  Option name;
  ExpressionOptions members;
};

/// In ascending order of the names.
const std::vector<Preset>& Presets() {
  static const ExpressionOptions basic = {RE::CharClasses, RE::Intervals, RE::LimitedOps,
                                          RE::BkBraces,    RE::BkParens,  RE::BkRefs};
  static const ExpressionOptions extended = {RE::CharClasses, RE::Intervals, RE::BkRefs};
  static const ExpressionOptions normal = {RE::EscapeInLists, RE::CharClasses, RE::Intervals,
                                           RE::BkRefs, RE::NoCollate};
  static const auto with = [](ExpressionOptions options, Option more) {
    options.insert(more);
    return options;
  };
  static const std::vector<Preset> presets = {
      {RE::BasicSyntax, basic},
      {RE::ExtendedSyntax, extended},
      {RE::NormalSyntax, normal},
      {RE::EmacsSyntax, {RE::BkBraces, RE::BkParens, RE::BkRefs, RE::BkVbar}},
      {RE::AwkSyntax, with(extended, RE::EscapeInLists)},
      {RE::GrepSyntax, with(basic, RE::NewlineAlt)},
      {RE::EgrepSyntax, with(extended, RE::NewlineAlt)},
      {RE::SedSyntax, basic},
      {RE::PerlSyntax, normal},
  };
  return presets;
}

const Preset* FindPreset(Option name) {
  for (const Preset& preset : Presets()) {
    if (preset.name == name) return &preset;
  }
  return nullptr;
}

/// The preset that the set names, the lowest if there are several; null if it names none.
const Preset* PresetOf(const ExpressionOptions& options) {
  for (const Preset& preset : Presets()) {
    if (options.count(preset.name) != 0) return &preset;
  }
  return nullptr;
}

bool HasAll(const ExpressionOptions& options, const ExpressionOptions& wanted) {
  return std::includes(options.begin(), options.end(), wanted.begin(), wanted.end());
}

void ErasePresetsBut(ExpressionOptions& options, Option kept) {
  for (const Preset& preset : Presets()) {
    if (preset.name != kept) options.erase(preset.name);
  }
}

/// The name of the syntax that the switches amount to. Further switches don't hinder it. Of two
/// names for one syntax, the second only when the set bears it already.
std::optional<Option> Recognise(const ExpressionOptions& options) {
  const auto has = [&](std::initializer_list<Option> wanted) { return HasAll(options, wanted); };
  const auto either = [&](Option first, Option second) {
    return options.count(second) != 0 ? second : first;
  };
  if (has({RE::CharClasses, RE::Intervals, RE::BkRefs})) {
    if (has({RE::EscapeInLists, RE::NoCollate})) return either(RE::NormalSyntax, RE::PerlSyntax);
    if (has({RE::LimitedOps, RE::BkBraces, RE::BkParens})) {
      if (has({RE::NewlineAlt})) return RE::GrepSyntax;
      return either(RE::BasicSyntax, RE::SedSyntax);
    }
    if (has({RE::EscapeInLists})) return RE::AwkSyntax;
    if (has({RE::NewlineAlt})) return RE::EgrepSyntax;
    return RE::ExtendedSyntax;
  }
  if (has({RE::BkBraces, RE::BkParens, RE::BkRefs, RE::BkVbar})) return RE::EmacsSyntax;
  return std::nullopt;
}

}  // namespace

bool AddOption(ExpressionOptions& options, Option option) {
  if (options.count(option) != 0) return false;
  const Preset* const former = PresetOf(options);
  options.insert(option);

  const Preset* const added = FindPreset(option);
  if (added == nullptr) {
    if (const std::optional<Option> name = Recognise(options)) {
      options.insert(*name);
      ErasePresetsBut(options, *name);
    }
    return true;
  }
  if (former != nullptr) {
    for (const Option member : former->members) options.erase(member);
  }
  options.insert(added->members.begin(), added->members.end());
  ErasePresetsBut(options, option);
  return true;
}

bool DeleteOption(ExpressionOptions& options, Option option) {
  if (options.erase(option) == 0) return false;
  if (const Preset* const deleted = FindPreset(option)) {
    for (const Option member : deleted->members) options.erase(member);
    for (const Preset& preset : Presets()) {
      if (preset.members == deleted->members) options.erase(preset.name);
    }
    return true;
  }
  // A preset that has lost a member can't stay: its name would bring the switch back.
  for (const Preset& preset : Presets()) {
    if (!HasAll(options, preset.members)) options.erase(preset.name);
  }
  return true;
}

std::uint32_t SyntaxWord(const ExpressionOptions& options) {
  using namespace engine;
  static constexpr std::uint32_t kBits[] = {
      kEscapeInLists, kCharClasses, kIntervals, kLimitedOps, kNewlineAlt, kBkPlusQm, kBkBraces,
      kBkParens,      kBkRefs,      kBkVbar,    kLiteral,    kIcase,      kNoCollate};
  const auto wordOf = [](const ExpressionOptions& set) {
    std::uint32_t word = 0;
    for (const Option option : set) {
      if (option >= RE::EscapeInLists && option <= RE::NoCollate) word |= kBits[option];
    }
    return word;
  };
  const Preset* const preset = PresetOf(options);
  return wordOf(options) | (preset != nullptr ? wordOf(preset->members) : 0) | kUseExcept;
}

std::uint32_t ExpressionState::EngineSyntaxFlags() const {
  return SyntaxWord(settings.expressionOptions);
}

void RegularExpression::AddExpressionOption(Options option) {
  if (AddOption(state->settings.expressionOptions, option)) state->MarkNotParsed();
}
void RegularExpression::DeleteExpressionOption(Options option) {
  if (DeleteOption(state->settings.expressionOptions, option)) state->MarkNotParsed();
}
bool RegularExpression::IsExpressionOption(Options option) const {
  return state->settings.expressionOptions.count(option) != 0;
}
void RegularExpression::ClearExpressionOptions() {
  state->MarkNotParsed();
  state->settings.expressionOptions.clear();
}

}  // namespace RegexClass
