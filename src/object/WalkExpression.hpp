// SPDX-License-Identifier: BSL-1.0
// The expression by which an object walks over files.
#ifndef REGEXCLASS_OBJECT_WALKEXPRESSION_HPP
#define REGEXCLASS_OBJECT_WALKEXPRESSION_HPP

#include <optional>
#include <string>
#include <utility>

#include "engine/Expression.hpp"
#include "engine/SyntaxTranslation.hpp"
#include "engine/UnicodeExpression.hpp"
#include "object/Settings.hpp"

namespace RegexClass {

/// Not the object's own expression, but the one of the same text in the Perl syntax, under the
/// locale that its model has by default. Stays from walk to walk, with the finder that it has
/// earned, for as long as a new compile would give the same.
template <class Traits>
class WalkExpression {
 public:
  /// The expression for what is set. Throws boost::regex_error when it is no good. Walks take a
  /// copy, which a later call doesn't disturb.
  const engine::Expression<Traits>& For(const Settings& settings) {
    const bool icase = settings.expressionOptions.count(RegularExpression::Icase) != 0;
    auto wanted = std::make_pair(settings.expression, icase);
    if (compiled_ == wanted && expression_.LocaleIsDefault()) return expression_;
    compiled_.reset();
    expression_ = engine::Expression<Traits>();
    expression_.Compile(wanted.first, engine::kNormal | (icase ? engine::kIcase : 0U));
    compiled_ = std::move(wanted);
    return expression_;
  }

 private:
  engine::Expression<Traits> expression_;
  std::optional<std::pair<std::string, bool>> compiled_;  // what the expression is compiled for
};

}  // namespace RegexClass

#endif  // REGEXCLASS_OBJECT_WALKEXPRESSION_HPP
