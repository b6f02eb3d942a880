// SPDX-License-Identifier: BSL-1.0
#include "options/ExpressionOptions.hpp"

#include <iterator>

#include "engine/SyntaxTranslation.hpp"

namespace RegexClass {
namespace {

using RE = RegularExpression;
using Option = RE::Options;

/// The bits of the switches, by their numbers.
constexpr std::uint32_t kSwitches[] = {
    engine::kEscapeInLists, engine::kCharClasses, engine::kIntervals, engine::kLimitedOps,
    engine::kNewlineAlt,    engine::kBkPlusQm,    engine::kBkBraces,  engine::kBkParens,
    engine::kBkRefs,        engine::kBkVbar,      engine::kLiteral,   engine::kIcase,
    engine::kNoCollate};
static_assert(std::size(kSwitches) == RE::BasicSyntax,
              "a bit for each switch, and syntaxes behind");
static_assert(kSwitches[RE::BkRefs] == engine::kBkRefs &&
                  kSwitches[RE::NoCollate] == engine::kNoCollate,
              "in the order of the numbers");

/// A syntax by name: a set of switches, as a word.
struct Preset {
  Option name;
  std::uint32_t switches;
};

constexpr std::uint32_t kExtended = engine::kCharClasses | engine::kIntervals | engine::kBkRefs;
constexpr std::uint32_t kBasic =
    kExtended | engine::kLimitedOps | engine::kBkBraces | engine::kBkParens;

/// In ascending order of the names.
constexpr Preset kPresets[] = {
    {RE::BasicSyntax, kBasic},
    {RE::ExtendedSyntax, kExtended},
    {RE::NormalSyntax, engine::kNormal},
    {RE::EmacsSyntax, engine::kBkBraces | engine::kBkParens | engine::kBkRefs | engine::kBkVbar},
    {RE::AwkSyntax, kExtended | engine::kEscapeInLists},
    {RE::GrepSyntax, kBasic | engine::kNewlineAlt},
    {RE::EgrepSyntax, kExtended | engine::kNewlineAlt},
    {RE::SedSyntax, kBasic},
    {RE::PerlSyntax, engine::kNormal},
};
static_assert(std::size(kPresets) == RE::PerlSyntax - RE::BasicSyntax + 1, "a row for each");

/// The syntax that some switches amount to is the first of these that has no others.
constexpr Option kByPrecedence[] = {RE::NormalSyntax, RE::GrepSyntax,  RE::BasicSyntax,
                                    RE::AwkSyntax,    RE::EgrepSyntax, RE::ExtendedSyntax,
                                    RE::EmacsSyntax};

const Preset* FindPreset(Option name) {
  return name < RE::BasicSyntax || name > RE::PerlSyntax ? nullptr
                                                         : &kPresets[name - RE::BasicSyntax];
}

/// The preset that the set names, the lowest if there are several; null if it names none.
const Preset* PresetOf(const ExpressionOptions& options) {
  for (const Preset& preset : kPresets) {
    if (options.count(preset.name) != 0) return &preset;
  }
  return nullptr;
}

/// The switches of a set, as a word.
std::uint32_t SwitchesOf(const ExpressionOptions& options) {
  std::uint32_t word = 0;
  for (const Option option : options) {
    if (option >= RE::EscapeInLists && option <= RE::NoCollate) word |= kSwitches[option];
  }
  return word;
}

void Insert(ExpressionOptions& options, std::uint32_t switches) {
  for (int option = RE::EscapeInLists; option <= RE::NoCollate; ++option) {
    if ((switches & kSwitches[option]) != 0) options.insert(static_cast<Option>(option));
  }
}

void Erase(ExpressionOptions& options, std::uint32_t switches) {
  for (int option = RE::EscapeInLists; option <= RE::NoCollate; ++option) {
    if ((switches & kSwitches[option]) != 0) options.erase(static_cast<Option>(option));
  }
}

bool HasAll(std::uint32_t switches, std::uint32_t wanted) { return (switches & wanted) == wanted; }

void ErasePresetsBut(ExpressionOptions& options, Option kept) {
  for (const Preset& preset : kPresets) {
    if (preset.name != kept) options.erase(preset.name);
  }
}

/// Gives the set the name of the syntax that its switches amount to, and no other; of two names for
/// one syntax, the second only when the set bears it already. Further switches don't hinder it.
void NameSyntax(ExpressionOptions& options) {
  const std::uint32_t switches = SwitchesOf(options);
  for (const Option name : kByPrecedence) {
    const std::uint32_t wanted = FindPreset(name)->switches;
    if (!HasAll(switches, wanted)) continue;
    Option kept = name;
    for (const Preset& preset : kPresets) {
      if (preset.switches == wanted && options.count(preset.name) != 0) kept = preset.name;
    }
    options.insert(kept);
    return ErasePresetsBut(options, kept);
  }
}

}  // namespace

ExpressionOptions OptionsOf(Option syntax) {
  ExpressionOptions options = {syntax};
  if (const Preset* const preset = FindPreset(syntax)) Insert(options, preset->switches);
  return options;
}

bool AddOption(ExpressionOptions& options, Option option) {
  if (options.count(option) != 0) return false;
  const Preset* const former = PresetOf(options);
  options.insert(option);

  const Preset* const added = FindPreset(option);
  if (added == nullptr) {
    NameSyntax(options);
    return true;
  }
  if (former != nullptr) Erase(options, former->switches);
  Insert(options, added->switches);
  ErasePresetsBut(options, option);
  return true;
}

bool DeleteOption(ExpressionOptions& options, Option option) {
  if (options.erase(option) == 0) return false;
  if (const Preset* const deleted = FindPreset(option)) {
    Erase(options, deleted->switches);
    for (const Preset& preset : kPresets) {
      if (preset.switches == deleted->switches) options.erase(preset.name);
    }
    return true;
  }
  // A preset that has lost a member can't stay: its name would bring the switch back.
  const std::uint32_t switches = SwitchesOf(options);
  for (const Preset& preset : kPresets) {
    if (!HasAll(switches, preset.switches)) options.erase(preset.name);
  }
  return true;
}

std::uint32_t SyntaxWord(const ExpressionOptions& options) {
  const Preset* const preset = PresetOf(options);
  return SwitchesOf(options) | (preset != nullptr ? preset->switches : 0);
}

}  // namespace RegexClass
