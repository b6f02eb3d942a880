// SPDX-License-Identifier: BSL-1.0
// What a terminal gets in place of control characters, which could steer it.
#ifndef REGEXCLASS_TOOLS_OUTPUT_PRINTABLE_HPP
#define REGEXCLASS_TOOLS_OUTPUT_PRINTABLE_HPP

#include <string>
#include <string_view>

namespace tool {

/// A name with its control characters escaped as C has them: \n, \033.
std::string PrintableName(std::string_view name);
/// The same for a text, in which tabs and the ends of lines stay as they are.
std::string PrintableText(std::string_view text);

}  // namespace tool

#endif  // REGEXCLASS_TOOLS_OUTPUT_PRINTABLE_HPP
