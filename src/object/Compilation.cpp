// SPDX-License-Identifier: BSL-1.0
// From the expression's text to a compiled expression, once, with the outcome remembered.

#include <optional>
#include <stdexcept>

#include "catalogues/CatalogueInForce.hpp"
#include "object/ExpressionState.hpp"

namespace RegexClass {
namespace {

using Code = RegularExpression::ExpressionErrorCode;

/// The public code for one of the engine's.
Code CodeOf(engine::ErrorCode error) {
  switch (error) {
    case engine::ErrorCode::kNone:
      return RegularExpression::NoError;
    case engine::ErrorCode::kBadPattern:
      return RegularExpression::BadPattern;
    case engine::ErrorCode::kCollation:
      return RegularExpression::BadCollation;
    case engine::ErrorCode::kCharacterClass:
      return RegularExpression::BadCharacterClass;
    case engine::ErrorCode::kEscape:
      return RegularExpression::TrailingEscape;
    case engine::ErrorCode::kBackReference:
      return RegularExpression::BadBackReference;
    case engine::ErrorCode::kBracket:
      return RegularExpression::UnmatchedBracket;
    case engine::ErrorCode::kParenthesis:
      return RegularExpression::UnmatchedParenthesis;
    case engine::ErrorCode::kRightParenthesis:
      return RegularExpression::UnmatchedRightParenthesis;
    case engine::ErrorCode::kBrace:
      return RegularExpression::UnmatchedBrace;
    case engine::ErrorCode::kBraceContents:
      return RegularExpression::BadBraceContents;
    case engine::ErrorCode::kRange:
      return RegularExpression::BadRange;
    case engine::ErrorCode::kSpace:
      return RegularExpression::OutOfSpace;
    case engine::ErrorCode::kRepeat:
      return RegularExpression::BadRepeat;
    case engine::ErrorCode::kEnd:
      return RegularExpression::UnexpectedEnd;
    case engine::ErrorCode::kMemory:
      return RegularExpression::OutOfMemory;
    case engine::ErrorCode::kEmpty:
      return RegularExpression::EmptyPattern;
    case engine::ErrorCode::kUnknown:
      break;
  }
  return RegularExpression::UnknownEngineError;
}

/// Has the engine read the expression, and records what it says.
Code Compile(const Settings& settings, ModelState& current) {
  CompileRecord& record = current.record;
  engine::Error error;
  auto expression =
      current.compiler->Compile(settings.expression, SyntaxWord(settings.expressionOptions), error);
  record.accepted = expression != nullptr;
  if (record.accepted) {
    current.expression = std::move(expression);
  } else {
    record.message = error.message;
    record.position = error.position;
  }
  record.error = std::move(error);
  return CodeOf(record.error.code);
}

/// What can't be done because of `file`.
std::string LocaleDllFailureText(const CatalogueTexts& texts, const std::string& file) {
  const std::string& text = texts.localeDllErrorText;
  return (!text.empty() ? text : "Unable to open the Locale DLL ") + file + '.';
}

/// The locale that an object compiles under.
std::locale LocaleOf(const ExpressionState& state, const engine::Model& model) {
  return model.TakesLocale() ? state.locale : model.DefaultLocale();
}

void Imbue(const ExpressionState& state, ModelState& current,
           std::shared_ptr<const engine::EngineMessages> messages) {
  current.compiler->Imbue({LocaleOf(state, *current.model), std::move(messages)});
  current.localeChanged = false;
}

/// Compiles under the object's catalogue, which is put in force for all objects, and with the
/// messages of it: a compiler that has others is imbued again. Whatever fails outside the engine is
/// taken for a failure of the catalogue.
Code CompileUnder(CatalogueInForce& shared, ExpressionState& state, ModelState& current) {
  const CatalogueInForce::Access catalogue = shared.Lock();
  const std::string& localeDll = state.settings.localeDll;
  std::optional<std::string> found;  // the catalogue that is being put in force
  if (current.localeChanged || localeDll != catalogue.Name()) {
    found = ResolveLocaleDll(localeDll, state.texts);
    catalogue.Install(localeDll, *found);
    // One that vanishes meanwhile is told by the name that it was found by, or is looked for again.
    if (current.model->Messages() != engine::Model::Catalogue::kThroughFacet) found.reset();
  }
  try {
    const auto messages = catalogue.Messages();
    const engine::MessageLocale* const present = current.compiler->Locale();
    if (current.localeChanged || present == nullptr || present->messages != messages) {
      Imbue(state, current, messages);
    }
    found.reset();
    return Compile(state.settings, current);
  } catch (const std::runtime_error&) {
    const std::string file = found ? *found : ResolveLocaleDll(localeDll, state.texts);
    current.record.message = LocaleDllFailureText(state.texts, file);
    current.record.position = -1;
    return RegularExpression::LocaleDllFailure;
  }
}

Code CompileModel(ExpressionState& state, ModelState& current) {
  if (current.compiler == nullptr) current.compiler = current.model->MakeCompiler();
  if (CatalogueInForce* const catalogue = CatalogueOf(*current.model)) {
    return CompileUnder(*catalogue, state, current);
  }
  const bool imbued = current.compiler->Locale() != nullptr && !current.localeChanged;
  if (current.model->TakesLocale() && !imbued) Imbue(state, current, nullptr);
  return Compile(state.settings, current);
}

}  // namespace

Code ExpressionState::ParseExpression() {
  ModelState& current = CurrentModel();
  CompileRecord& record = current.record;
  if (record.compiled && current.compiler->LocaleStays()) return record.code;
  record.compiled = false;  // and stays so when something is thrown
  if (!settings.HasExpression()) return RegularExpression::NoExpression;
  record.code = CompileModel(*this, current);
  record.compiled = true;
  return record.code;
}

const CompileRecord* ExpressionState::Failure() const {
  const CompileRecord& record = CurrentModel().record;
  const bool isTold = Models::Known(settings.localeModel) && record.compiled && !record.accepted;
  return isTold ? &record : nullptr;
}

std::string ExpressionState::ExpressionError() const {
  if (const CompileRecord* const failure = Failure()) return failure->message;
  if (CurrentModel().record.compiled || settings.HasExpression()) return std::string();
  return !texts.emptyExpressionText.empty() ? texts.emptyExpressionText : "Empty expression";
}

std::ptrdiff_t ExpressionState::ExpressionErrorPosition() const {
  const CompileRecord* const failure = Failure();
  return failure != nullptr ? failure->position : -1;
}

unsigned int ExpressionState::NumberOfSubexpressions() const {
  const ModelState& current = CurrentModel();
  const bool isTold = Models::Known(settings.localeModel) && current.record.compiled &&
                      !current.record.error && current.expression != nullptr;
  return isTold ? current.expression->GroupCount() : 0;
}

bool ExpressionState::IsLinear() {
  return ParseExpression() == RegularExpression::NoError &&
         Expression()->IsLinear(SearchSettings(true).flags);
}

Code RegularExpression::ParseExpression() { return state->ParseExpression(); }
std::string RegularExpression::GetExpressionError() const { return state->ExpressionError(); }
std::ptrdiff_t RegularExpression::GetExpressionErrorPosition() const {
  return state->ExpressionErrorPosition();
}
bool RegularExpression::IsLinear() { return state->IsLinear(); }
unsigned int RegularExpression::NumberOfSubexpressions() {
  state->ParseExpression();
  return state->NumberOfSubexpressions();
}
unsigned int RegularExpression::NumberOfSubexpressions() const {
  return state->NumberOfSubexpressions();
}

}  // namespace RegexClass
