// SPDX-License-Identifier: BSL-1.0
// What each expression option is. All that goes through the options goes by this table.
#ifndef REGEXCLASS_OPTIONS_OPTIONTABLE_HPP
#define REGEXCLASS_OPTIONS_OPTIONTABLE_HPP

#include <cstdint>

#include "RegularExpression.hpp"
#include "engine/syntax/SyntaxTranslation.hpp"

namespace RegexClass {

struct OptionRow {
  enum class Kind { kNone, kSwitch, kSyntax };

  Kind kind = Kind::kNone;
  std::uint32_t word = 0;  // the bit of a switch, or all those of a syntax
  int rank = 0;            // of several syntaxes that fit, the lowest; 0 for another's second name
};

/// The row of an option; kNone for a number that is no option's. The compiler asks for a row for
/// each enumerator.
constexpr OptionRow RowOf(RegularExpression::Options option) {
  using RE = RegularExpression;
  using Kind = OptionRow::Kind;
  constexpr std::uint32_t kExtended = engine::kCharClasses | engine::kIntervals | engine::kBkRefs;
  constexpr std::uint32_t kBasic =
      kExtended | engine::kLimitedOps | engine::kBkBraces | engine::kBkParens;
  constexpr std::uint32_t kEmacs =
      engine::kBkBraces | engine::kBkParens | engine::kBkRefs | engine::kBkVbar;
  switch (option) {
    case RE::EscapeInLists:
      return {Kind::kSwitch, engine::kEscapeInLists};
    case RE::CharClasses:
      return {Kind::kSwitch, engine::kCharClasses};
    case RE::Intervals:
      return {Kind::kSwitch, engine::kIntervals};
    case RE::LimitedOps:
      return {Kind::kSwitch, engine::kLimitedOps};
    case RE::NewlineAlt:
      return {Kind::kSwitch, engine::kNewlineAlt};
    case RE::BkPlusQm:
      return {Kind::kSwitch, engine::kBkPlusQm};
    case RE::BkBraces:
      return {Kind::kSwitch, engine::kBkBraces};
    case RE::BkParens:
      return {Kind::kSwitch, engine::kBkParens};
    case RE::BkRefs:
      return {Kind::kSwitch, engine::kBkRefs};
    case RE::BkVbar:
      return {Kind::kSwitch, engine::kBkVbar};
    case RE::Literal:
      return {Kind::kSwitch, engine::kLiteral};
    case RE::Icase:
      return {Kind::kSwitch, engine::kIcase};
    case RE::NoCollate:
      return {Kind::kSwitch, engine::kNoCollate};
    case RE::NormalSyntax:
      return {Kind::kSyntax, engine::kNormal, 1};
    case RE::PerlSyntax:
      return {Kind::kSyntax, engine::kNormal};
    case RE::GrepSyntax:
      return {Kind::kSyntax, kBasic | engine::kNewlineAlt, 2};
    case RE::BasicSyntax:
      return {Kind::kSyntax, kBasic, 3};
    case RE::SedSyntax:
      return {Kind::kSyntax, kBasic};
    case RE::AwkSyntax:
      return {Kind::kSyntax, kExtended | engine::kEscapeInLists, 4};
    case RE::EgrepSyntax:
      return {Kind::kSyntax, kExtended | engine::kNewlineAlt, 5};
    case RE::ExtendedSyntax:
      return {Kind::kSyntax, kExtended, 6};
    case RE::EmacsSyntax:
      return {Kind::kSyntax, kEmacs, 7};
  }
  return {};
}

/// How many options there are. They are numbered from 0 on.
inline constexpr int kOptionCount = [] {
  int count = 0;
  while (RowOf(static_cast<RegularExpression::Options>(count)).kind != OptionRow::Kind::kNone) {
    ++count;
  }
  return count;
}();

}  // namespace RegexClass

#endif  // REGEXCLASS_OPTIONS_OPTIONTABLE_HPP
