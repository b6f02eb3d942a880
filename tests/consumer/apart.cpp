// SPDX-License-Identifier: BSL-1.0
// What a program relies on that wasn't compiled with the library: a closure passes into it and out
// again, and the engine's exception is caught on the way.
#include <RegularExpression.hpp>

#include <boost/regex/pattern_except.hpp>

int main() {
  using RegexClass::RegularExpression;
  RegularExpression re;
  re.SetStringToMatch("ba");
  re.SetExpression("a");
  std::size_t position = 0;
  re.SetOnGreppingClosure([&](RegularExpression*, const std::vector<RegexClass::REMatch>& match,
                              unsigned int, unsigned int,
                              bool&) { position = static_cast<std::size_t>(match[0].position); });
  re.SetOnGreppingClosure(re.GetOnGreppingClosure());
  if (re.Grep() != 1 || position != 1 || !re.GetOnMergingClosure().empty()) return 1;
  re.SetExpression("(?=a\\K)");  // its match would end before it begins
  try {
    re.Search();
  } catch (const boost::regex_error&) {
    return 0;
  }
  return 2;
}
