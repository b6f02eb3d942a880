// SPDX-License-Identifier: BSL-1.0
// The settings that say where classes, case and collation come from, and the texts of errors.

#include <type_traits>

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
  const auto changed = [](auto& model) {
    model.record.compiled = false;
    model.localeChanged = true;
  };
  changed(state->models.cpp);
  changed(state->models.unicode);
}

std::string RegularExpression::GetLocaleDll() const { return state->settings.localeDll; }
void RegularExpression::SetLocaleDll(const std::string& name) {
  if (state->settings.localeDll == name) return;
  state->settings.localeDll = name;
  state->models.ForEach([](auto& model) {
    using Traits = typename std::decay_t<decltype(model)>::Traits;
    if (Catalogue<Traits>() != nullptr) model.record.compiled = false;
  });
}

}  // namespace RegexClass
