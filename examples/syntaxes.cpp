// SPDX-License-Identifier: BSL-1.0
// One text under several syntaxes. The same thing is written differently in each of them, and the
// same expression means different things:
//
//   EmacsSyntax: \(ab\|cd\)+ finds 'abcd', (ab|cd)+ finds '(ab|cd)'

#include <RegularExpression.hpp>
#include <iostream>
#include <string>
#include <vector>

using RegexClass::RegularExpression;
using RegexClass::REMatch;

namespace {

struct Syntax {
  const char* name;
  RegularExpression::Options option;
  const char* expression;  // ab or cd, once or more, as this syntax has it
};

constexpr Syntax kSyntaxes[] = {
    {"NormalSyntax", RegularExpression::NormalSyntax, "(?:ab|cd)+"},  // the start value
    {"ExtendedSyntax", RegularExpression::ExtendedSyntax, "(ab|cd)+"},
    {"EgrepSyntax", RegularExpression::EgrepSyntax, "(ab\ncd)+"},
    {"AwkSyntax", RegularExpression::AwkSyntax, "(a[\\x62]|cd)+"},
    {"EmacsSyntax", RegularExpression::EmacsSyntax, "\\(ab\\|cd\\)+"},
    {"BasicSyntax", RegularExpression::BasicSyntax, "\\(ab\\)*\\(cd\\)\\{1,\\}"},  // nearly
    {"GrepSyntax", RegularExpression::GrepSyntax, "\\(ab\ncd\\)\\{1,\\}"},
};

/// The first match, or that there is none. `re` has its syntax and its text.
std::string Find(RegularExpression& re, const std::string& expression) {
  std::string found = "finds nothing";
  re.SetExpression(expression);
  if (re.ParseExpression() != RegularExpression::NoError) return re.GetExpressionError();
  re.SetOnSearchingClosure([&](RegularExpression*, const std::vector<REMatch>& match, unsigned int,
                               unsigned int) { found = "finds '" + match[0].text + "'"; });
  re.Search();
  return found;
}

}  // namespace

int main() {
  for (const Syntax& syntax : kSyntaxes) {
    RegularExpression re;
    re.SetStringToMatch("abcd (ab|cd)+");
    // Takes the place of the syntax that is set. Icase and the like would stay.
    re.AddExpressionOption(syntax.option);
    std::cout << syntax.name << ": " << syntax.expression << ' ' << Find(re, syntax.expression)
              << ", (ab|cd)+ " << Find(re, "(ab|cd)+") << '\n';
  }

  // A syntax is a set of switches, and each can be turned on and off by itself.
  RegularExpression re;
  re.SetStringToMatch("aab (ab)");
  re.AddExpressionOption(RegularExpression::ExtendedSyntax);
  re.AddExpressionOption(RegularExpression::BkParens);
  std::cout << "ExtendedSyntax with BkParens: (ab) " << Find(re, "(ab)") << '\n';
}
