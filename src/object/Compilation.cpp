// SPDX-License-Identifier: BSL-1.0
// From the expression's text to a compiled expression, once, with the outcome remembered.

#include <optional>
#include <stdexcept>
#include <type_traits>

#include "object/ExpressionState.hpp"

namespace RegexClass {
namespace {

using Code = RegularExpression::ExpressionErrorCode;

/// The public code for one of the engine's.
Code CodeOf(boost::regex_constants::error_type error) {
  namespace constants = boost::regex_constants;
  switch (error) {
    case constants::error_ok:
      return RegularExpression::NoError;
    case constants::error_no_match:  // never of a compile
      return RegularExpression::NoExpression;
    case constants::error_bad_pattern:
    case constants::error_perl_extension:
      return RegularExpression::BadPattern;
    case constants::error_collate:
      return RegularExpression::BadCollation;
    case constants::error_ctype:
      return RegularExpression::BadCharacterClass;
    case constants::error_escape:
      return RegularExpression::TrailingEscape;
    case constants::error_backref:
      return RegularExpression::BadBackReference;
    case constants::error_brack:
      return RegularExpression::UnmatchedBracket;
    case constants::error_paren:
      return RegularExpression::UnmatchedParenthesis;
    case constants::error_brace:
      return RegularExpression::UnmatchedBrace;
    case constants::error_badbrace:
      return RegularExpression::BadBraceContents;
    case constants::error_range:
      return RegularExpression::BadRange;
    case constants::error_space:
    case constants::error_complexity:
    case constants::error_stack:
      return RegularExpression::OutOfSpace;
    case constants::error_badrepeat:
      return RegularExpression::BadRepeat;
    case constants::error_end:
      return RegularExpression::UnexpectedEnd;
    case constants::error_size:
      return RegularExpression::OutOfMemory;
    case constants::error_right_paren:
      return RegularExpression::UnmatchedRightParenthesis;
    case constants::error_empty:
      return RegularExpression::EmptyPattern;
    case constants::error_unknown:
      break;
  }
  return RegularExpression::UnknownEngineError;
}

/// Has the engine read the expression, and records what it says.
template <class Traits>
Code Compile(const Settings& settings, Model<Traits>& model) {
  CompileRecord& record = model.record;
  try {
    model.expression.Compile(settings.expression, SyntaxWord(settings.expressionOptions));
    record.accepted = true;
    record.engineError = boost::regex_constants::error_ok;
  } catch (const boost::regex_error& error) {
    record.accepted = false;
    record.engineError = error.code();
    record.message = error.what();
  }
  return CodeOf(record.engineError);
}

/// What can't be done because of `file`.
std::string LocaleDllFailureText(const CatalogueTexts& texts, const std::string& file) {
  const std::string& text = texts.localeDllErrorText;
  return (!text.empty() ? text : "Unable to open the Locale DLL ") + file + '.';
}

/// Whether a catalogue that vanishes as it is put in force is told by the name that it was found
/// by; else its name is looked for again.
template <class Traits>
constexpr bool kNamesWhatItFound = std::is_same_v<Traits, engine::CppTraits>;

/// The locale that an object has compiled under, by model.
const std::locale& LocaleOf(const ExpressionState& state, const Model<engine::CppTraits>&) {
  return state.locale;
}
std::locale LocaleOf(const ExpressionState&, const Model<engine::W32Traits>&) {
  return engine::W32Traits::DefaultLocale().locale;
}

/// Compiles under the object's catalogue, which is put in force for all objects, and with the
/// messages of it: an expression that has others is imbued again. Whatever fails outside the engine
/// is taken for a failure of the catalogue.
template <class Traits>
Code CompileUnder(CatalogueInForce& shared, ExpressionState& state, Model<Traits>& model) {
  const CatalogueInForce::Access catalogue = shared.Lock();
  const std::string& localeDll = state.settings.localeDll;
  std::optional<std::string> found;  // the catalogue that is being put in force
  if (model.localeChanged || localeDll != catalogue.Name()) {
    found = ResolveLocaleDll(localeDll, state.texts);
    catalogue.Install(localeDll, *found);
    if (!kNamesWhatItFound<Traits>) found.reset();
  }
  try {
    const auto messages = catalogue.Messages();
    const auto& present = model.expression.Locale();
    if (model.localeChanged || !present || present->messages != messages) {
      model.expression.Imbue({LocaleOf(state, model), messages});
      model.localeChanged = false;
    }
    found.reset();
    return Compile(state.settings, model);
  } catch (const std::runtime_error&) {
    const std::string file = found ? *found : ResolveLocaleDll(localeDll, state.texts);
    model.record.message = LocaleDllFailureText(state.texts, file);
    return RegularExpression::LocaleDllFailure;
  }
}

Code CompileModel(ExpressionState& state, Model<engine::CTraits>& model) {
  return Compile(state.settings, model);
}
Code CompileModel(ExpressionState& state, Model<engine::Unicode>& model) {
  if (model.localeChanged || !model.expression.Locale()) model.expression.Imbue(state.locale);
  model.localeChanged = false;
  return Compile(state.settings, model);
}
template <class Traits>
Code CompileModel(ExpressionState& state, Model<Traits>& model) {
  return CompileUnder(*Catalogue<Traits>(), state, model);
}

}  // namespace

Code ExpressionState::ParseExpression() {
  return WithModel([this](auto& model) {
    CompileRecord& record = model.record;
    if (record.compiled && model.expression.LocaleStays()) return record.code;
    record.compiled = false;  // and stays so when something is thrown
    if (!settings.HasExpression()) return RegularExpression::NoExpression;
    record.code = CompileModel(*this, model);
    record.compiled = true;
    return record.code;
  });
}

std::string ExpressionState::ExpressionError() const {
  return WithModel([this](const auto& model) -> std::string {
    const CompileRecord& record = model.record;
    if (record.compiled) {
      const bool told = Models::Known(settings.localeModel) && !record.accepted;
      return told ? record.message : std::string();
    }
    if (settings.HasExpression()) return std::string();
    return !texts.emptyExpressionText.empty() ? texts.emptyExpressionText : "Empty expression";
  });
}

unsigned int ExpressionState::NumberOfSubexpressions() const {
  return WithModel([this](const auto& model) {
    const CompileRecord& record = model.record;
    const bool told = Models::Known(settings.localeModel) && record.compiled &&
                      record.engineError == boost::regex_constants::error_ok;
    return told ? model.expression.GroupCount() : 0;
  });
}

Code RegularExpression::ParseExpression() { return state->ParseExpression(); }
std::string RegularExpression::GetExpressionError() const { return state->ExpressionError(); }
unsigned int RegularExpression::NumberOfSubexpressions() {
  state->ParseExpression();
  return state->NumberOfSubexpressions();
}
unsigned int RegularExpression::NumberOfSubexpressions() const {
  return state->NumberOfSubexpressions();
}

}  // namespace RegexClass
