// SPDX-License-Identifier: BSL-1.0
// Doesn't compile: the walk could never be stopped.
#include "RegularExpression.hpp"

void Refused(RegexClass::RegularExpression& re) {
  re.SetOnFindFilesClosure([](auto*, std::string, bool&) {});
  re.SetOnFindFilesClosure([](RegexClass::RegularExpression*, std::string, bool) {});
}
