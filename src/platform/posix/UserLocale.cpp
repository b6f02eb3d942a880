// SPDX-License-Identifier: BSL-1.0
#include "platform/UserLocale.hpp"

#include <cstdlib>
#include <langinfo.h>
#include <locale.h>
#include <memory>
#include <stdexcept>
#include <type_traits>

namespace RegexClass::platform {
namespace {

#ifdef LC_ADDRESS_MASK  // which not every C library has

struct FreeLocale {
  void operator()(locale_t locale) const { freelocale(locale); }
};
using LocaleHandle = std::unique_ptr<std::remove_pointer_t<locale_t>, FreeLocale>;

const char* MessagesLocaleName() {
  for (const char* variable : {"LC_ALL", "LC_MESSAGES", "LANG"}) {
    const char* name = std::getenv(variable);
    if (name != nullptr && *name != 0) return name;
  }
  return "C";
}

#endif

}  // namespace

std::locale UserLocale() {
  try {
    return std::locale("");
  } catch (const std::runtime_error&) {
    return std::locale::classic();
  }
}

NativeNames UserNativeNames() {
#ifdef LC_ADDRESS_MASK
  // The category for postal addresses is the one that has names in the language itself; those
  // for the identification of the locale are English.
  const LocaleHandle locale(newlocale(LC_ADDRESS_MASK, MessagesLocaleName(), nullptr));
  if (locale == nullptr) return {};
  return {nl_langinfo_l(_NL_ADDRESS_LANG_NAME, locale.get()),
          nl_langinfo_l(_NL_ADDRESS_COUNTRY_NAME, locale.get())};
#else
  return {};
#endif
}

}  // namespace RegexClass::platform
