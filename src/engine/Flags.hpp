// SPDX-License-Identifier: BSL-1.0
// How a compiled expression is run, and how a format is read.
#ifndef REGEXCLASS_ENGINE_FLAGS_HPP
#define REGEXCLASS_ENGINE_FLAGS_HPP

#include <cstdint>

namespace RegexClass::engine {

/// A set of the bits below; none for the rules that hold when nothing is said.
using Flags = std::uint32_t;

enum FlagBits : Flags {
  kNotBol = 0x1,          // the start of the text is no start of a line
  kNotEol = 0x2,          // its end is no end of a line
  kNotBob = 0x4,          // its start isn't that of the buffer
  kNotEob = 0x8,          // its end isn't that of the buffer
  kNotBow = 0x10,         // its start is no start of a word
  kNotEow = 0x20,         // its end is no end of a word
  kNotDotNewline = 0x40,  // a dot matches no separator of lines
  kNotDotNull = 0x80,     // a dot matches no zero byte
  kAny = 0x100,           // any match will do
  kNotNull = 0x200,       // no empty match
  kContinuous = 0x400,    // a match begins where the search does
  kPartial = 0x800,       // the start of a match at the end of the text counts
};

/// How a search is run.
struct SearchSettings {
  Flags flags = 0;
  std::uint64_t stepLimit = 0;  ///< The most steps of the engine; 0 for its own limit.
};

/// The syntax of a format.
enum class FormatSyntax { kAll, kSed, kPerl };

/// What the text is turned into by a merge.
struct MergeFormat {
  const char* text;  ///< A zero-terminated format.
  FormatSyntax syntax = FormatSyntax::kAll;
  bool copy = true;        ///< What lies outside the matches is copied, too.
  bool onlyFirst = false;  ///< The first match alone is replaced.
};

}  // namespace RegexClass::engine

#endif  // REGEXCLASS_ENGINE_FLAGS_HPP
