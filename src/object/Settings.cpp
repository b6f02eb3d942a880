// SPDX-License-Identifier: BSL-1.0
#include "object/Settings.hpp"

#include <tuple>

namespace RegexClass {

bool Settings::operator==(const Settings& other) const {
  const auto all = [](const Settings& s) {
    return std::tie(s.expressionOptions, s.matchOptions, s.expression, s.stringToMatch,
                    s.filesToMatch, s.formatString, s.saveExtension, s.directoryRecursion,
                    s.mergeCopy, s.maximumSplits, s.localeDll, s.mergeOnlyFirst, s.continueFiles,
                    s.splitInputDelete, s.formatType, s.localeModel);
  };
  return all(*this) == all(other);
}

}  // namespace RegexClass
