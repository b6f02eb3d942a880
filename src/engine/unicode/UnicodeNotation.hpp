// SPDX-License-Identifier: BSL-1.0
// From the engine's notation in bytes to that in characters.
#ifndef REGEXCLASS_ENGINE_UNICODE_UNICODENOTATION_HPP
#define REGEXCLASS_ENGINE_UNICODE_UNICODENOTATION_HPP

#include <cstddef>
#include <vector>

#include "engine/syntax/SyntaxTranslation.hpp"
#include "engine/unicode/Utf8.hpp"

namespace RegexClass::engine {

/// Stands before the name of a class, plus bits that tell what is meant by the name. It is no
/// character, so that nobody can write it.
enum ClassMark : EngineChar {
  kClassMark = 0x300000,
  kProperty = 1,    // of \p{name}: a property goes before a class of the same name
  kCaseless = 2,    // with all that differs from a member by case alone
  kComplement = 4,  // all that isn't in there
};

struct UnicodeNotation {
  std::vector<EngineChar> text;        // code points, and a zero after the last
  std::vector<std::size_t> positions;  // of each in the text of the Translation; also of the end
};

/// The characters of `translation`. What the engine doesn't know by itself is brought to a form
/// that it does: properties inside lists, and names of classes where case doesn't count. A byte
/// that isn't UTF-8 becomes U+FFFD.
UnicodeNotation ToUnicode(const Translation& translation);

}  // namespace RegexClass::engine

#endif  // REGEXCLASS_ENGINE_UNICODE_UNICODENOTATION_HPP
