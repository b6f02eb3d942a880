// SPDX-License-Identifier: BSL-1.0
// Values in JSON. Lines of output are one object each.
#ifndef REGEXCLASS_TOOLS_OUTPUT_JSON_HPP
#define REGEXCLASS_TOOLS_OUTPUT_JSON_HPP

#include <RegularExpression.hpp>
#include <cstdint>
#include <nlohmann/json.hpp>
#include <string>
#include <vector>

namespace tool {

/// Keys keep the order in which they were added.
using Json = nlohmann::ordered_json;

/// Any bytes: {"text": a string}, or {"bytes": base64} when they are no UTF-8.
Json JsonBytes(const std::string& bytes);

/// The bytes that the digits of {"bytes": base64} stand for. What is no digit of base64 ends them.
std::string BytesOfBase64(const std::string& digits);

/// Adds "position", "match" and "groups" of the match whose entries, the whole match and its
/// groups, are the first `count` of `match`. Positions are moved on by `offset`; what took no part
/// is null.
void AddMatch(Json& object, const std::vector<RegexClass::REMatch>& match, std::size_t count,
              std::uint64_t offset);

}  // namespace tool

#endif  // REGEXCLASS_TOOLS_OUTPUT_JSON_HPP
