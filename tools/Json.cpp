#include "Json.hpp"

#include <cstddef>

namespace tool {

namespace {

unsigned int ByteAt(const std::string& bytes, std::size_t at) {
  return at < bytes.size() ? static_cast<unsigned char>(bytes[at]) : 0;
}

/// The length of the UTF-8 character that begins at `at`; 0 when none does. Overlong forms,
/// surrogates and what is above U+10FFFF are none.
std::size_t CharacterLength(const std::string& bytes, std::size_t at) {
  const unsigned int first = ByteAt(bytes, at);
  if (first < 0x80) return 1;
  const std::size_t length = first >= 0xF0 ? 4 : first >= 0xE0 ? 3 : 2;
  if (first < 0xC2 || first > 0xF4 || at + length > bytes.size()) return 0;
  for (std::size_t i = 1; i < length; ++i) {
    if ((ByteAt(bytes, at + i) & 0xC0U) != 0x80) return 0;
  }
  const unsigned int second = ByteAt(bytes, at + 1);
  const bool overlong = (first == 0xE0 && second < 0xA0) || (first == 0xF0 && second < 0x90);
  const bool outside = (first == 0xED && second > 0x9F) || (first == 0xF4 && second > 0x8F);
  return overlong || outside ? 0 : length;
}

bool IsUtf8(const std::string& bytes) {
  for (std::size_t at = 0; at < bytes.size();) {
    const std::size_t length = CharacterLength(bytes, at);
    if (length == 0) return false;
    at += length;
  }
  return true;
}

std::string Base64(const std::string& bytes) {
  static const char kDigits[] = "ABCDEFGHIJKLMNOPQRSTUVWXYZabcdefghijklmnopqrstuvwxyz0123456789+/";
  std::string out;
  for (std::size_t at = 0; at < bytes.size(); at += 3) {
    const unsigned int three =
        ByteAt(bytes, at) << 16U | ByteAt(bytes, at + 1) << 8U | ByteAt(bytes, at + 2);
    const std::size_t left = bytes.size() - at;
    out += kDigits[three >> 18U];
    out += kDigits[three >> 12U & 63U];
    out += left > 1 ? kDigits[three >> 6U & 63U] : '=';
    out += left > 2 ? kDigits[three & 63U] : '=';
  }
  return out;
}

std::string Position(const RegexClass::REMatch& entry, std::uint64_t offset) {
  return std::to_string(offset + static_cast<std::uint64_t>(entry.position));
}

}  // namespace

std::string JsonString(const std::string& text) {
  static const char kHex[] = "0123456789abcdef";
  std::string out = "\"";
  for (const char c : text) {
    const unsigned int byte = static_cast<unsigned char>(c);
    if (c == '"' || c == '\\') {
      out += {'\\', c};
    } else if (c == '\n') {
      out += "\\n";
    } else if (c == '\t') {
      out += "\\t";
    } else if (byte < 0x20) {
      out += "\\u00";
      out += {kHex[byte >> 4U], kHex[byte & 15U]};
    } else {
      out += c;
    }
  }
  return out + '"';
}

std::string JsonBytes(const std::string& bytes) {
  return IsUtf8(bytes) ? "{\"text\":" + JsonString(bytes) + '}'
                       : "{\"bytes\":\"" + Base64(bytes) + "\"}";
}

std::string JsonArray(const std::vector<std::string>& values) {
  std::string out = "[";
  for (const std::string& value : values) {
    if (out.size() > 1) out += ',';
    out += value;
  }
  return out + ']';
}

JsonObject& JsonObject::Add(const char* key, const std::string& value) {
  if (text_.size() > 1) text_ += ',';
  text_ += '"';
  text_ += key;
  text_ += "\":";
  text_ += value;
  return *this;
}

void AddMatch(JsonObject& object, const std::vector<RegexClass::REMatch>& match, std::size_t count,
              std::uint64_t offset) {
  const bool whole = match[0].position >= 0;  // else it is partial
  object.Add("position", whole ? Position(match[0], offset) : "null");
  object.Add("match", whole ? JsonBytes(match[0].text) : "null");
  std::vector<std::string> groups;
  for (std::size_t i = 1; i < count; ++i) {
    const std::string bytes = JsonBytes(match[i].text);  // an object, to which a position is added
    groups.push_back(match[i].position < 0
                         ? "null"
                         : "{\"position\":" + Position(match[i], offset) + ',' + bytes.substr(1));
  }
  object.Add("groups", JsonArray(groups));
}

}  // namespace tool
