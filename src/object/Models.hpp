// SPDX-License-Identifier: BSL-1.0
// The locale models of an object. What belongs to which model is decided here and in the traits.
#ifndef REGEXCLASS_OBJECT_MODELS_HPP
#define REGEXCLASS_OBJECT_MODELS_HPP

#include <string>
#include <utility>

#include "RegularExpression.hpp"
#include "engine/Expression.hpp"
#include "engine/UnicodeExpression.hpp"
#include "object/CatalogueInForce.hpp"
#include "object/WalkExpression.hpp"

namespace RegexClass {

/// What came of compiling under one model.
struct CompileRecord {
  bool compiled = false;  // a compile was tried for the present settings, and gave `code`
  RegularExpression::ExpressionErrorCode code = RegularExpression::NoError;
  std::string message;  // of the last failure; a later success doesn't clear it

  // What the engine said when a compile last reached it, which a failed catalogue prevents.
  bool accepted = false;
  boost::regex_constants::error_type engineError = boost::regex_constants::error_ok;

  /// Forgets the outcome, but not what the engine said.
  void Forget() {
    compiled = false;
    code = RegularExpression::NoError;
    message.clear();
  }
};

/// The message catalogue that the objects of the process share under the model of some traits; null
/// where there is none.
template <class Traits>
CatalogueInForce* Catalogue();
template <>
inline CatalogueInForce* Catalogue<engine::CppTraits>() {
  return &CppCatalogue();
}
template <>
inline CatalogueInForce* Catalogue<engine::W32Traits>() {
  return &W32Catalogue();
}
template <>
inline CatalogueInForce* Catalogue<engine::CTraits>() {
  return nullptr;
}
template <>
inline CatalogueInForce* Catalogue<engine::Unicode>() {
  return nullptr;
}

/// What an object keeps for one model.
template <class ModelTraits>
struct Model {
  using Traits = ModelTraits;

  engine::Expression<Traits> expression;
  CompileRecord record;
  WalkExpression<Traits> walk;
  bool localeChanged = false;  // another one was set, and the expression wasn't imbued since
};

class Models {
 public:
  /// Whether `number` is that of a model. Any other is served by CppLocale, but tells nothing of
  /// its expression.
  static bool Known(RegularExpression::LocaleModels number) {
    switch (number) {
      case RegularExpression::CppLocale:
      case RegularExpression::W32Locale:
      case RegularExpression::CLocale:
      case RegularExpression::UnicodeLocale:
        return true;
    }
    return false;
  }

  /// Calls `callable` with the model of the number, and gives its result.
  template <class Callable>
  decltype(auto) With(RegularExpression::LocaleModels number, Callable&& callable) {
    return Choose(*this, number, std::forward<Callable>(callable));
  }
  template <class Callable>
  decltype(auto) With(RegularExpression::LocaleModels number, Callable&& callable) const {
    return Choose(*this, number, std::forward<Callable>(callable));
  }

  /// Calls `callable` with each model.
  template <class Callable>
  void ForEach(Callable&& callable) {
    callable(cpp);
    callable(w32);
    callable(c);
    callable(unicode);
  }

  Model<engine::CppTraits> cpp;
  Model<engine::Unicode> unicode;

 private:
  template <class Self, class Callable>
  static decltype(auto) Choose(Self& self, RegularExpression::LocaleModels number,
                               Callable&& callable) {
    switch (number) {
      case RegularExpression::CppLocale:
        break;
      case RegularExpression::W32Locale:
        return callable(self.w32);
      case RegularExpression::CLocale:
        return callable(self.c);
      case RegularExpression::UnicodeLocale:
        return callable(self.unicode);
    }
    return callable(self.cpp);
  }

  Model<engine::W32Traits> w32;
  Model<engine::CTraits> c;
};

}  // namespace RegexClass

#endif  // REGEXCLASS_OBJECT_MODELS_HPP
