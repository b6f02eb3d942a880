// SPDX-License-Identifier: BSL-1.0
// The table of the locale models.
#ifndef REGEXCLASS_ENGINE_MODELS_MODELS_HPP
#define REGEXCLASS_ENGINE_MODELS_MODELS_HPP

#include "engine/Expression.hpp"

namespace RegexClass::engine {

// The models, in the order of the numbers that applications know them by. Each has a source of its
// own, which defines the function with its name, such as CppModel().
#define REGEXCLASS_MODELS(ROW) \
  ROW(Cpp)                     \
  ROW(W32)                     \
  ROW(C)                       \
  ROW(Unicode)

#define REGEXCLASS_DECLARE_MODEL(name) const Model& name##Model();
REGEXCLASS_MODELS(REGEXCLASS_DECLARE_MODEL)

#define REGEXCLASS_NAME_MODEL(name) name##Model,
inline constexpr const Model& (*kModels[])() = {REGEXCLASS_MODELS(REGEXCLASS_NAME_MODEL)};

}  // namespace RegexClass::engine

#endif  // REGEXCLASS_ENGINE_MODELS_MODELS_HPP
