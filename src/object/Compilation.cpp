// From the expression's text to a compiled expression, once, with the outcome remembered.

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

}  // namespace

Code ExpressionState::ParseExpression() {
  return WithModel([this](auto& expression, CompileState& record) {
    if (record.parsed) return record.code;
    if (settings.expression.empty()) return RegularExpression::NoExpression;

    Code code = RegularExpression::NoError;
    if (&record == &cppCompile && localeChanged) {
      localeChanged = false;
      cppExpression.Imbue(locale);
    }
    try {
      expression.Compile(settings.expression, EngineSyntaxFlags());
    } catch (const boost::regex_error& error) {
      code = CodeOf(error.code());
      record.message = error.what();
    }
    record.code = code;
    record.parsed = true;
    return code;
  });
}

std::string ExpressionState::ExpressionError() const {
  return WithModel([this](const auto& expression, const CompileState& record) -> std::string {
    if (record.parsed) {
      const bool known = settings.localeModel >= RegularExpression::CppLocale &&
                         settings.localeModel <= RegularExpression::CLocale;
      return known && expression.Failed() ? record.message : std::string();
    }
    if (!settings.expression.empty()) return std::string();
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
