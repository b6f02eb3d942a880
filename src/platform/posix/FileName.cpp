// SPDX-License-Identifier: BSL-1.0
#include "platform/FileName.hpp"

#include <algorithm>
#include <fnmatch.h>

namespace RegexClass::platform {

std::string_view Separators() { return "/"; }

std::size_t RootLength(std::string_view path) {
  return std::min(path.find_first_not_of('/'), path.size());
}

std::size_t FindUnescaped(std::string_view pattern, std::string_view characters) {
  for (std::size_t i = 0; i < pattern.size(); ++i) {
    if (pattern[i] == '\\') {
      ++i;
    } else if (characters.find(pattern[i]) != std::string_view::npos) {
      return i;
    }
  }
  return pattern.size();
}

std::string WithoutEscapes(std::string_view component) {
  std::string name;
  for (std::size_t i = 0; i < component.size(); ++i) {
    if (component[i] == '\\' && ++i == component.size()) break;
    name += component[i];
  }
  return name;
}

bool NameMatches(const std::string& pattern, const std::string& name) {
  if (pattern == "*") return name[0] != '.';  // the usual one, which fnmatch takes long for
  return ::fnmatch(pattern.c_str(), name.c_str(), FNM_PERIOD) == 0;
}

}  // namespace RegexClass::platform
