// SPDX-License-Identifier: BSL-1.0
// The traits of the model UnicodeLocale, over ICU.
#ifndef REGEXCLASS_ENGINE_UNICODE_UNICODETRAITS_HPP
#define REGEXCLASS_ENGINE_UNICODE_UNICODETRAITS_HPP

#include <bitset>
#include <cstddef>
#include <cstdint>
#include <memory>
#include <string>
#include <vector>

#include "engine/boost/BoostRegex.hpp"
#include "engine/unicode/Utf8.hpp"

struct UCollator;
struct USet;

namespace RegexClass::engine {

/// A set of code points, with a table of most of those that texts consist of.
class CodePoints {
 public:
  explicit CodePoints(std::shared_ptr<const USet> set);

  bool Contains(EngineChar c) const {
    const auto index = static_cast<std::size_t>(c);
    return index < table_.size() ? table_[index] : ContainsBeyond(c);
  }
  /// Appends the first and the one after the last of each run.
  void AppendChanges(std::vector<EngineChar>& changes) const;

 private:
  bool ContainsBeyond(EngineChar c) const;

  const std::shared_ptr<const USet> set_;
  std::bitset<0x10000> table_;
};

/// What the engine asks of Unicode: classes, case and order of characters. An object serves one
/// compile, and the matching of what that gave, which may be on several threads.
class UnicodeTraits {
 public:
  using char_type = EngineChar;
  using size_type = std::size_t;
  using string_type = std::vector<EngineChar>;
  using locale_type = std::string;        // an ICU locale, for the order
  using char_class_type = std::uint64_t;  // a bit for each class of the expression
  struct boost_extensions_tag {};

  static size_type length(const EngineChar* text);
  static boost::regex_constants::syntax_type syntax_type(EngineChar c);
  static boost::regex_constants::escape_syntax_type escape_syntax_type(EngineChar c);
  static std::string error_string(boost::regex_constants::error_type error);

  static EngineChar translate(EngineChar c) { return ToCodePoint(c); }
  /// Simple case folding: a character for a character.
  static EngineChar translate_nocase(EngineChar c);
  static EngineChar translate(EngineChar c, bool icase) {
    return icase ? translate_nocase(c) : translate(c);
  }
  static EngineChar tolower(EngineChar c);
  static EngineChar toupper(EngineChar c);

  /// Digits are those of ASCII here; classes have the others.
  static int value(EngineChar c, int radix);
  std::intmax_t toi(const EngineChar*& first, const EngineChar* last, int radix) const;

  /// The class of a name, which may begin with a ClassMark; 0 when there is none.
  char_class_type lookup_classname(const EngineChar* first, const EngineChar* last) const;
  bool isctype(EngineChar c, char_class_type classes) const {
    c = ToCodePoint(c);
    for (const Class& each : classes_) {
      if ((classes & 1) != 0 && each.members->Contains(c) != each.complement) return true;
      if ((classes >>= 1) == 0) break;
    }
    return false;
  }
  /// Appends the code points at which what isctype() tells of `classes` changes.
  void AppendChanges(char_class_type classes, std::vector<EngineChar>& changes) const;
  /// The first and the one after the last of each run of code points that case folding changes.
  static const std::vector<EngineChar>& CaseChanges();
  /// The character of a name, or of itself; empty when there is none.
  static string_type lookup_collatename(const EngineChar* first, const EngineChar* last);

  /// Gives the traits an order. Nothing may be compared before that.
  locale_type imbue(locale_type locale);
  locale_type getloc() const { return locale_; }
  string_type transform(const EngineChar* first, const EngineChar* last) const;
  string_type transform_primary(const EngineChar* first, const EngineChar* last) const;

 private:
  struct Class {
    std::string name;
    EngineChar mark;
    bool complement;
    std::shared_ptr<const CodePoints> members;
  };

  mutable std::vector<Class> classes_;  // by their bits; grows while an expression is compiled
  std::string locale_;
  std::shared_ptr<const UCollator> order_;
  std::shared_ptr<const UCollator> primaryOrder_;
};

}  // namespace RegexClass::engine

namespace boost::BOOST_REGEX_DETAIL_NS {

/// The engine folds the ends of a range where case doesn't count, so that [Z-a] is none and [Ѐ-ӿ]
/// lacks letters. Here a range has all that differs from one of its members by case alone.
template <>
re_syntax_base*
basic_regex_creator<RegexClass::engine::EngineChar, RegexClass::engine::UnicodeTraits>::append_set(
    const basic_char_set<RegexClass::engine::EngineChar, RegexClass::engine::UnicodeTraits>& set);

}  // namespace boost::BOOST_REGEX_DETAIL_NS

#endif  // REGEXCLASS_ENGINE_UNICODE_UNICODETRAITS_HPP
