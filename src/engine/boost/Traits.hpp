// SPDX-License-Identifier: BSL-1.0
// The traits of the models in which a character is a byte. Each is a type of this library's own, so
// that no instantiation of the engine in here is ever mixed up with one of the application's.
#ifndef REGEXCLASS_ENGINE_BOOST_TRAITS_HPP
#define REGEXCLASS_ENGINE_BOOST_TRAITS_HPP

#include <array>
#include <cstddef>
#include <cstdint>
#include <locale>
#include <memory>
#include <string>
#include <string_view>

#include "engine/Expression.hpp"
#include "engine/boost/BoostRegex.hpp"

namespace RegexClass::engine {

/// What the engine's C++ traits are, over the facets of a std::locale, with the messages taken from
/// what is imbued.
///
/// The engine's own keep what they have found out about a locale in a cache of the whole process,
/// the application's expressions included, and a lack of memory leaves an entry half made in there,
/// on which a later expression crashes. They also have a catalogue name for messages, one for the
/// process as well, which they read at a time of their own choice. Here each traits object has all
/// that it needs, so that an expression is never disturbed by another.
class CatalogueTraits {
 public:
  using char_type = char;
  using size_type = std::size_t;
  using string_type = std::string;
  using locale_type = MessageLocale;
  using char_class_type = std::uint32_t;  // the masks of std::ctype, and more above them
  struct boost_extensions_tag {};

  CatalogueTraits();

  /// Whatever a facet of the locale throws leaves the traits as they were. Returns the former
  /// locale.
  locale_type imbue(locale_type locale);
  locale_type getloc() const { return {locale_, messages_}; }

  static size_type length(const char* text) { return std::char_traits<char>::length(text); }
  boost::regex_constants::syntax_type syntax_type(char c) const {
    return syntax_[static_cast<unsigned char>(c)];
  }
  boost::regex_constants::escape_syntax_type escape_syntax_type(char c) const {
    return syntax_[static_cast<unsigned char>(c)];
  }
  static char translate(char c) { return c; }
  char translate_nocase(char c) const { return letters_->tolower(c); }
  char translate(char c, bool icase) const { return icase ? letters_->tolower(c) : c; }
  char tolower(char c) const { return letters_->tolower(c); }
  char toupper(char c) const { return letters_->toupper(c); }
  bool isctype(char c, char_class_type classes) const;
  char_class_type lookup_classname(const char* first, const char* last) const;
  static string_type lookup_collatename(const char* first, const char* last);
  /// The sort key of a text, by which the first level can be found, which the engine's own hides.
  string_type transform(const char* first, const char* last) const;
  string_type transform_primary(const char* first, const char* last) const;
  static std::intmax_t toi(const char*& first, const char* last, int radix);
  static int value(char c, int radix);
  std::string error_string(boost::regex_constants::error_type error) const;

  /// The text with the characters that would mean the same without a catalogue, byte for byte.
  std::string InDefaultNotation(std::string_view text) const;

  /// The messages that were imbued; null for the engine's own.
  const EngineMessages* Messages() const { return messages_.get(); }
  /// What tells whether an expression was compiled under another locale than that of the moment;
  /// the locale here is what was imbued, and doesn't change by itself.
  static std::string LocaleName() { return std::string(); }
  /// The part of what a model is given that is imbued.
  static const MessageLocale& ToImbue(const MessageLocale& locale) { return locale; }

 private:
  using Syntax = std::array<boost::regex_constants::syntax_type, 256>;
  static Syntax SyntaxOf(const EngineMessages* messages, const std::ctype<char>& letters);

  std::locale locale_;
  const std::ctype<char>* letters_;  // of the locale
  std::shared_ptr<const EngineMessages> messages_;
  Syntax syntax_;
};

/// The C library's locale at the time of use.
struct CTraits : boost::c_regex_traits<char> {
  static locale_type ToImbue(const MessageLocale&) { return {}; }
  static std::string_view InDefaultNotation(std::string_view text) { return text; }
  static const EngineMessages* Messages() { return nullptr; }
  /// The names of the locales that classes, case and order come from at the moment.
  static std::string LocaleName();

  // These hide those of the engine, which spoils keys that just fit its first buffer, and asks only
  // once in a process how the keys of the current locale are built.

  /// The sort key of a text.
  static string_type transform(const char* first, const char* last);
  /// The part of the sort key that letters have in common that differ in case or accents alone.
  static string_type transform_primary(const char* first, const char* last);
};

}  // namespace RegexClass::engine

#endif  // REGEXCLASS_ENGINE_BOOST_TRAITS_HPP
