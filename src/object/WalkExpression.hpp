// SPDX-License-Identifier: BSL-1.0
// The expression by which an object walks over files.
#ifndef REGEXCLASS_OBJECT_WALKEXPRESSION_HPP
#define REGEXCLASS_OBJECT_WALKEXPRESSION_HPP

#include <memory>
#include <optional>
#include <string>
#include <utility>

#include "engine/Expression.hpp"
#include "engine/syntax/SyntaxTranslation.hpp"
#include "object/Settings.hpp"

namespace RegexClass {

/// Not the object's own expression, but the one of the same text in the Perl syntax, under the
/// locale that its model has by default. Stays from walk to walk, with what it has learned, for as
/// long as a new compile would come to the same.
class WalkExpression {
 public:
  /// The expression for what is set; null when it is no good.
  std::shared_ptr<const engine::Expression> For(const engine::Model& model,
                                                const Settings& settings) {
    const bool icase = settings.expressionOptions.count(RegularExpression::Icase) != 0;
    auto wanted = std::make_pair(settings.expression, icase);
    if (compiled_ == wanted && compiler_->LocaleIsDefault()) return expression_;
    compiled_.reset();
    compiler_ = model.MakeCompiler();
    engine::Error error;
    expression_ =
        compiler_->Compile(wanted.first, engine::kNormal | (icase ? engine::kIcase : 0U), error);
    if (expression_ != nullptr) compiled_ = std::move(wanted);
    return expression_;
  }

 private:
  std::unique_ptr<engine::Compiler> compiler_;
  std::shared_ptr<const engine::Expression> expression_;
  std::optional<std::pair<std::string, bool>> compiled_;  // what the expression is compiled for
};

}  // namespace RegexClass

#endif  // REGEXCLASS_OBJECT_WALKEXPRESSION_HPP
