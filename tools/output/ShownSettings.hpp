// SPDX-License-Identifier: BSL-1.0
// The settings of an object, to be read by people and by programs.
#ifndef REGEXCLASS_TOOLS_OUTPUT_SHOWNSETTINGS_HPP
#define REGEXCLASS_TOOLS_OUTPUT_SHOWNSETTINGS_HPP

#include <string>

#include "output/Json.hpp"
#include "output/Names.hpp"

namespace tool {

/// The settings in words, one a line.
std::string InWords(const RE& object);
/// The settings as a JSON object.
Json InJson(const RE& object);

}  // namespace tool

#endif  // REGEXCLASS_TOOLS_OUTPUT_SHOWNSETTINGS_HPP
