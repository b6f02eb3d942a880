// SPDX-License-Identifier: BSL-1.0
// From the base name of a message catalogue to the catalogue itself, by the user's language.
#ifndef REGEXCLASS_CATALOGUES_LOCALEDLL_HPP
#define REGEXCLASS_CATALOGUES_LOCALEDLL_HPP

#include <string>

namespace RegexClass {

/// The texts that the library itself reads from a message catalogue.
struct CatalogueTexts {
  char splitEscapeLetter = 0;       // takes the place of s in the default split expression
  std::string emptyExpressionText;  // takes the place of "Empty expression"
  std::string localeDllErrorText;   // takes the place of "Unable to open the Locale DLL "
};

/// The name of the catalogue that `localeDll` stands for: itself when its file part has an
/// extension, else the first that loads of localeDll.LlC, localeDll.Ll and localeDll.dll, where Ll
/// begins the user's native language name and C the native country name. Reads `texts` from it.
/// When none loads the name is empty and `texts` stay.
std::string ResolveLocaleDll(const std::string& localeDll, CatalogueTexts& texts);

}  // namespace RegexClass

#endif  // REGEXCLASS_CATALOGUES_LOCALEDLL_HPP
