// SPDX-License-Identifier: BSL-1.0
// The models in which a character is a byte: expressions of Boost.Regex over the traits of a model.
// Each model's own source instantiates this once, and nobody else does.
#ifndef REGEXCLASS_ENGINE_BOOST_NARROWMODEL_HPP
#define REGEXCLASS_ENGINE_BOOST_NARROWMODEL_HPP

#include <cstddef>
#include <cstdint>
#include <memory>
#include <optional>
#include <string>
#include <string_view>
#include <utility>

#include "engine/Expression.hpp"
#include "engine/boost/BoostRegex.hpp"
#include "engine/boost/BoostWalk.hpp"
#include "engine/boost/Error.hpp"
#include "engine/boost/Flags.hpp"
#include "engine/boost/Limits.hpp"
#include "engine/boost/ProgramMending.hpp"
#include "engine/boost/Results.hpp"
#include "engine/messages/CompileErrors.hpp"
#include "engine/syntax/SyntaxTranslation.hpp"

namespace RegexClass::engine {

/// The compiler and the matcher for the traits of a model. Its source says when they give up, by
/// `PassedForks` and StateLimit(): so that no release of the engine gives up sooner or later than
/// another.
template <class Traits>
using NarrowCreator = detail::basic_regex_creator<char, Traits>;
template <class Traits>
using NarrowMatcher = detail::perl_matcher<const char*, boost::cmatch::allocator_type, Traits>;

template <class Traits>
class NarrowExpression final : public Expression {
 public:
  using Regex = boost::basic_regex<char, Traits>;

  /// `text` is what `regex` was compiled from.
  NarrowExpression(Regex regex, std::string_view text) : regex_(std::move(regex)) {
    const auto& groups = *regex_.get_named_subs();
    SetGroups(static_cast<unsigned int>(regex_.mark_count()),
              NamesIn(text, [&groups](std::string_view name) {
                return groups.equal_range(name.data(), name.data() + name.size());
              }));
  }

  bool Search(std::string_view text, const SearchSettings& settings, Match& match) const override {
    RequireAddressable(text);
    const Borrowed<Results> borrowed(spare_);
    Parts parts(*this, text, settings, *borrowed);
    Walk& walk = parts.walk;
    walk.Begin(0);
    if (!walk.Next()) return false;
    match.Begin(text.data(), Names());
    walk.Take(match);
    return true;
  }

  bool MatchWhole(std::string_view text, const SearchSettings& settings,
                  Match& match) const override {
    RequireAddressable(text);
    const Borrowed<Results> borrowed(spare_);
    Parts parts(*this, text, settings, *borrowed);
    Walk& walk = parts.walk;
    if (!walk.MatchWhole()) return false;
    match.Begin(text.data(), Names());
    walk.Take(match);
    return true;
  }

  unsigned int Grep(std::string_view text, const SearchSettings& settings,
                    const Report& report) const override {
    RequireAddressable(text);
    const Borrowed<Results> borrowed(spare_);
    Parts parts(*this, text, settings, *borrowed);
    Walk& walk = parts.walk;
    walk.Begin(text.size());
    return walk.Run(text.data(), Names(), report);
  }

  bool IsLinear(Flags flags) const override { return aids_.IsLinear(program_, flags); }

 private:
  using Results = CountedResults<const char*>;

  /// A walk, and the engine's part in it.
  struct Parts {
    Parts(const NarrowExpression& expression, std::string_view text, const SearchSettings& settings,
          Results& results)
        : engine(expression.regex_, expression.regex_.size(), text.data(),
                 text.data() + text.size(), ToBoost(settings.flags), results),
          walk(expression.aids_, expression.program_, engine, text, settings) {}

    BoostWalk<const char*, Traits> engine;
    Walk walk;
  };

  void AppendFormat(const Match& match, const MergeFormat& format,
                    std::string& out) const override {
    engine::AppendFormat(match, format.text, format.syntax, regex_.get_traits(), out);
  }

  const Regex regex_;
  const BoostProgram<Traits> program_{regex_};
  mutable SearchAids aids_;
  mutable Borrowed<Results>::Spare spare_;
};

template <class Traits>
class NarrowCompiler final : public Compiler {
 public:
  explicit NarrowCompiler(const Model& model) : model_(model) {}

  void Imbue(const MessageLocale& locale) override {
    regex_.imbue(Traits::ToImbue(locale));
    locale_ = locale;
  }
  const MessageLocale* Locale() const override { return locale_ ? &*locale_ : nullptr; }

  std::shared_ptr<const Expression> Compile(const std::string& text, std::uint32_t word,
                                            Error& error) override {
    const std::string_view source = text.c_str();
    Translation translation = Translate(source, word);
    if (!locale_) Imbue({model_.DefaultLocale(), nullptr});
    compiledUnder_ = Traits::LocaleName();
    try {
      if (translation.error != boost::regex_constants::error_ok) throw ErrorOf(translation);
      ReadPythonNames(translation, regex_.get_traits().InDefaultNotation(translation.text));
      RequireShallow(translation, regex_.get_traits().InDefaultNotation(translation.text));
      boost::basic_regex<char, Traits> regex(regex_);  // with the traits that were imbued
      regex.assign(translation.text, translation.flags);
      ProgramMender<Traits>(regex).Run();
      return std::make_shared<NarrowExpression<Traits>>(std::move(regex), translation.text);
    } catch (const boost::regex_error& thrown) {
      error = ToError(DescribeError(thrown, source, translation, regex_.get_traits().Messages()));
      return nullptr;
    }
  }

  bool LocaleStays() const override { return compiledUnder_ == Traits::LocaleName(); }
  bool LocaleIsDefault() const override {
    return locale_ && *locale_ == MessageLocale{model_.DefaultLocale(), nullptr} && LocaleStays();
  }

 private:
  const Model& model_;
  boost::basic_regex<char, Traits> regex_;  // empty, for its traits
  std::optional<MessageLocale> locale_;
  std::string compiledUnder_;
};

/// What the models have in common; each says the rest.
template <class Traits>
class NarrowModel : public Model {
 public:
  std::unique_ptr<Compiler> MakeCompiler() const final {
    return std::make_unique<NarrowCompiler<Traits>>(*this);
  }
  std::string Format(const Match& match, const char* format, FormatSyntax syntax) const final {
    return FormatBytes(match, format, syntax);
  }
};

}  // namespace RegexClass::engine

#endif  // REGEXCLASS_ENGINE_BOOST_NARROWMODEL_HPP
