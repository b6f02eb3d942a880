// SPDX-License-Identifier: BSL-1.0
// Prints where the first COUNT matches in a file are, and doesn't look at the rest:
//
//   walk_with_stop COUNT EXPRESSION FILE
//
//   $ ./walk_with_stop 2 'TODO|FIXME' walk_with_stop.cpp
//   6:28: TODO       the line, the column in bytes, and the match
//   6:33: FIXME

#include <RegularExpression.hpp>
#include <cstdlib>
#include <fstream>
#include <iostream>
#include <iterator>
#include <string>
#include <vector>

using RegexClass::RegularExpression;
using RegexClass::REMatch;

int main(int argc, char** argv) {
  const long wanted = argc == 4 ? std::strtol(argv[1], nullptr, 10) : 0;
  if (wanted <= 0) {
    std::cerr << "usage: walk_with_stop COUNT EXPRESSION FILE\n";
    return 2;
  }
  std::ifstream file(argv[3], std::ios::binary);
  const std::string text{std::istreambuf_iterator<char>(file), std::istreambuf_iterator<char>()};
  if (!file) {
    std::cerr << "walk_with_stop: can't read " << argv[3] << '\n';
    return 2;
  }

  RegularExpression re;
  re.SetExpression(argv[2]);
  re.SetStringToMatch(text);
  if (re.ParseExpression() != RegularExpression::NoError) {
    std::cerr << "walk_with_stop: " << re.GetExpressionError() << '\n';
    return 2;
  }

  long seen = 0;
  bool stopped = false;
  re.SetOnGreppingClosure([&](RegularExpression*, const std::vector<REMatch>& match,
                              unsigned int line, unsigned int lineStart, bool& goOn) {
    const unsigned int column = static_cast<unsigned int>(match[0].position) - lineStart + 1;
    std::cout << line << ':' << column << ": " << match[0].text << '\n';
    goOn = ++seen < wanted;  // false ends the walk; this match counts all the same
    stopped = !goOn;
  });
  std::cout << re.Grep() << " matches" << (stopped ? ", and perhaps more" : " in all") << '\n';
  return seen > 0 ? 0 : 1;
}
