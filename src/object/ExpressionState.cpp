// SPDX-License-Identifier: BSL-1.0
#include "object/ExpressionState.hpp"

namespace RegexClass {

ExpressionState::ExpressionState(RegularExpression* object, const ExpressionState& source)
    : owner(object),
      settings(source.settings),
      texts(source.texts),
      notifications(source.notifications),
      rewriting(source.rewriting),
      stepLimit(source.stepLimit) {}

ExpressionState& ExpressionState::operator=(const ExpressionState& source) {
  if (this == &source) return *this;
  Settings copiedSettings = source.settings;
  CatalogueTexts copiedTexts = source.texts;
  Notifications copiedNotifications = source.notifications;
  for (ModelState& model : models) model.record.Forget();
  std::swap(SettingsToChangeString(), copiedSettings);
  std::swap(texts, copiedTexts);
  std::swap(notifications, copiedNotifications);
  rewriting = source.rewriting;
  stepLimit = source.stepLimit;
  return *this;
}

void ExpressionState::Swap(ExpressionState& other) noexcept {
  std::swap(SettingsToChangeString(), other.SettingsToChangeString());
  std::swap(texts, other.texts);
  std::swap(notifications, other.notifications);
  std::swap(rewriting, other.rewriting);
  std::swap(stepLimit, other.stepLimit);
  std::swap(locale, other.locale);
  std::swap(models, other.models);
  selectFilesErrors.swap(other.selectFilesErrors);
  grepFilesErrors.swap(other.grepFilesErrors);
  findFilesErrors.swap(other.findFilesErrors);
  changeFilesErrors.swap(other.changeFilesErrors);
}

void ExpressionState::MarkNotCompiled() {
  for (ModelState& model : models) model.record.compiled = false;
}

void ExpressionState::SetExpressionOptions(ExpressionOptions& options) noexcept {
  MarkNotCompiled();
  settings.expressionOptions.swap(options);
}

}  // namespace RegexClass
