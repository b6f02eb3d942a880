// SPDX-License-Identifier: BSL-1.0
// What the smallest parts of an expression of the model UnicodeLocale match, in bytes.
#ifndef REGEXCLASS_ENGINE_UNICODE_UNICODEATOMS_HPP
#define REGEXCLASS_ENGINE_UNICODE_UNICODEATOMS_HPP

#include <vector>

#include "engine/boost/Atoms.hpp"
#include "engine/unicode/UnicodeTraits.hpp"

namespace RegexClass::engine {

/// Here a character is its bytes in UTF-8, or a byte that isn't part of one. The engine is asked
/// for each character of ASCII, and beyond for one of each run of characters that it can't tell
/// apart. If `exact`, a tree isn't too large a language, and a byte that isn't UTF-8 is unknown.
template <>
class Atoms<UnicodeTraits> {
 public:
  using Regex = boost::basic_regex<EngineChar, UnicodeTraits>;

  Atoms(const Regex& regex, Cases cases, bool exact)
      : regex_(regex), cases_(cases), exact_(exact) {}

  Tree Literal(EngineChar literal) const;
  Tree Set(const detail::re_syntax_base* state) const;
  Tree Dot(bool separators, bool zero) const;

 private:
  const Regex& regex_;
  const Cases cases_;
  const bool exact_;
};

}  // namespace RegexClass::engine

#endif  // REGEXCLASS_ENGINE_UNICODE_UNICODEATOMS_HPP
