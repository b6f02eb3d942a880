// SPDX-License-Identifier: BSL-1.0
// The settings that say where classes, case and collation come from, and the texts of errors.

#include "catalogues/CatalogueInForce.hpp"
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
  for (ModelState& each : state->models) {
    if (!each.model->TakesLocale()) continue;
    each.record.compiled = false;
    each.localeChanged = true;
  }
}

std::string RegularExpression::GetLocaleDll() const { return state->settings.localeDll; }
void RegularExpression::SetLocaleDll(const std::string& name) {
  if (state->settings.localeDll == name) return;
  state->settings.localeDll = name;
  for (ModelState& each : state->models) {
    if (CatalogueOf(*each.model) != nullptr) each.record.compiled = false;
  }
}

}  // namespace RegexClass
