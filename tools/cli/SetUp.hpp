// SPDX-License-Identifier: BSL-1.0
// From options to an object: what the command line and a settings file say about a
// RegularExpression.
#ifndef REGEXCLASS_TOOLS_CLI_SETUP_HPP
#define REGEXCLASS_TOOLS_CLI_SETUP_HPP

#include <RegularExpression.hpp>
#include <cstdint>
#include <limits>
#include <optional>
#include <string>
#include <vector>

#include <CLI/CLI.hpp>

namespace tool {

/// The settings as the command line has them. What it hasn't leaves the object as it is: as a
/// settings file has made it, or new.
struct SetUp {
  std::optional<std::string> settingsFile, expression, text, files, format, saveExtension;
  std::optional<std::string> syntax, formatType, locale, localeModel, localeDll;
  std::vector<std::string> switchesOn, switchesOff, matchOptionsOn, matchOptionsOff;
  std::optional<bool> mergeCopy, mergeOnlyFirst, splitInputDelete, recursive, stopOnError;
  std::optional<std::uint32_t> maximumSplits;
  std::optional<std::uint64_t> stepLimit;
  bool linear = false;
  bool ignoreCase = false;
  bool literal = false;
};

/// Each adds a group of options to a command; the values go to `setUp`, which must outlive it.
void AddExpressionOptions(CLI::App& command, SetUp& setUp);
void AddSyntaxOptions(CLI::App& command, SetUp& setUp);
void AddTextOption(CLI::App& command, SetUp& setUp);
void AddFormatOption(CLI::App& command, SetUp& setUp);
void AddFormatTypeOption(CLI::App& command, SetUp& setUp);
void AddMergeOptions(CLI::App& command, SetUp& setUp);
void AddSplitOptions(CLI::App& command, SetUp& setUp);
void AddWalkOptions(CLI::App& command, SetUp& setUp);
void AddFilesOption(CLI::App& command, SetUp& setUp);
void AddSaveOption(CLI::App& command, SetUp& setUp);

/// A number in these bounds. CLI11's own validators take -1 for a large number without a sign, and
/// name bounds in hundreds of digits.
CLI::Validator Number(std::int64_t least,
                      std::int64_t most = std::numeric_limits<std::int64_t>::max());

/// Adds an option whose value is taken as it stands, also when it is empty or in brackets.
CLI::Option* AddRaw(CLI::App& command, const std::string& names, std::optional<std::string>& value,
                    const std::string& description);

/// Adds a flag for yes and one for no, which exclude each other.
struct Flag {
  const char* names;
  const char* description;
};
void AddYesNo(CLI::App& command, std::optional<bool>& value, const Flag& yes, const Flag& no);

/// Reads the settings file, if there is one, and then sets what the options say. Throws Failure
/// when a file or a locale is no good. A locale becomes the process's too, since the operations on
/// files take classes and case from there.
void Apply(const SetUp& setUp, RegexClass::RegularExpression& object);

/// Writes the settings to a file, or to standard output for "-". Throws Failure.
void WriteSettings(RegexClass::RegularExpression& object, const std::string& file);

}  // namespace tool

#endif  // REGEXCLASS_TOOLS_CLI_SETUP_HPP
