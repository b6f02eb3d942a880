// SPDX-License-Identifier: BSL-1.0
#include "Exports.hpp"

#include <algorithm>
#include <cstddef>
#include <functional>
#include <locale>
#include <sstream>
#include <string_view>
#include <vector>

#include "output/Names.hpp"

namespace playground {

using tool::RE;

namespace {

/// The longest text that is written into a program or a command.
constexpr std::size_t kLongestText = 4096;

/// One character of a text.
struct Character {
  std::string_view bytes;
  char32_t code = 0;
  bool plain = false;  // can be seen, and takes a place of its own
};

/// Ranges of what can't be seen, what changes the order of others, and what makes one of two.
bool IsHidden(char32_t code) {
  static constexpr char32_t kHidden[][2] = {
      {0x00, 0x1f},       {0x7f, 0xa0},     {0xad, 0xad},     {0x300, 0x36f},   {0x61c, 0x61c},
      {0x115f, 0x1160},   {0x1680, 0x1680}, {0x17b4, 0x17b5}, {0x180b, 0x180f}, {0x2000, 0x200f},
      {0x2028, 0x202f},   {0x205f, 0x206f}, {0x2800, 0x2800}, {0x3000, 0x3000}, {0x3164, 0x3164},
      {0xd800, 0xf8ff},   {0xfe00, 0xfe0f}, {0xfeff, 0xfeff}, {0xffa0, 0xffa0}, {0xfff0, 0xffff},
      {0xe0000, 0x10ffff}};
  return std::any_of(std::begin(kHidden), std::end(kHidden),
                     [code](const auto& range) { return range[0] <= code && code <= range[1]; });
}

/// The first character of a text that isn't empty; a byte by itself where it isn't UTF-8.
Character FirstOf(std::string_view text) {
  const auto byte = [text](std::size_t i) { return static_cast<unsigned char>(text[i]); };
  const Character alone = {text.substr(0, 1), byte(0), byte(0) < 0x80 && !IsHidden(byte(0))};
  const std::size_t length = byte(0) < 0xc2   ? 1
                             : byte(0) < 0xe0 ? 2
                             : byte(0) < 0xf0 ? 3
                             : byte(0) < 0xf5 ? 4
                                              : 1;
  if (length == 1 || text.size() < length) return alone;
  char32_t code = byte(0) & (0x7fU >> length);
  for (std::size_t i = 1; i < length; ++i) {
    if ((byte(i) & 0xc0U) != 0x80) return alone;
    code = code << 6 | (byte(i) & 0x3fU);
  }
  static constexpr char32_t kLeast[] = {0, 0, 0x80, 0x800, 0x10000};
  if (code < kLeast[length] || code > 0x10ffff) return alone;
  return {text.substr(0, length), code, !IsHidden(code)};
}

std::vector<Character> CharactersOf(std::string_view text) {
  std::vector<Character> characters;
  while (!text.empty()) {
    characters.push_back(FirstOf(text));
    text.remove_prefix(characters.back().bytes.size());
  }
  return characters;
}

std::string Octal(std::string_view bytes) {
  std::string out;
  for (const char c : bytes) {
    const auto byte = static_cast<unsigned char>(c);
    out += '\\';
    for (const unsigned int shift : {6U, 3U, 0U})
      out += static_cast<char>('0' + (byte >> shift & 7U));
  }
  return out;
}

/// What C++ and the shell's $'...' have in common; the delimiter gets a backslash, too.
std::string Escaped(const Character& character, char delimiter) {
  if (character.code == '\n' && character.bytes.size() == 1) return "\\n";
  if (character.code == '\t' && character.bytes.size() == 1) return "\\t";
  if (!character.plain) return Octal(character.bytes);
  const bool special = character.bytes[0] == '\\' || character.bytes[0] == delimiter;
  return (special ? "\\" : "") + std::string(character.bytes);
}

bool FitsRawLiteral(const std::string& bytes) {
  const auto plain = [](char c) { return c >= ' ' && c <= '~'; };
  return bytes.find('\\') != std::string::npos && bytes.find(")\"") == std::string::npos &&
         std::all_of(bytes.begin(), bytes.end(), plain);
}

/// The name that an enumerator has in C++: that of the tool in capitals.
std::string Enumerator(const std::string& before, const std::string& name,
                       const std::string& behind = "") {
  std::string enumerator = "RegularExpression::" + before;
  bool capital = true;
  for (const char c : name) {
    if (c != '-') enumerator += capital && c >= 'a' && c <= 'z' ? static_cast<char>(c - 32) : c;
    capital = c == '-';
  }
  return enumerator + behind;
}

/// Writes calls, and makes them on an object of its own, so that what is written is what was done.
class CallWriter {
 public:
  void Add(std::string text, const std::function<void(RE&)>& run) {
    run(made_);
    calls_ += "  re." + std::move(text) + ";\n";
  }
  const RE& Made() const { return made_; }
  const std::string& Text() const { return calls_; }

 private:
  RE made_;
  std::string calls_;
};

/// Makes the options those of `object`, as far as they have names.
void WriteOptions(const RE& object, CallWriter& out) {
  const auto name =
      std::find_if(std::begin(tool::kSyntaxes), std::end(tool::kSyntaxes),
                   [&](const auto& syntax) { return object.IsExpressionOption(syntax.value); });
  if (name == std::end(tool::kSyntaxes)) {
    std::size_t wanted = 0;
    std::size_t different = 0;
    for (const auto& entry : tool::kSwitches) {
      const bool has = object.IsExpressionOption(entry.value);
      wanted += has ? 1 : 0;
      different += has != out.Made().IsExpressionOption(entry.value) ? 1 : 0;
    }
    if (wanted < different) {
      out.Add("ClearExpressionOptions()", [](RE& re) { re.ClearExpressionOptions(); });
    }
  } else if (!out.Made().IsExpressionOption(name->value)) {
    out.Add("AddExpressionOption(" + Enumerator("", name->name, "Syntax") + ')',
            [&](RE& re) { re.AddExpressionOption(name->value); });
  }
  for (const bool wanted : {false, true}) {
    for (const auto& entry : tool::kSwitches) {
      if (object.IsExpressionOption(entry.value) != wanted) continue;
      if (out.Made().IsExpressionOption(entry.value) == wanted) continue;
      const std::string option = '(' + Enumerator("", entry.name) + ')';
      if (wanted) {
        out.Add("AddExpressionOption" + option,
                [&](RE& re) { re.AddExpressionOption(entry.value); });
      } else {
        out.Add("DeleteExpressionOption" + option,
                [&](RE& re) { re.DeleteExpressionOption(entry.value); });
      }
    }
  }
  for (const auto& entry : tool::kMatchOptions) {
    if (!object.IsMatchOption(entry.value) || out.Made().IsMatchOption(entry.value)) continue;
    out.Add("AddMatchOption(" + Enumerator("Match", entry.name) + ')',
            [&](RE& re) { re.AddMatchOption(entry.value); });
  }
  if (!object.IsMatchOption(RE::MatchDefault) && out.Made().IsMatchOption(RE::MatchDefault)) {
    out.Add("DeleteMatchOption(RegularExpression::MatchDefault)",
            [](RE& re) { re.DeleteMatchOption(RE::MatchDefault); });
  }
}

/// Calls a setter of strings, flags or numbers where the object has something else so far.
template <class Value, class Argument, class Literal>
void WriteSetting(CallWriter& out, const RE& object, const char* name, Value (RE::*get)() const,
                  void (RE::*set)(Argument), const Literal& literal) {
  const Value value = (object.*get)();
  if ((out.Made().*get)() == value) return;
  out.Add(std::string(name) + '(' + literal(value) + ')', [&](RE& re) { (re.*set)(value); });
}

void WriteSettings(const RE& object, CallWriter& out) {
  const auto text = [](const std::string& value) { return CppLiteral(value); };
  const auto flag = [](bool value) { return std::string(value ? "true" : "false"); };
  using Text = const std::string&;
  WriteSetting<std::string, Text>(out, object, "SetExpression", &RE::GetExpression,
                                  &RE::SetExpression, text);
  WriteSetting(out, object, "SetLocaleModel", &RE::GetLocaleModel, &RE::SetLocaleModel,
               [](RE::LocaleModels value) {
                 return Enumerator("", NameOf(tool::kLocaleModels, value), "Locale");
               });
  WriteSetting(out, object, "SetLocaleDll", &RE::GetLocaleDll, &RE::SetLocaleDll, text);
  WriteSetting(out, object, "SetFormatString", &RE::GetFormatString, &RE::SetFormatString, text);
  WriteSetting(out, object, "SetFormatType", &RE::GetFormatType, &RE::SetFormatType,
               [](RE::FormatTypes value) {
                 return Enumerator("Format", NameOf(tool::kFormatTypes, value));
               });
  WriteSetting(out, object, "SetMergeCopy", &RE::GetMergeCopy, &RE::SetMergeCopy, flag);
  WriteSetting(out, object, "SetMergeOnlyFirst", &RE::GetMergeOnlyFirst, &RE::SetMergeOnlyFirst,
               flag);
  WriteSetting(out, object, "SetMaximumSplits", &RE::GetMaximumSplits, &RE::SetMaximumSplits,
               [](unsigned long value) { return std::to_string(value); });
  WriteSetting(out, object, "SetSplitInputDelete", &RE::GetSplitInputDelete,
               &RE::SetSplitInputDelete, flag);
  WriteSetting(out, object, "SetFilesToMatch", &RE::GetFilesToMatch, &RE::SetFilesToMatch, text);
  WriteSetting(out, object, "SetDirectoryRecursion", &RE::GetDirectoryRecursion,
               &RE::SetDirectoryRecursion, flag);
  WriteSetting(out, object, "SetContinueFiles", &RE::GetContinueFiles, &RE::SetContinueFiles, flag);
  WriteSetting(out, object, "SetSaveExtension", &RE::GetSaveExtension, &RE::SetSaveExtension, text);
}

/// The lines of a program that give the object its settings. What has no name of its own, such as a
/// number from a record that is no option, comes by the record.
std::string SetUpCalls(const RE& object) {
  const std::string text = object.GetStringToMatch();
  RE settings(object);
  settings.SetStringToMatch(std::string());
  CallWriter out;
  WriteOptions(settings, out);
  WriteSettings(settings, out);
  std::string calls = out.Text();
  if (out.Made() != settings) {
    calls = "  std::istringstream(" + CppLiteral(Record(settings)) + ") >> re;\n";
  }
  return calls +
         (text.size() <= kLongestText
              ? "  re.SetStringToMatch(" + CppLiteral(text) + ");\n"
              : "  re.SetStringToMatch(std::string(std::istreambuf_iterator<char>(std::cin), "
                "{}));\n");
}

constexpr const char* kPrintMatch =
    "    for (const REMatch& part : match) std::cout << part.position << \": \" << part.text << "
    "'\\n';\n";

/// The lines of a program that call the operation and print what comes of it.
std::string OperationCalls(const RE& object, const std::string& operation) {
  if (operation == "merge") {
    const std::string subscriber =
        object.GetFormatType() == RE::FormatAll
            ? ""
            : "  // With nobody to notify, Merge would read the format as FormatAll.\n"
              "  re.SetOnMergingClosure([](RegularExpression*, const std::vector<REMatch>&,\n"
              "                            unsigned int, unsigned int, bool&) {});\n";
    return subscriber + "  std::string merged;\n  re.Merge(merged);\n  std::cout << merged;\n";
  }
  if (operation == "split") {
    const std::string rest = object.GetSplitInputDelete()
                                 ? "  std::cout << \"rest: \" << re.GetStringToMatch() << '\\n';\n"
                                 : "";
    return "  std::vector<std::string> pieces;\n  re.Split(pieces);\n"
           "  for (const std::string& piece : pieces) std::cout << piece << '\\n';\n" +
           rest;
  }
  if (operation == "format") {
    return "  re.SetOnGreppingClosure([](RegularExpression* object, const std::vector<REMatch>&,\n"
           "                             unsigned int, unsigned int, bool&) {\n"
           "    std::string formatted;\n"
           "    object->Format(formatted);\n"
           "    std::cout << formatted << '\\n';\n"
           "  });\n"
           "  re.Grep();\n";
  }
  if (operation == "grep") {
    return "  std::vector<std::vector<REMatch>> matches;\n  re.Grep(matches);\n"
           "  for (const std::vector<REMatch>& match : matches) {\n" +
           std::string(kPrintMatch) + "  }\n";
  }
  const std::string call = operation == "match"       ? "Match"
                           : operation == "match-all" ? "MatchAll"
                                                      : "Search";
  return "  std::vector<REMatch> match;\n  if (re." + call + "(match)) {\n" + kPrintMatch + "  }\n";
}

}  // namespace

std::string CppLiteral(const std::string& bytes) {
  if (FitsRawLiteral(bytes)) return "R\"(" + bytes + ")\"";
  std::string literal = "\"";
  for (const Character& character : CharactersOf(bytes)) {
    literal += Escaped(character, '"');
    // Trigraphs are gone from the language, but not from every compiler.
    if (literal.size() > 2 && literal.compare(literal.size() - 2, 2, "??") == 0) {
      literal.insert(literal.size() - 1, "\\");
    }
  }
  literal += '"';
  if (bytes.find('\0') == std::string::npos) return literal;
  return "std::string(" + literal + ", " + std::to_string(bytes.size()) + ')';
}

std::string ShellWord(const std::string& bytes) {
  static const std::string_view kPlain = "_-./,=:";
  const auto ordinary = [](char c) {
    return (c >= 'a' && c <= 'z') || (c >= 'A' && c <= 'Z') || (c >= '0' && c <= '9') ||
           kPlain.find(c) != std::string_view::npos;
  };
  if (!bytes.empty() && std::all_of(bytes.begin(), bytes.end(), ordinary)) return bytes;
  const std::vector<Character> characters = CharactersOf(bytes);
  const bool plain = std::all_of(characters.begin(), characters.end(),
                                 [](const Character& character) { return character.plain; });
  std::string word = plain ? "'" : "$'";
  for (const Character& character : characters) {
    if (!plain) {
      word += Escaped(character, '\'');
    } else if (character.bytes == "'") {
      word += "'\\''";
    } else {
      word += character.bytes;
    }
  }
  return word + '\'';
}

std::string Record(const RE& object) {
  std::ostringstream out;
  out.imbue(std::locale::classic());
  out << object;
  return out.str();
}

std::string Program(const RE& object, const std::string& operation) {
  const std::string body =
      "  RegularExpression re;\n" + SetUpCalls(object) +
      "  if (const auto code = re.ParseExpression(); code != "
      "RegularExpression::NoError" +
      (operation == "split" ? " &&\n      code != RegularExpression::NoExpression" : "") +
      ") {\n"
      "    std::cerr << re.GetExpressionError() << '\\n';\n"
      "    return 2;\n"
      "  }\n\n" +
      OperationCalls(object, operation);
  const auto uses = [&body](const char* name) { return body.find(name) != std::string::npos; };
  std::string program = "#include <iostream>\n";
  if (uses("istreambuf_iterator")) program += "#include <iterator>\n";
  if (uses("std::istringstream")) program += "#include <sstream>\n";
  program += "#include <string>\n#include <vector>\n\n#include <RegularExpression.hpp>\n\n";
  if (uses("REMatch")) program += "using RegexClass::REMatch;\n";
  program += "using RegexClass::RegularExpression;\n\nint main() {\n" + body + "}\n";
  return program;
}

namespace {

/// The options that give the tool's object its settings.
std::string SetUpWords(const RE& object, const std::string& operation) {
  std::string words;
  std::string name = "none";
  for (const auto& syntax : tool::kSyntaxes) {
    if (object.IsExpressionOption(syntax.value)) name = syntax.name;
  }
  RE named;
  if (name == "none") {
    named.ClearExpressionOptions();
  } else {
    named.AddExpressionOption(tool::ValueOf(tool::kSyntaxes, name));
  }
  if (name != "normal") words += " --syntax " + name;
  const auto list = [&words](const char* option, const std::string& names) {
    if (!names.empty()) words += std::string(option) + names;
  };
  const auto names = [](const auto& table, const auto& has) {
    std::string all;
    for (const auto& entry : table) {
      if (has(entry.value)) all += (all.empty() ? "" : ",") + std::string(entry.name);
    }
    return all;
  };
  list(" --option ", names(tool::kSwitches, [&](RE::Options option) {
         return object.IsExpressionOption(option) && !named.IsExpressionOption(option);
       }));
  list(" --no-option ", names(tool::kSwitches, [&](RE::Options option) {
         return !object.IsExpressionOption(option) && named.IsExpressionOption(option);
       }));
  list(" --match-option ", names(tool::kMatchOptions, [&](RE::Matches option) {
         return option != RE::MatchDefault && object.IsMatchOption(option);
       }));
  words += " --locale-model " + NameOf(tool::kLocaleModels, object.GetLocaleModel());
  if (!object.GetLocaleDll().empty()) words += " --locale-dll " + ShellWord(object.GetLocaleDll());
  if (operation == "format" && object.GetFormatType() != RE::FormatAll) {
    words += " --format-type " + NameOf(tool::kFormatTypes, object.GetFormatType());
  }
  return words;
}

}  // namespace

std::string CommandLine(const RE& object, const std::string& operation) {
  const bool formats = operation == "format" || operation == "merge";
  std::string words = "regexclass " + (operation == "match-all" ? "match --whole" : operation);
  words += SetUpWords(object, operation);
  if (operation == "merge") {
    if (object.GetFormatType() != RE::FormatAll) {
      words += " --format-type " + NameOf(tool::kFormatTypes, object.GetFormatType());
    }
    if (!object.GetMergeCopy()) words += " --no-copy";
    if (object.GetMergeOnlyFirst()) words += " --only-first";
  }
  if (operation == "split") {
    const unsigned long most = object.GetMaximumSplits();
    if (most != 0) words += " --max-splits " + std::to_string(most);
    if (object.GetSplitInputDelete()) words += " --input-delete";
  }
  words += " -e " + ShellWord(object.GetExpression());
  if (formats) words += " -f " + ShellWord(object.GetFormatString());
  const std::string text = object.GetStringToMatch();
  const bool fits = text.size() <= kLongestText && text.find('\0') == std::string::npos;
  return words + (fits ? " -t " + ShellWord(text) : " -U text.txt");
}

}  // namespace playground
