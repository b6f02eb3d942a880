// SPDX-License-Identifier: BSL-1.0
// The flags of Boost.Regex for ours.
#ifndef REGEXCLASS_ENGINE_BOOST_FLAGS_HPP
#define REGEXCLASS_ENGINE_BOOST_FLAGS_HPP

#include "engine/Flags.hpp"
#include "engine/boost/BoostRegex.hpp"

namespace RegexClass::engine {

inline boost::match_flag_type ToBoost(Flags flags) {
  struct Row {
    Flags ours;
    boost::match_flag_type theirs;
  };
  static constexpr Row kRows[] = {
      {kNotBol, boost::match_not_bol},
      {kNotEol, boost::match_not_eol},
      {kNotBob, boost::match_not_bob},
      {kNotEob, boost::match_not_eob},
      {kNotBow, boost::match_not_bow},
      {kNotEow, boost::match_not_eow},
      {kNotDotNewline, boost::match_not_dot_newline},
      {kNotDotNull, boost::match_not_dot_null},
      {kAny, boost::match_any},
      {kNotNull, boost::match_not_null},
      {kContinuous, boost::match_continuous},
      {kPartial, boost::match_partial},
  };
  boost::match_flag_type result = boost::match_default;
  if (flags == 0) return result;
  for (const Row& row : kRows) {
    if ((flags & row.ours) != 0) result |= row.theirs;
  }
  return result;
}

inline boost::match_flag_type ToBoost(FormatSyntax syntax) {
  switch (syntax) {
    case FormatSyntax::kAll:
      break;
    case FormatSyntax::kSed:
      return boost::format_sed;
    case FormatSyntax::kPerl:
      return boost::format_perl;
  }
  return boost::format_all;
}

}  // namespace RegexClass::engine

#endif  // REGEXCLASS_ENGINE_BOOST_FLAGS_HPP
