// SPDX-License-Identifier: BSL-1.0
// The names that the command line has for the library's enumerators.
#ifndef REGEXCLASS_TOOLS_OUTPUT_NAMES_HPP
#define REGEXCLASS_TOOLS_OUTPUT_NAMES_HPP

#include <RegularExpression.hpp>
#include <cstddef>
#include <string>
#include <vector>

namespace tool {

using RE = RegexClass::RegularExpression;

template <typename Value>
struct Name {
  const char* name;
  Value value;
};

/// Of two names for one syntax the first is the one that is shown.
inline constexpr Name<RE::Options> kSyntaxes[] = {
    {"normal", RE::NormalSyntax}, {"perl", RE::PerlSyntax},         {"basic", RE::BasicSyntax},
    {"sed", RE::SedSyntax},       {"extended", RE::ExtendedSyntax}, {"emacs", RE::EmacsSyntax},
    {"awk", RE::AwkSyntax},       {"grep", RE::GrepSyntax},         {"egrep", RE::EgrepSyntax},
};

inline constexpr Name<RE::Options> kSwitches[] = {
    {"escape-in-lists", RE::EscapeInLists},
    {"char-classes", RE::CharClasses},
    {"intervals", RE::Intervals},
    {"limited-ops", RE::LimitedOps},
    {"newline-alt", RE::NewlineAlt},
    {"bk-plus-qm", RE::BkPlusQm},
    {"bk-braces", RE::BkBraces},
    {"bk-parens", RE::BkParens},
    {"bk-refs", RE::BkRefs},
    {"bk-vbar", RE::BkVbar},
    {"literal", RE::Literal},
    {"icase", RE::Icase},
    {"no-collate", RE::NoCollate},
};

inline constexpr Name<RE::Matches> kMatchOptions[] = {
    {"default", RE::MatchDefault},         {"not-bol", RE::MatchNotBol},
    {"not-eol", RE::MatchNotEol},          {"not-bob", RE::MatchNotBob},
    {"not-eob", RE::MatchNotEob},          {"not-bow", RE::MatchNotBow},
    {"not-eow", RE::MatchNotEow},          {"not-dot-newline", RE::MatchNotDotNewline},
    {"not-dot-null", RE::MatchNotDotNull}, {"any", RE::MatchAny},
    {"not-null", RE::MatchNotNull},        {"continuous", RE::MatchContinuous},
    {"partial", RE::MatchPartial},
};

inline constexpr Name<RE::FormatTypes> kFormatTypes[] = {
    {"all", RE::FormatAll},
    {"sed", RE::FormatSed},
    {"perl", RE::FormatPerl},
};

inline constexpr Name<RE::LocaleModels> kLocaleModels[] = {
    {"cpp", RE::CppLocale},
    {"w32", RE::W32Locale},
    {"c", RE::CLocale},
    {"unicode", RE::UnicodeLocale},
};

template <typename Value, std::size_t size>
std::vector<std::string> NamesOf(const Name<Value> (&table)[size]) {
  std::vector<std::string> names;
  for (const Name<Value>& entry : table) names.emplace_back(entry.name);
  return names;
}

/// The value of a name that is in the table.
template <typename Value, std::size_t size>
Value ValueOf(const Name<Value> (&table)[size], const std::string& name) {
  for (const Name<Value>& entry : table) {
    if (name == entry.name) return entry.value;
  }
  return table[0].value;
}

/// The first name of a value; its number when it has none.
template <typename Value, std::size_t size>
std::string NameOf(const Name<Value> (&table)[size], Value value) {
  for (const Name<Value>& entry : table) {
    if (value == entry.value) return entry.name;
  }
  return std::to_string(static_cast<int>(value));
}

}  // namespace tool

#endif  // REGEXCLASS_TOOLS_OUTPUT_NAMES_HPP
