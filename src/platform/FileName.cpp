#include "platform/FileName.hpp"

#include <fnmatch.h>

namespace RegexClass::platform {

bool NameMatches(const std::string& pattern, const std::string& name) {
  return ::fnmatch(pattern.c_str(), name.c_str(), FNM_PERIOD) == 0;
}

}  // namespace RegexClass::platform
