// The settings that say where classes, case and collation come from.

#include "object/ExpressionState.hpp"

namespace RegexClass {

RegularExpression::LocaleModels RegularExpression::GetLocaleModel() const {
  return state->settings.localeModel;
}
void RegularExpression::SetLocaleModel(LocaleModels model) {
  if (!state->busy) state->settings.localeModel = model;
}

std::locale RegularExpression::GetLocale() const { return state->locale; }
void RegularExpression::SetLocale(const std::locale& locale) {
  state->locale = locale;
  state->cppCompile.parsed = false;
  state->localeChanged = true;
}

}  // namespace RegexClass
