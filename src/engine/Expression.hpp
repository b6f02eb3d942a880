// SPDX-License-Identifier: BSL-1.0
// One compiled expression, and what is run on it. The engine's templates are instantiated behind
// this class, once for each traits, and nowhere else.
#ifndef REGEXCLASS_ENGINE_EXPRESSION_HPP
#define REGEXCLASS_ENGINE_EXPRESSION_HPP

#include <cstdint>
#include <functional>
#include <memory>
#include <optional>
#include <string>

#include "engine/Traits.hpp"

namespace RegexClass::engine {

struct Helps;

/// The engine object of one locale model.
///
/// A copy is cheap, shares the compiled program with its source and keeps it alive: a walk that
/// runs on a copy isn't disturbed by a new compile of the source. It is for the thread of its
/// source: they also share the finder that an expression gets when it has searched some hundreds of
/// KB. The engine's matches are the same with and without.
template <class Traits>
class Expression {
 public:
  using Flags = boost::match_flag_type;
  /// Called for each match of a walk, with results that are valid during the call; false ends
  /// the walk.
  using Report = std::function<bool(const boost::cmatch&)>;

  /// The number of marked groups as of the last compile that succeeded.
  unsigned int GroupCount() const { return groupCount_; }

  /// Gives the expression another locale, and drops the program; the number of groups stays.
  /// Whatever a facet of the locale throws leaves everything as it was.
  void Imbue(const typename Traits::locale_type& locale);
  /// What Imbue() gave, empty before it has.
  const std::optional<typename Traits::locale_type>& Locale() const { return locale_; }

  /// Compiles `text`, up to its first zero byte, under a word of SyntaxBits. Throws
  /// boost::regex_error for an expression that is no good; whatever is thrown leaves the program of
  /// the compile before. What hasn't been imbued gets the default of its model first.
  void Compile(const std::string& text, std::uint32_t word);

  /// Whether the locale is still that of the last compile, good or not.
  bool LocaleStays() const { return compiledUnder_ == Traits::LocaleName(); }
  /// Whether a compile that imbues nothing would give the same again.
  bool LocaleIsDefault() const {
    return locale_ && Traits::AreSame(*locale_, Traits::DefaultLocale()) && LocaleStays();
  }

  // Below, [first, last) is the text. Only for an expression that compiled. A text with offsets
  // that don't fit 32 bits with a sign is a std::length_error.

  /// Finds the leftmost match.
  bool Search(const char* first, const char* last, boost::cmatch& results, Flags flags) const;
  /// Matches the whole text.
  bool MatchWhole(const char* first, const char* last, boost::cmatch& results, Flags flags) const;

  /// Reports each match in turn, and gives the number of reports; see RegularExpression::Grep for
  /// the engine's rule on empty matches.
  unsigned int Grep(const char* first, const char* last, Flags flags, const Report& report) const;

  /// Appends the text to `out` with each match that Grep() reports turned into what `format`, a
  /// zero-terminated text, makes of it. `flags` holds match flags and format flags: the syntax of
  /// the format, format_no_copy for the replacements alone, format_first_only.
  void Merge(const char* first, const char* last, const char* format, Flags flags,
             std::string& out) const;
  /// What `format`, a zero-terminated text, makes of a match; `flags` tell its syntax.
  static std::string Format(const boost::cmatch& results, const char* format, Flags flags);

 private:
  boost::basic_regex<char, Traits> regex_;
  std::shared_ptr<Helps> helps_;
  std::optional<typename Traits::locale_type> locale_;
  std::string compiledUnder_;
  unsigned int groupCount_ = 0;
};

extern template class Expression<CppTraits>;
extern template class Expression<W32Traits>;
extern template class Expression<CTraits>;

}  // namespace RegexClass::engine

#endif  // REGEXCLASS_ENGINE_EXPRESSION_HPP
