// SPDX-License-Identifier: BSL-1.0
#include "cli/SetUp.hpp"

#include <cerrno>
#include <fstream>
#include <iostream>
#include <locale>

#include "output/Names.hpp"
#include "output/Problems.hpp"
#include "platform/System.hpp"

namespace tool {

namespace {

/// Text as it stands, for CLI11 would take an empty value for none and brackets for a list.
CLI::callback_t Into(std::optional<std::string>& value) {
  return [&value](const CLI::results_t& results) {
    value = results.back();
    return true;
  };
}

/// An option whose values are names of a table, with commas between them.
template <typename Value, std::size_t size>
void AddNames(CLI::App& command, const char* names, std::vector<std::string>& values,
              const Name<Value> (&table)[size], const char* description) {
  command.add_option(names, values, description)
      ->delimiter(',')
      ->allow_extra_args(false)
      ->check(CLI::IsMember(NamesOf(table)))
      ->group("Expression");
}

template <typename Value, std::size_t size>
CLI::Option* AddName(CLI::App& command, const char* name, std::optional<std::string>& value,
                     const Name<Value> (&table)[size], const char* description) {
  return command.add_option(name, value, description)->check(CLI::IsMember(NamesOf(table)));
}

void ReadSettings(RE& object, std::istream& in, const std::string& name) {
  in.imbue(std::locale::classic());
  if (!(in >> object) || !(in >> std::ws).eof()) {
    throw Failure(name + ": not a settings file, or a damaged one");
  }
}

void SetExpressionOptions(const SetUp& setUp, RE& object) {
  if (setUp.syntax == "none") {
    object.ClearExpressionOptions();
  } else if (setUp.syntax) {
    object.AddExpressionOption(ValueOf(kSyntaxes, *setUp.syntax));
  }
  for (const std::string& name : setUp.switchesOn) {
    object.AddExpressionOption(ValueOf(kSwitches, name));
  }
  for (const std::string& name : setUp.switchesOff) {
    object.DeleteExpressionOption(ValueOf(kSwitches, name));
  }
  if (setUp.ignoreCase) object.AddExpressionOption(RE::Icase);
  if (setUp.literal) object.AddExpressionOption(RE::Literal);
  for (const std::string& name : setUp.matchOptionsOn) {
    object.AddMatchOption(ValueOf(kMatchOptions, name));
  }
  for (const std::string& name : setUp.matchOptionsOff) {
    object.DeleteMatchOption(ValueOf(kMatchOptions, name));
  }
}

/// Whether texts are UTF-8, and the library can read that.
bool TextsAreUnicode() {
  RE re;
  re.SetLocaleModel(RE::UnicodeLocale);
  re.SetExpression("a");
  return SpeaksUtf8() && re.ParseExpression() == RE::NoError;
}

void SetLocales(const SetUp& setUp, RE& object) {
  if (setUp.locale) {
    try {
      const std::locale locale(setUp.locale->c_str());
      std::locale::global(locale);
      object.SetLocale(locale);
    } catch (const std::runtime_error&) {
      throw Failure("no locale '" + *setUp.locale + "' is installed");
    }
  }
  if (setUp.localeDll) object.SetLocaleDll(*setUp.localeDll);
  const bool chosen = setUp.settingsFile || setUp.localeDll;
  if (setUp.localeModel) {
    object.SetLocaleModel(ValueOf(kLocaleModels, *setUp.localeModel));
  } else if (!chosen && TextsAreUnicode()) {
    object.SetLocaleModel(RE::UnicodeLocale);
  }
}

}  // namespace

CLI::Validator Number(std::int64_t least, std::int64_t most) {
  return CLI::Range(least, most, least > 0 ? "POSITIVE" : "NONNEGATIVE");
}

CLI::Option* AddRaw(CLI::App& command, const std::string& names, std::optional<std::string>& value,
                    const std::string& description) {
  return command.add_option(names, Into(value), description)->type_name("TEXT");
}

void AddExpressionOptions(CLI::App& command, SetUp& setUp) {
  AddRaw(command, "-e,--expression", setUp.expression, "The expression")->group("Expression");
  AddRaw(command, "--settings", setUp.settingsFile, "Start from the settings in a file")
      ->type_name("FILE")
      ->group("Expression");
  command.add_flag("-i,--ignore-case", setUp.ignoreCase, "Letters match regardless of case")
      ->group("Expression");
  AddNames(command, "--match-option", setUp.matchOptionsOn, kMatchOptions, "Add match options");
  AddNames(command, "--no-match-option", setUp.matchOptionsOff, kMatchOptions,
           "Remove match options");
  AddName(command, "--locale-model", setUp.localeModel, kLocaleModels,
          "Where classes, case and collation come from")
      ->group("Expression");
  AddRaw(command, "--locale", setUp.locale, "The locale of the models cpp, c and unicode")
      ->type_name("NAME")
      ->group("Expression");
  command
      .add_option("--step-limit", setUp.stepLimit,
                  "The most steps of one search of the engine; 0: its own limit")
      ->check(Number(0))
      ->group("Expression");
  command.add_flag("--linear", setUp.linear, "Take only an expression whose searches are linear")
      ->group("Expression");
  AddRaw(command, "--locale-dll", setUp.localeDll, "The message catalogue with the texts of errors")
      ->type_name("NAME")
      ->group("Expression");
}

void AddSyntaxOptions(CLI::App& command, SetUp& setUp) {
  std::vector<std::string> syntaxes = NamesOf(kSyntaxes);
  syntaxes.emplace_back("none");
  command.add_option("-s,--syntax", setUp.syntax, "How the expression is read")
      ->check(CLI::IsMember(syntaxes))
      ->group("Expression");
  AddNames(command, "--option", setUp.switchesOn, kSwitches, "Add switches to the syntax");
  AddNames(command, "--no-option", setUp.switchesOff, kSwitches, "Remove switches");
  command.add_flag("-F,--fixed-strings", setUp.literal, "Every character stands for itself")
      ->group("Expression");
}

void AddTextOption(CLI::App& command, SetUp& setUp) {
  AddRaw(command, "-t,--text", setUp.text, "The text, as one and in place of the input");
}

void AddFormatOption(CLI::App& command, SetUp& setUp) {
  AddRaw(command, "-f,--format", setUp.format, "The format string");
}

void AddFormatTypeOption(CLI::App& command, SetUp& setUp) {
  AddName(command, "--format-type", setUp.formatType, kFormatTypes,
          "How the format string is read");
}

void AddYesNo(CLI::App& command, std::optional<bool>& value, const Flag& yes, const Flag& no) {
  const auto set = [&value](bool to) { return [&value, to] { value = to; }; };
  CLI::Option* const on = command.add_flag_callback(yes.names, set(true), yes.description);
  command.add_flag_callback(no.names, set(false), no.description)->excludes(on);
}

void AddMergeOptions(CLI::App& command, SetUp& setUp) {
  AddYesNo(command, setUp.mergeCopy, {"--copy", "Print what lies between the matches too"},
           {"--no-copy", "Print the replacements alone"});
  AddYesNo(command, setUp.mergeOnlyFirst, {"--only-first", "Replace the first match of a text"},
           {"--all-matches", "Replace them all"});
}

void AddSplitOptions(CLI::App& command, SetUp& setUp) {
  command.add_option("--max-splits", setUp.maximumSplits, "The most pieces of a text; 0: no limit")
      ->check(Number(0, std::numeric_limits<std::uint32_t>::max()));
  AddYesNo(command, setUp.splitInputDelete,
           {"--input-delete", "Use the text up, and print its unused rest after the pieces"},
           {"--no-input-delete", "Leave the text as it is"});
}

void AddWalkOptions(CLI::App& command, SetUp& setUp) {
  AddYesNo(command, setUp.recursive, {"-r,--recursive", "Work on the directories below too"},
           {"--no-recursive", "Stay in the directories of the patterns"});
  AddYesNo(command, setUp.stopOnError,
           {"--stop-on-error", "End the walk at the first file that fails"},
           {"--continue", "Go on past files that fail"});
}

void AddFilesOption(CLI::App& command, SetUp& setUp) {
  AddRaw(command, "--files", setUp.files, "The patterns of the files, with ; between them");
}

void AddSaveOption(CLI::App& command, SetUp& setUp) {
  AddRaw(command, "--save", setUp.saveExtension, "Save a copy of each changed file, with this end")
      ->type_name("EXT");
}

void Apply(const SetUp& setUp, RE& object) {
  if (setUp.settingsFile == "-") {
    ReadSettings(object, std::cin, "standard input");
  } else if (setUp.settingsFile) {
    errno = 0;
    std::ifstream in(*setUp.settingsFile, std::ios::binary);
    if (!in) throw Failure(*setUp.settingsFile + ": " + SystemWords(errno));
    ReadSettings(object, in, *setUp.settingsFile);
  } else {
    object.SetMergeCopy(true);  // a tool that rewrites prints the rest too
  }
  SetExpressionOptions(setUp, object);
  SetLocales(setUp, object);
  if (setUp.expression) object.SetExpression(*setUp.expression);
  if (setUp.text) object.SetStringToMatch(*setUp.text);
  if (setUp.files) object.SetFilesToMatch(*setUp.files);
  if (setUp.format) object.SetFormatString(*setUp.format);
  if (setUp.formatType) object.SetFormatType(ValueOf(kFormatTypes, *setUp.formatType));
  if (setUp.saveExtension) object.SetSaveExtension(*setUp.saveExtension);
  if (setUp.mergeCopy) object.SetMergeCopy(*setUp.mergeCopy);
  if (setUp.mergeOnlyFirst) object.SetMergeOnlyFirst(*setUp.mergeOnlyFirst);
  if (setUp.stepLimit) object.SetStepLimit(*setUp.stepLimit);
  if (setUp.maximumSplits) object.SetMaximumSplits(*setUp.maximumSplits);
  if (setUp.splitInputDelete) object.SetSplitInputDelete(*setUp.splitInputDelete);
  if (setUp.recursive) object.SetDirectoryRecursion(*setUp.recursive);
  if (setUp.stopOnError) object.SetContinueFiles(!*setUp.stopOnError);
}

void WriteSettings(RE& object, const std::string& file) {
  if (file == "-") {
    std::cout << object << '\n';
    return;
  }
  errno = 0;
  std::ofstream out(file, std::ios::binary);
  out.imbue(std::locale::classic());
  out << object << '\n';
  out.close();
  if (!out) throw Failure(file + ": " + SystemWords(errno));
}

}  // namespace tool
