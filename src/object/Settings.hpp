// SPDX-License-Identifier: BSL-1.0
// What an object is set up to do.
#ifndef REGEXCLASS_OBJECT_SETTINGS_HPP
#define REGEXCLASS_OBJECT_SETTINGS_HPP

#include <string>

#include "RegularExpression.hpp"
#include "options/ExpressionOptions.hpp"
#include "options/MatchOptions.hpp"

namespace RegexClass {

/// All that is compared, and all that a copy takes over beside the notifications and the
/// catalogue's texts.
struct Settings {
  ExpressionOptions expressionOptions = OptionsOf(RegularExpression::NormalSyntax);
  MatchOptions matchOptions = {RegularExpression::MatchDefault};
  RegularExpression::FormatTypes formatType = RegularExpression::FormatAll;
  RegularExpression::LocaleModels localeModel = RegularExpression::CppLocale;
  std::string expression;
  std::string stringToMatch;
  std::string filesToMatch;
  std::string formatString;
  std::string saveExtension;
  std::string localeDll;
  bool directoryRecursion = false;
  bool mergeCopy = false;
  bool mergeOnlyFirst = false;
  unsigned long maximumSplits = 0;
  bool splitInputDelete = false;
  bool continueFiles = true;

  bool operator==(const Settings& other) const;

  /// Whether there is anything to compile. A text ends at its first zero byte.
  bool HasExpression() const { return !expression.empty() && expression.front() != '\0'; }
};

/// How files are rewritten. Goes with the notifications: isn't compared.
struct RewritingSettings {
  bool keepCopies = false;       // a saved copy replaces nothing
  bool changeHardLinks = false;  // files that were found and have several names, too
  bool syncTogether = false;     // many files are brought to the device at a time
};

}  // namespace RegexClass

#endif  // REGEXCLASS_OBJECT_SETTINGS_HPP
