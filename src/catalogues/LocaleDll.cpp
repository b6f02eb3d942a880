// SPDX-License-Identifier: BSL-1.0
#include "catalogues/LocaleDll.hpp"

#include <vector>

#include "platform/MessageCatalogue.hpp"
#include "platform/UserLocale.hpp"

namespace RegexClass {
namespace {

constexpr int kSplitEscapeLetter = 143;
constexpr int kEmptyExpression = 251;
constexpr int kLocaleDllError = 252;
constexpr std::size_t kLongestName = 255;  // the texts of a file with a longer name aren't read

bool HasExtension(const std::string& localeDll) {
  const std::size_t separator = localeDll.find_last_of("\\/");
  const std::size_t filePart = separator == std::string::npos ? 0 : separator + 1;
  return localeDll.find('.', filePart) != std::string::npos;
}

/// The names to try, in order.
std::vector<std::string> Candidates(const std::string& localeDll) {
  if (localeDll.empty()) return {};
  if (HasExtension(localeDll)) return {localeDll};

  std::vector<std::string> names;
  const platform::NativeNames native = platform::UserNativeNames();
  if (!native.language.empty()) {
    const std::string shortForm = localeDll + '.' + native.language.substr(0, 2);
    if (!native.country.empty()) names.push_back(shortForm + native.country[0]);
    names.push_back(shortForm);
  }
  names.push_back(localeDll + ".dll");
  return names;
}

}  // namespace

std::string ResolveLocaleDll(const std::string& localeDll, CatalogueTexts& texts) {
  for (const std::string& name : Candidates(localeDll)) {
    const platform::MessageCatalogue catalogue(name);
    if (!catalogue) continue;
    if (name.size() <= kLongestName) {
      texts = {catalogue.Text(kSplitEscapeLetter).c_str()[0], catalogue.Text(kEmptyExpression),
               catalogue.Text(kLocaleDllError)};
    }
    return name;
  }
  return std::string();
}

}  // namespace RegexClass
