// SPDX-License-Identifier: BSL-1.0
#include "engine/boost/Results.hpp"

#include <cstddef>
#include <iterator>
#include <vector>

#include "engine/boost/Flags.hpp"

namespace RegexClass::engine {
namespace {

/// The groups of a format that may be inside each other, a condition counting as two. Newer
/// releases of the engine read what lies deeper as text; older ones go on until the stack ends.
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
  using Traits = boost::BOOST_REGEX_DETAIL_NS::trivial_format_traits<char>;
  using Out = std::back_insert_iterator<std::string>;
  RequireShallow(format, syntax);
  const FormatSource source(match);
  const Traits traits;
  std::string out;
  boost::BOOST_REGEX_DETAIL_NS::basic_regex_formatter<Out, FormatSource, Traits, const char*>
      formatter(Out(out), source, traits);
  formatter.format(format, format + std::char_traits<char>::length(format), ToBoost(syntax));
  return out;
}

}  // namespace RegexClass::engine
