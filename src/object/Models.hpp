// SPDX-License-Identifier: BSL-1.0
// What an object keeps for each locale model. What a model is, its own file in engine/models/ says.
#ifndef REGEXCLASS_OBJECT_MODELS_HPP
#define REGEXCLASS_OBJECT_MODELS_HPP

#include <array>
#include <cstddef>
#include <iterator>
#include <memory>
#include <string>

#include "RegularExpression.hpp"
#include "engine/models/Models.hpp"
#include "object/WalkExpression.hpp"

namespace RegexClass {

static_assert(std::size(engine::kModels) > RegularExpression::UnicodeLocale,
              "a model for each number");

/// What came of compiling under one model.
struct CompileRecord {
  bool compiled = false;  // a compile was tried for the present settings, and came to `code`
  RegularExpression::ExpressionErrorCode code = RegularExpression::NoError;
  std::string message;           // of the last failure; a later success doesn't clear it
  std::ptrdiff_t position = -1;  // likewise: the offset in the expression, -1 where none is known

  // What the engine said when a compile last reached it, which a failed catalogue prevents.
  bool accepted = false;
  engine::Error error;

  /// Forgets the outcome, but not what the engine said.
  void Forget() {
    compiled = false;
    code = RegularExpression::NoError;
    message.clear();
  }
};

/// What an object keeps for one model.
struct ModelState {
  const engine::Model* model = nullptr;
  std::unique_ptr<engine::Compiler> compiler;            // null before the first compile
  std::shared_ptr<const engine::Expression> expression;  // of the last compile that succeeded
  CompileRecord record;
  WalkExpression walk;
  bool localeChanged = false;  // another one was set, and the compiler wasn't imbued since
};

class Models {
 public:
  Models() {
    for (std::size_t i = 0; i < states_.size(); ++i) states_[i].model = &engine::kModels[i]();
  }

  /// Whether `number` is that of a model. Any other is served by CppLocale, but tells nothing of
  /// its expression.
  static bool Known(RegularExpression::LocaleModels number) {
    return number >= 0 && static_cast<std::size_t>(number) < std::size(engine::kModels);
  }

  ModelState& At(RegularExpression::LocaleModels number) { return states_[Index(number)]; }
  const ModelState& At(RegularExpression::LocaleModels number) const {
    return states_[Index(number)];
  }

  auto begin() { return states_.begin(); }
  auto end() { return states_.end(); }

 private:
  static std::size_t Index(RegularExpression::LocaleModels number) {
    return static_cast<std::size_t>(Known(number) ? number : RegularExpression::CppLocale);
  }

  std::array<ModelState, std::size(engine::kModels)> states_;
};

}  // namespace RegexClass

#endif  // REGEXCLASS_OBJECT_MODELS_HPP
