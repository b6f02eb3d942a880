// SPDX-License-Identifier: BSL-1.0
// The door to the engine: a compiled expression, and what compiles it.
#ifndef REGEXCLASS_ENGINE_EXPRESSION_HPP
#define REGEXCLASS_ENGINE_EXPRESSION_HPP

#include <cstddef>
#include <cstdint>
#include <locale>
#include <memory>
#include <string>
#include <string_view>
#include <type_traits>
#include <utility>

#include "engine/Error.hpp"
#include "engine/Flags.hpp"
#include "engine/Match.hpp"
#include "engine/messages/EngineMessages.hpp"

namespace RegexClass::engine {

/// A compiled expression, which never changes: a walk that holds on to it isn't disturbed by a new
/// compile. It is for one thread at a time, since what it learns from the texts that it has
/// searched goes into the next search. The matches are the same with and without.
///
/// A text with offsets that don't fit 32 bits with a sign is a std::length_error. Where the engine
/// gives up on a text, each of these throws what Throw() throws.
class Expression {
 public:
  /// Called for each match of a walk, with a match that is valid during the call; false ends the
  /// walk. Refers to what it is made from, which must last.
  class Report {
   public:
    /// One that only counts.
    Report(std::nullptr_t) {}
    template <class Function,
              class = std::enable_if_t<!std::is_same_v<std::decay_t<Function>, Report>>>
    Report(Function&& function)
        : function_(&function), call_([](const void* called, const Match& match) -> bool {
            using Called = const std::remove_reference_t<Function>;
            return (*static_cast<Called*>(called))(match);
          }) {}
    explicit operator bool() const { return call_ != nullptr; }
    bool operator()(const Match& match) const { return call_(function_, match); }

   private:
    const void* function_ = nullptr;
    bool (*call_)(const void*, const Match&) = nullptr;
  };

  virtual ~Expression() = default;

  /// The number of marked groups.
  unsigned int GroupCount() const { return groupCount_; }
  /// Their names, by number; null when none has one.
  const std::shared_ptr<const GroupNames>& Names() const { return names_; }

  /// Finds the leftmost match.
  virtual bool Search(std::string_view text, const SearchSettings& settings,
                      Match& match) const = 0;
  /// Matches the whole text.
  virtual bool MatchWhole(std::string_view text, const SearchSettings& settings,
                          Match& match) const = 0;
  /// Reports each match in turn, and returns the number of matches; see RegularExpression::Grep for
  /// the rule on empty ones.
  virtual unsigned int Grep(std::string_view text, const SearchSettings& settings,
                            const Report& report) const = 0;
  /// Appends the text to `out` with each match that Grep() reports replaced by what `format` makes
  /// of it.
  virtual void Merge(std::string_view text, const SearchSettings& settings,
                     const MergeFormat& format, std::string& out) const;
  /// Whether Search() under `flags` takes a time that grows with the text alone.
  virtual bool IsLinear(Flags flags) const = 0;

 protected:
  /// Appends what `format` makes of a match.
  virtual void AppendFormat(const Match& match, const MergeFormat& format,
                            std::string& out) const = 0;
  void SetGroups(unsigned int count, std::shared_ptr<const GroupNames> names) {
    groupCount_ = count;
    names_ = std::move(names);
  }

 private:
  unsigned int groupCount_ = 0;
  std::shared_ptr<const GroupNames> names_;
};

/// A locale, and the engine's messages that go with it.
struct MessageLocale {
  std::locale locale;
  std::shared_ptr<const EngineMessages> messages;  ///< Null for the engine's own.

  bool operator==(const MessageLocale& other) const {
    return locale == other.locale && messages == other.messages;
  }
};

/// Makes the expressions of one locale model, for one object.
class Compiler {
 public:
  virtual ~Compiler() = default;

  /// Gives it another locale. Whatever a facet of the locale throws leaves everything as it was.
  virtual void Imbue(const MessageLocale& locale) = 0;
  /// What Imbue() was given; null before.
  virtual const MessageLocale* Locale() const = 0;

  /// Compiles `text`, up to its first zero byte, under a word of SyntaxBits. Null for an expression
  /// that is no good, and `error` tells why. What hasn't been imbued gets the default of its model
  /// first.
  virtual std::shared_ptr<const Expression> Compile(const std::string& text, std::uint32_t word,
                                                    Error& error) = 0;

  /// Whether the locale is still that of the last compile, good or not.
  virtual bool LocaleStays() const { return true; }
  /// Whether a compile that imbues nothing would come to the same again.
  virtual bool LocaleIsDefault() const = 0;
};

/// A locale model: where classes, case and order of characters come from.
class Model {
 public:
  /// Where the messages of its message catalogue are read; kNone where the model has no catalogue.
  enum class Catalogue { kNone, kThroughFacet, kDirectly };

  virtual ~Model() = default;

  /// As the public enumerator is called.
  virtual const char* Name() const = 0;
  virtual Catalogue Messages() const { return Catalogue::kNone; }
  /// Whether its locale is the one that an object has set, and not that of DefaultLocale().
  virtual bool TakesLocale() const { return false; }
  /// What holds where no locale is set: in the operations on files, for one.
  virtual std::locale DefaultLocale() const { return std::locale::classic(); }

  virtual std::unique_ptr<Compiler> MakeCompiler() const = 0;
  /// What `format`, a zero-terminated text, makes of a match, which may come from any model.
  virtual std::string Format(const Match& match, const char* format, FormatSyntax syntax) const = 0;
};

}  // namespace RegexClass::engine

#endif  // REGEXCLASS_ENGINE_EXPRESSION_HPP
