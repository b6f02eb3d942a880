// SPDX-License-Identifier: BSL-1.0
// The expression of the model UnicodeLocale in a build without ICU.
#include "engine/UnicodeExpression.hpp"

namespace RegexClass::engine {

void Expression<Unicode>::Imbue(const std::locale& locale) { locale_ = locale; }

void Expression<Unicode>::Compile(const std::string&, std::uint32_t) {
  throw boost::regex_error("This build of the library has no Unicode.",
                           boost::regex_constants::error_unknown, 0);
}

// Nothing ever compiles, so that none of these is called.

bool Expression<Unicode>::Search(const char*, const char*, boost::cmatch&, Flags) const {
  return false;
}
bool Expression<Unicode>::MatchWhole(const char*, const char*, boost::cmatch&, Flags) const {
  return false;
}
unsigned int Expression<Unicode>::Grep(const char*, const char*, Flags, const Report&) const {
  return 0;
}
void Expression<Unicode>::Merge(const char*, const char*, const char*, Flags, std::string&) const {}
std::string Expression<Unicode>::Format(const boost::cmatch& results, const char* format,
                                        Flags flags) {
  return results.format(format, flags);
}

}  // namespace RegexClass::engine
