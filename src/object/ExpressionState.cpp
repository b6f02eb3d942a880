#include "object/ExpressionState.hpp"

#include "module/ThreadRecord.hpp"

namespace RegexClass {

ExpressionState::ExpressionState(RegularExpression* object, const ExpressionState& source)
    : owner(object),
      settings(source.settings),
      texts(source.texts),
      notifications(source.notifications) {}

ExpressionState& ExpressionState::operator=(const ExpressionState& source) {
  if (this == &source) return *this;
  SettingsToChangeString() = source.settings;
  models.ForEach([](auto& model) { model.record.Forget(); });
  texts = source.texts;
  notifications = source.notifications;
  return *this;
}

void ExpressionState::MarkNotCompiled() {
  models.ForEach([](auto& model) { model.record.compiled = false; });
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
