// SPDX-License-Identifier: BSL-1.0
// The table of the locale models.
#ifndef REGEXCLASS_ENGINE_MODELS_MODELS_HPP
#define REGEXCLASS_ENGINE_MODELS_MODELS_HPP

#include "engine/Expression.hpp"

namespace RegexClass::engine {

// A file for each.
const Model& CppModel();
const Model& W32Model();
const Model& CModel();
const Model& UnicodeModel();

/// The models, by the numbers that applications know them by.
inline constexpr const Model& (*kModels[])() = {CppModel, W32Model, CModel, UnicodeModel};

}  // namespace RegexClass::engine

#endif  // REGEXCLASS_ENGINE_MODELS_MODELS_HPP
