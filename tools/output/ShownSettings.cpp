// SPDX-License-Identifier: BSL-1.0
#include "output/ShownSettings.hpp"

#include <cstdint>
#include <variant>
#include <vector>

namespace tool {

namespace {

/// A word or words of the tool's own; bytes of the user's are a std::string.
using Names = std::vector<std::string>;
struct Word {
  std::string name;
};
using Value = std::variant<bool, std::uint64_t, Word, Names, std::string>;

struct Setting {
  const char* key;    // in JSON
  const char* words;  // for people
  Value value;
};

/// The names of the values in a table that `has` says yes to.
template <typename Enum, std::size_t size, typename Has>
Names Members(const Name<Enum> (&table)[size], const Has& has) {
  Names names;
  for (const Name<Enum>& entry : table) {
    if (has(entry.value)) names.emplace_back(entry.name);
  }
  return names;
}

std::vector<Setting> Settings(const RE& re) {
  const auto option = [&re](RE::Options value) { return re.IsExpressionOption(value); };
  const auto match = [&re](RE::Matches value) { return re.IsMatchOption(value); };
  return {
      {"expression", "expression", re.GetExpression()},
      {"syntax", "syntax", Members(kSyntaxes, option)},
      {"options", "switches", Members(kSwitches, option)},
      {"match_options", "match options", Members(kMatchOptions, match)},
      {"locale_model", "locale model", Word{NameOf(kLocaleModels, re.GetLocaleModel())}},
      {"locale_dll", "message catalogue", re.GetLocaleDll()},
      {"text", "text", re.GetStringToMatch()},
      {"format", "format", re.GetFormatString()},
      {"format_type", "format type", Word{NameOf(kFormatTypes, re.GetFormatType())}},
      {"copy", "merge copies the rest", re.GetMergeCopy()},
      {"only_first", "merge only the first", re.GetMergeOnlyFirst()},
      {"max_splits", "most pieces of a split", std::uint64_t{re.GetMaximumSplits()}},
      {"input_delete", "split deletes its input", re.GetSplitInputDelete()},
      {"files", "files", re.GetFilesToMatch()},
      {"recursive", "directories below too", re.GetDirectoryRecursion()},
      {"continue", "go on after a failure", re.GetContinueFiles()},
      {"save", "extension of saved copies", re.GetSaveExtension()},
  };
}

struct JsonPrinter {
  Json operator()(bool value) const { return value; }
  Json operator()(std::uint64_t value) const { return value; }
  Json operator()(const Word& value) const { return value.name; }
  Json operator()(const Names& value) const { return value; }
  Json operator()(const std::string& value) const { return JsonBytes(value); }
};

struct WordPrinter {
  std::string operator()(bool value) const { return value ? "yes" : "no"; }
  std::string operator()(std::uint64_t value) const { return std::to_string(value); }
  std::string operator()(const Word& value) const { return value.name; }
  std::string operator()(const Names& value) const {
    std::string words;
    for (const std::string& name : value) words += (words.empty() ? "" : " ") + name;
    return words.empty() ? "none" : words;
  }
  /// In quotes; bytes that are no UTF-8 as base64 after that word.
  std::string operator()(const std::string& value) const {
    const Json bytes = JsonBytes(value);
    const bool text = bytes.contains("text");
    return text ? bytes["text"].dump() : "base64 " + bytes["bytes"].get<std::string>();
  }
};

}  // namespace

std::string InWords(const RE& object) {
  std::string words;
  for (const Setting& setting : Settings(object)) {
    std::string label = std::string(setting.words) + ':';
    label.resize(28, ' ');
    words += label + std::visit(WordPrinter(), setting.value) + '\n';
  }
  return words;
}

Json InJson(const RE& object) {
  Json json;
  for (const Setting& setting : Settings(object)) {
    json[setting.key] = std::visit(JsonPrinter(), setting.value);
  }
  return json;
}

}  // namespace tool
