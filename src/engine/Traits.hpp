// SPDX-License-Identifier: BSL-1.0
// The traits of the three locale models. Each is a type of this library's own, so that no
// instantiation of the engine in here is ever mixed up with one of the application's.
#ifndef REGEXCLASS_ENGINE_TRAITS_HPP
#define REGEXCLASS_ENGINE_TRAITS_HPP

#include <array>
#include <locale>
#include <memory>
#include <string>
#include <string_view>

#include <boost/regex.hpp>

#include "engine/EngineMessages.hpp"
#include "platform/UserLocale.hpp"

namespace RegexClass::engine {

/// A locale, and the engine's messages that go with it.
struct MessageLocale {
  std::locale locale;
  std::shared_ptr<const EngineMessages> messages;  // null for the engine's own
};

/// The engine's C++ traits with the messages taken from what is imbued.
///
/// The engine has a catalogue name for its messages, but only one for all traits of a process,
/// the application's included, and reads it at a time of its own choice. Here each traits object
/// keeps the messages that it was given, so that an expression is never disturbed by another.
class CatalogueTraits : public boost::cpp_regex_traits<char> {
  using Base = boost::cpp_regex_traits<char>;

 public:
  using locale_type = MessageLocale;

  CatalogueTraits();

  /// Whatever a facet of the locale throws leaves the traits as they were. Gives the former locale.
  locale_type imbue(locale_type locale);
  locale_type getloc() const { return {Base::getloc(), messages_}; }

  // These hide those of the engine, which calls them by the type of its traits, and which spreads
  // the bytes of a sort key, so that it can't find the first level in there.
  boost::regex_constants::syntax_type syntax_type(char c) const {
    return syntax_[static_cast<unsigned char>(c)];
  }
  boost::regex_constants::escape_syntax_type escape_syntax_type(char c) const {
    return syntax_[static_cast<unsigned char>(c)];
  }
  string_type transform(const char* first, const char* last) const;
  string_type transform_primary(const char* first, const char* last) const;
  char_class_type lookup_classname(const char* first, const char* last) const;
  std::string error_string(boost::regex_constants::error_type error) const;

  /// The text with the characters that would mean the same without a catalogue, byte for byte.
  std::string InDefaultNotation(std::string_view text) const;

  /// The messages that were imbued; null for the engine's own.
  const EngineMessages* Messages() const { return messages_.get(); }
  /// What tells whether an expression was compiled under another locale than that of the moment;
  /// the locale here is what was imbued, and doesn't change by itself.
  static std::string LocaleName() { return std::string(); }
  static bool AreSame(const locale_type& a, const locale_type& b) {
    return a.locale == b.locale && a.messages == b.messages;
  }

 private:
  void FillSyntax();

  std::shared_ptr<const EngineMessages> messages_;
  std::array<boost::regex_constants::syntax_type, 256> syntax_;
};

// Each traits class of a model says in DefaultLocale() what holds when nothing is imbued.

/// CppLocale: whatever std::locale is imbued, the global one by default.
struct CppTraits : CatalogueTraits {
  static MessageLocale DefaultLocale() { return {std::locale(), nullptr}; }
};

/// W32Locale: the system locale of the user who runs the process.
struct W32Traits : CatalogueTraits {
  static MessageLocale DefaultLocale() { return {platform::UserLocale(), nullptr}; }
};

/// CLocale: the C library's locale at the time of use.
struct CTraits : boost::c_regex_traits<char> {
  static locale_type DefaultLocale() { return {}; }
  static std::string_view InDefaultNotation(std::string_view text) { return text; }
  static const EngineMessages* Messages() { return nullptr; }
  /// The names of the locales that classes, case and order come from at the moment.
  static std::string LocaleName();
  static bool AreSame(locale_type, locale_type) { return true; }  // nothing is in them

  // These hide those of the engine, which spoils keys that just fit its first buffer, and asks only
  // once in a process how the keys of the current locale are built.

  /// The sort key of a text.
  static string_type transform(const char* first, const char* last);
  /// The part of the sort key that letters have in common that differ in case or accents alone.
  static string_type transform_primary(const char* first, const char* last);
};

}  // namespace RegexClass::engine

#endif  // REGEXCLASS_ENGINE_TRAITS_HPP
