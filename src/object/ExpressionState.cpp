#include "object/ExpressionState.hpp"

#include <tuple>

#include "module/ThreadRecord.hpp"

namespace RegexClass {

bool Settings::operator==(const Settings& other) const {
  const auto all = [](const Settings& s) {
    return std::tie(s.expressionOptions, s.matchOptions, s.expression, s.stringToMatch,
                    s.filesToMatch, s.formatString, s.saveExtension, s.directoryRecursion,
                    s.mergeCopy, s.maximumSplits, s.localeDll, s.mergeOnlyFirst, s.continueFiles,
                    s.splitInputDelete, s.formatType, s.localeModel);
  };
  return all(*this) == all(other);
}

ExpressionState::ExpressionState(RegularExpression* object, const ExpressionState& source)
    : owner(object),
      settings(source.settings),
      texts(source.texts),
      notifications(source.notifications) {}

ExpressionState& ExpressionState::operator=(const ExpressionState& source) {
  if (this == &source) return *this;
  ReleaseResults();  // they point into the string to match
  settings = source.settings;
  cppCompile = CompileState();
  w32Compile = CompileState();
  cCompile = CompileState();
  texts = source.texts;
  notifications = source.notifications;
  return *this;
}

void ExpressionState::MarkNotParsed() {
  cppCompile.parsed = false;
  w32Compile.parsed = false;
  cCompile.parsed = false;
}

RegularExpression::RegularExpression() : state(std::make_unique<ExpressionState>(this)) {}

RegularExpression::RegularExpression(const RegularExpression& source)
    : state(std::make_unique<ExpressionState>(this, *source.state)) {}

RegularExpression::~RegularExpression() { ThreadRecord::Release(); }

RegularExpression& RegularExpression::operator=(const RegularExpression& source) {
  *state = *source.state;
  return *this;
}

bool RegularExpression::operator==(const RegularExpression& other) const {
  return state->settings == other.state->settings;
}

}  // namespace RegexClass
