// SPDX-License-Identifier: BSL-1.0
// Replaces each ${name} in a text by a value that is looked up, whatever characters the value has.
//
// Merge asks OnMerging before each replacement, and makes it of the format string that the
// notification has left. So the notification computes the text and sets it as the format string.

#include <RegularExpression.hpp>
#include <iostream>
#include <map>
#include <string>
#include <vector>

using RegexClass::RegularExpression;
using RegexClass::REMatch;

namespace {

/// A format string that gives `text` as it is. In the sed syntax two characters are special.
std::string Quoted(const std::string& text) {
  std::string quoted;
  for (const char c : text) {
    if (c == '\\' || c == '&') quoted += '\\';
    quoted += c;
  }
  return quoted;
}

std::string Expand(const std::string& text, const std::map<std::string, std::string>& values) {
  RegularExpression re;
  re.SetExpression("\\$\\{(\\w+)\\}");
  re.SetStringToMatch(text);
  re.SetMergeCopy(true);  // the text between the matches belongs to the result
  re.SetFormatType(RegularExpression::FormatSed);

  re.SetOnMergingClosure([&](RegularExpression* object, const std::vector<REMatch>& match,
                             unsigned int, unsigned int, bool&) {
    const auto value = values.find(match[1].text);
    // An unknown name stays: & is the match itself. Setting the bool to false would leave it as
    // it is too, but end the run.
    object->SetFormatString(value != values.end() ? Quoted(value->second) : "&");
  });

  std::string expanded;
  re.Merge(expanded);
  return expanded;
}

}  // namespace

int main() {
  const std::map<std::string, std::string> values = {
      {"customer", "A&B \\ Co"}, {"amount", "$2"}, {"time", "17:05"}};
  std::cout << Expand("Dear ${customer}, ${amount} of ${nobody} until ${time}.\n", values);
}
