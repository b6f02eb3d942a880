// SPDX-License-Identifier: BSL-1.0
#include "output/Json.hpp"

#include <cstddef>
#include <string_view>

namespace tool {

namespace {

bool IsUtf8(const std::string& bytes) {
  try {
    return !Json(bytes).dump().empty();
  } catch (const Json::type_error&) {
    return false;
  }
}

constexpr std::string_view kDigits =
    "ABCDEFGHIJKLMNOPQRSTUVWXYZabcdefghijklmnopqrstuvwxyz0123456789+/";

std::string Base64(const std::string& bytes) {
  const auto byte = [&bytes](std::size_t at) -> unsigned int {
    return at < bytes.size() ? static_cast<unsigned char>(bytes[at]) : 0;
  };
  std::string out;
  for (std::size_t at = 0; at < bytes.size(); at += 3) {
    const unsigned int three = byte(at) << 16U | byte(at + 1) << 8U | byte(at + 2);
    const std::size_t left = bytes.size() - at;
    out += kDigits[three >> 18U];
    out += kDigits[three >> 12U & 63U];
    out += left > 1 ? kDigits[three >> 6U & 63U] : '=';
    out += left > 2 ? kDigits[three & 63U] : '=';
  }
  return out;
}

Json Position(const RegexClass::REMatch& entry, std::uint64_t offset) {
  return offset + static_cast<std::uint64_t>(entry.position);
}

}  // namespace

Json JsonBytes(const std::string& bytes) {
  return IsUtf8(bytes) ? Json{{"text", bytes}} : Json{{"bytes", Base64(bytes)}};
}

std::string BytesOfBase64(const std::string& digits) {
  std::string bytes;
  std::uint32_t bits = 0;
  int count = 0;
  for (const char digit : digits) {
    const std::size_t value = kDigits.find(digit);
    if (value == std::string_view::npos) break;
    bits = bits << 6U | static_cast<std::uint32_t>(value);
    count += 6;
    if (count < 8) continue;
    count -= 8;
    bytes += static_cast<char>(bits >> count);
  }
  return bytes;
}

void AddMatch(Json& object, const std::vector<RegexClass::REMatch>& match, std::size_t count,
              std::uint64_t offset) {
  const bool whole = match[0].position >= 0;  // else it is partial
  object["position"] = whole ? Position(match[0], offset) : Json();
  object["match"] = whole ? JsonBytes(match[0].text) : Json();
  Json& groups = object["groups"] = Json::array();
  for (std::size_t i = 1; i < count; ++i) {
    Json group;
    if (match[i].position >= 0) {
      group["position"] = Position(match[i], offset);
      group.update(JsonBytes(match[i].text));
    }
    groups.push_back(group);
  }
}

}  // namespace tool
