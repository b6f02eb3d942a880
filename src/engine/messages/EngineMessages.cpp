// SPDX-License-Identifier: BSL-1.0
#include "engine/messages/EngineMessages.hpp"

namespace RegexClass::engine {
namespace {

namespace detail = boost::BOOST_REGEX_DETAIL_NS;
namespace constants = boost::regex_constants;

constexpr int kFirstError = 200;
constexpr int kInExpressionNumber = 230;
constexpr int kInFragmentNumber = 231;
constexpr int kHereNumber = 232;
constexpr int kFirstClassName = 300;
constexpr std::array<const char*, 14> kClassNames = {"alnum", "alpha", "cntrl",  "digit", "graph",
                                                     "h",     "lower", "print",  "punct", "space",
                                                     "upper", "v",     "xdigit", "blank"};

}  // namespace

EngineMessages::EngineMessages(const Lookup& lookup) {
  for (std::size_t i = 1; i < syntax.size(); ++i) {
    const auto meaning = static_cast<constants::syntax_type>(i);
    syntax[i] = lookup(static_cast<int>(i), detail::get_default_syntax(meaning));
  }
  for (std::size_t i = 0; i < errors.size(); ++i) {
    const auto error = static_cast<constants::error_type>(i);
    errors[i] = lookup(kFirstError + static_cast<int>(i), detail::get_default_error_string(error));
  }
  inExpression = lookup(kInExpressionNumber, kInExpression);
  inFragment = lookup(kInFragmentNumber, kInFragment);
  here = lookup(kHereNumber, kHere);
  for (std::size_t i = 0; i < kClassNames.size(); ++i) {
    const std::string name = lookup(kFirstClassName + static_cast<int>(i), std::string());
    if (!name.empty()) classNames[name] = kClassNames[i];
  }
}

}  // namespace RegexClass::engine
