// SPDX-License-Identifier: BSL-1.0
// An expression of whichever model.
#ifndef REGEXCLASS_ENGINE_ANYEXPRESSION_HPP
#define REGEXCLASS_ENGINE_ANYEXPRESSION_HPP

#include <variant>

#include "engine/Expression.hpp"
#include "engine/UnicodeExpression.hpp"

namespace RegexClass::engine {

using AnyExpression = std::variant<Expression<CppTraits>, Expression<W32Traits>,
                                   Expression<CTraits>, Expression<Unicode>>;

}  // namespace RegexClass::engine

#endif  // REGEXCLASS_ENGINE_ANYEXPRESSION_HPP
