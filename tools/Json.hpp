// Lines of JSON, one object each.
#ifndef REGEXCLASS_TOOLS_JSON_HPP
#define REGEXCLASS_TOOLS_JSON_HPP

#include <RegularExpression.hpp>
#include <cstdint>
#include <string>
#include <vector>

namespace tool {

/// A JSON string: `text`, which must be UTF-8, in quotes and with its escapes.
std::string JsonString(const std::string& text);

/// Any bytes as {"text": a string}, or {"bytes": base64} when they are no UTF-8.
std::string JsonBytes(const std::string& bytes);

std::string JsonArray(const std::vector<std::string>& values);

/// One object, written key by key. Values are JSON already, but where the name says otherwise.
class JsonObject {
 public:
  JsonObject& Add(const char* key, const std::string& value);
  JsonObject& Add(const char* key, std::uint64_t value) { return Add(key, std::to_string(value)); }
  JsonObject& Add(const char* key, bool value) { return Add(key, Word(value)); }
  JsonObject& AddBytes(const char* key, const std::string& bytes) {
    return Add(key, JsonBytes(bytes));
  }
  std::string Text() const { return text_ + '}'; }

 private:
  static std::string Word(bool value) { return value ? "true" : "false"; }
  std::string text_ = "{";
};

/// Adds "position", "match" and "groups" of the match whose entries, the whole match and its
/// groups, are the first `count` of `match`. Positions are moved on by `offset`; what took no part
/// is null.
void AddMatch(JsonObject& object, const std::vector<RegexClass::REMatch>& match, std::size_t count,
              std::uint64_t offset);

}  // namespace tool

#endif  // REGEXCLASS_TOOLS_JSON_HPP
