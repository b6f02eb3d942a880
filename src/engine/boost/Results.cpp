// SPDX-License-Identifier: BSL-1.0
#include "engine/boost/Results.hpp"

#include <cstddef>
#include <vector>

namespace RegexClass::engine {
namespace {

/// The groups of a format that may be inside each other, a condition counting as two. The engine
/// would go on until the stack ends.
constexpr std::size_t kMostScopes = 100;

/// A condition reaches to the end of the group around it.
bool IsNestedTooDeep(const char* format) {
  std::vector<std::size_t> around;
  std::size_t depth = 0;
  for (; *format != '\0' && depth <= kMostScopes; ++format) {
    if (*format == '(') around.push_back(depth);
    if (*format == '(') ++depth;
    if (*format == '?') depth += 2;
    if (*format == ')' && !around.empty()) {
      depth = around.back();
      around.pop_back();
    }
    if (*format == '\\' && format[1] != '\0') ++format;
  }
  return depth > kMostScopes;
}

}  // namespace

void RequireShallow(const char* format, FormatSyntax syntax) {
  if (syntax == FormatSyntax::kAll && IsNestedTooDeep(format)) {
    throw boost::regex_error("The format string is nested too deep.",
                             boost::regex_constants::error_stack);
  }
}

std::string FormatBytes(const Match& match, const char* format, FormatSyntax syntax) {
  RequireShallow(format, syntax);
  std::string out;
  AppendFormat(match, format, syntax, boost::BOOST_REGEX_DETAIL_NS::trivial_format_traits<char>(),
               out);
  return out;
}

}  // namespace RegexClass::engine
