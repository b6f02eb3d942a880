// SPDX-License-Identifier: BSL-1.0
// The expression of the model UnicodeLocale.
#ifndef REGEXCLASS_ENGINE_UNICODEEXPRESSION_HPP
#define REGEXCLASS_ENGINE_UNICODEEXPRESSION_HPP

#include <cstdint>
#include <locale>
#include <memory>
#include <optional>
#include <string>

#include "engine/Expression.hpp"

namespace RegexClass::engine {

/// The model in the place of traits: those of the engine for it are known to its expression alone.
struct Unicode {
  using locale_type = std::locale;  // the order of characters is that of its name
};

/// An expression, a text and a format in UTF-8, which the wide engine reads character by character.
/// All that goes in and comes out is bytes, and no match begins or ends inside a character. A byte
/// that isn't UTF-8 is a character, matched by a dot and by negated lists alone.
///
/// In a build without Unicode each compile fails, with error_unknown.
template <>
class Expression<Unicode> {
 public:
  using Flags = boost::match_flag_type;
  using Report = std::function<bool(const boost::cmatch&)>;

  // As in the template.

  unsigned int GroupCount() const { return groupCount_; }
  void Imbue(const std::locale& locale);
  const std::optional<std::locale>& Locale() const { return locale_; }
  void Compile(const std::string& text, std::uint32_t word);
  bool LocaleStays() const { return true; }
  bool LocaleIsDefault() const { return locale_ == std::locale(); }

  bool Search(const char* first, const char* last, boost::cmatch& results, Flags flags) const;
  bool MatchWhole(const char* first, const char* last, boost::cmatch& results, Flags flags) const;
  unsigned int Grep(const char* first, const char* last, Flags flags, const Report& report) const;
  void Merge(const char* first, const char* last, const char* format, Flags flags,
             std::string& out) const;
  static std::string Format(const boost::cmatch& results, const char* format, Flags flags);

 private:
  struct Program;  // compiled, and never changed again

  /// The same expression for the narrow engine, when the text is all ASCII and it means the same
  /// there; else null.
  const Expression<CppTraits>* ForAscii(const char* first, const char* last) const;

  std::shared_ptr<const Program> program_;
  std::shared_ptr<Helps> helps_;
  std::optional<std::locale> locale_;
  unsigned int groupCount_ = 0;
};

}  // namespace RegexClass::engine

#endif  // REGEXCLASS_ENGINE_UNICODEEXPRESSION_HPP
