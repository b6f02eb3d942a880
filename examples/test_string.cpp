// SPDX-License-Identifier: BSL-1.0
// Tests a string in the three ways that there are:
//
//   test_string EXPRESSION TEXT
//
//   $ ./test_string '[0-9]+' '17 and 4'
//   begins with a match: yes, '17'
//   is a match as a whole: no
//   holds a match: yes, '17'

#include <RegularExpression.hpp>
#include <iostream>
#include <string>
#include <vector>

using RegexClass::RegularExpression;
using RegexClass::REMatch;

namespace {

std::string matched;

/// A notification can be a plain function. It gets the match itself; the operation only tells
/// whether there was one.
void Keep(RegularExpression*, const std::vector<REMatch>& match, unsigned int, unsigned int) {
  matched = ", '" + match[0].text + "'";
}

void Tell(const char* question, bool answer) {
  std::cout << question << ": " << (answer ? "yes" + matched : "no") << '\n';
}

}  // namespace

int main(int argc, char** argv) {
  if (argc != 3) {
    std::cerr << "usage: test_string EXPRESSION TEXT\n";
    return 2;
  }
  RegularExpression re;
  re.SetExpression(argv[1]);
  re.SetStringToMatch(argv[2]);

  // An operation on a bad expression just answers false. Asking first tells the two apart.
  if (re.ParseExpression() != RegularExpression::NoError) {
    std::cerr << "test_string: " << re.GetExpressionError() << '\n';
    return 2;
  }

  re.SetOnMatching(Keep);   // for Match and MatchAll
  re.SetOnSearching(Keep);  // for Search
  Tell("begins with a match", re.Match());
  Tell("is a match as a whole", re.MatchAll());
  const bool found = re.Search();
  Tell("holds a match", found);
  return found ? 0 : 1;
}
