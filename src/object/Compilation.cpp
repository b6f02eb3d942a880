// From the expression's text to a compiled expression, once, with the outcome remembered.

#include <stdexcept>

#include "object/CatalogueInForce.hpp"
#include "object/ExpressionState.hpp"

namespace RegexClass {
namespace {

using Code = RegularExpression::ExpressionErrorCode;

/// The public code for one of the engine's.
Code CodeOf(boost::regex_constants::error_type error) {
  namespace constants = boost::regex_constants;
  switch (error) {
    case constants::error_size:
      return RegularExpression::OutOfMemory;
    case constants::error_complexity:
    case constants::error_stack:
      return RegularExpression::OutOfSpace;
    case constants::error_perl_extension:
      return RegularExpression::BadPattern;
    case constants::error_unknown:
      return RegularExpression::UnknownEngineError;
    default:  // up to 17 the numbers are the same
      return static_cast<Code>(error);
  }
}

/// What the engine says to the expression, with its text in `message` when that is an error.
template <class Traits>
Code Compile(const ExpressionState& state, engine::Expression<Traits>& expression,
             std::string& message) {
  try {
    expression.Compile(state.settings.expression, state.EngineSyntaxFlags());
    return RegularExpression::NoError;
  } catch (const boost::regex_error& error) {
    message = error.what();
    return CodeOf(error.code());
  }
}

/// What can't be done because of `file`.
std::string LocaleDllFailureText(const CatalogueTexts& texts, const std::string& file) {
  const std::string& text = texts.localeDllErrorText;
  return (!text.empty() ? text : "Unable to open the Locale DLL ") + file + '.';
}

/// Compiles with the messages that are in force. The engine object may have others: it is then
/// imbued again, with what `getLocale` gives. Whatever fails outside the engine is taken for a
/// failure of the catalogue.
template <class Traits, class GetLocale>
Code CompileUnder(CatalogueInForce& catalogue, const GetLocale& getLocale, ExpressionState& state,
                  engine::Expression<Traits>& expression, std::string& message) {
  try {
    const auto messages = catalogue.Messages();
    const auto& present = expression.Locale();
    if (!present || present->messages != messages) expression.Imbue({getLocale(), messages});
    return Compile(state, expression, message);
  } catch (const std::runtime_error&) {
    message =
        LocaleDllFailureText(state.texts, ResolveLocaleDll(state.settings.localeDll, state.texts));
    return RegularExpression::LocaleDllFailure;
  }
}

// One for each locale model: takes its lock, and puts the object's catalogue in force.

Code CompileModel(ExpressionState& state, engine::Expression<engine::CppTraits>& expression,
                  std::string& message) {
  CatalogueInForce& catalogue = CppCatalogue();
  const auto lock = catalogue.Lock();
  const std::string& localeDll = state.settings.localeDll;
  if (state.localeChanged || localeDll != catalogue.Name()) {
    const std::string file = ResolveLocaleDll(localeDll, state.texts);
    catalogue.Install(localeDll, file);
    try {
      expression.Imbue({state.locale, catalogue.Messages()});
      state.localeChanged = false;
    } catch (const std::runtime_error&) {
      message = LocaleDllFailureText(state.texts, file);
      return RegularExpression::LocaleDllFailure;
    }
  }
  return CompileUnder(
      catalogue, [&] { return state.locale; }, state, expression, message);
}

Code CompileModel(ExpressionState& state, engine::Expression<engine::W32Traits>& expression,
                  std::string& message) {
  CatalogueInForce& catalogue = W32Catalogue();
  const auto lock = catalogue.Lock();
  const std::string& localeDll = state.settings.localeDll;
  if (localeDll != catalogue.Name()) {
    catalogue.Install(localeDll, ResolveLocaleDll(localeDll, state.texts));
  }
  return CompileUnder(
      catalogue, [] { return engine::W32Traits::DefaultLocale().locale; }, state, expression,
      message);
}

Code CompileModel(ExpressionState& state, engine::Expression<engine::CTraits>& expression,
                  std::string& message) {
  return Compile(state, expression, message);
}

}  // namespace

Code ExpressionState::ParseExpression() {
  return WithModel([this](auto& expression, CompileState& record) {
    if (record.parsed && expression.LocaleStays()) return record.code;
    if (!settings.HasExpression()) return RegularExpression::NoExpression;
    record.code = CompileModel(*this, expression, record.message);
    record.parsed = true;
    return record.code;
  });
}

std::string ExpressionState::ExpressionError() const {
  return WithModel([this](const auto& expression, const CompileState& record) -> std::string {
    if (record.parsed) {
      const bool known = settings.localeModel >= RegularExpression::CppLocale &&
                         settings.localeModel <= RegularExpression::CLocale;
      return known && expression.Failed() ? record.message : std::string();
    }
    if (settings.HasExpression()) return std::string();
    return !texts.emptyExpressionText.empty() ? texts.emptyExpressionText : "Empty expression";
  });
}

unsigned int ExpressionState::NumberOfSubexpressions() const {
  const bool known = settings.localeModel >= RegularExpression::CppLocale &&
                     settings.localeModel <= RegularExpression::CLocale;
  return WithModel([known](const auto& expression, const CompileState& record) {
    return known && record.parsed && expression.ErrorCode() == 0 ? expression.GroupCount() : 0;
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
