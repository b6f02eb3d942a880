// SPDX-License-Identifier: BSL-1.0
// Prints the matches in files, with what couldn't be searched:
//
//   search_files EXPRESSION PATTERN
//
//   $ ./search_files '#include <c\w+>' '*.cpp;*.hpp'
//   hello.cpp:1: #include <cstdio>

#include <RegularExpression.hpp>
#include <cstring>
#include <iostream>
#include <string>
#include <vector>

using RegexClass::RegularExpression;
using RegexClass::REMatch;

int main(int argc, char** argv) {
  if (argc != 3) {
    std::cerr << "usage: search_files EXPRESSION PATTERN\n";
    return 2;
  }
  RegularExpression re;
  re.SetExpression(argv[1]);
  re.SetFilesToMatch(argv[2]);
  re.SetDirectoryRecursion(true);
  if (re.ParseExpression() != RegularExpression::NoError) {
    std::cerr << "search_files: " << re.GetExpressionError() << '\n';
    return 2;
  }

  re.SetOnGreppingFilesClosure([](RegularExpression*, const std::string& file,
                                  const std::vector<REMatch>& match, unsigned int line, bool&) {
    // A subscriber that sets the bool to false has seen enough of this file.
    std::cout << file << ':' << line << ": " << match[0].text << '\n';
  });
  const unsigned int matches = re.GrepFiles();

  // A file that fails is no reason to stop, and no exception: it stands in a list.
  const auto* const problems = re.GetGrepFilesErrors();
  if (problems != nullptr) {
    for (const RegularExpression::FileSearchProblem& problem : *problems) {
      std::cerr << "search_files: " << problem.file << ": "
                << (problem.code != 0 ? std::strerror(static_cast<int>(problem.code))
                                      : "the expression is too complex for this file")
                << '\n';
    }
  }
  return problems != nullptr ? 2 : matches > 0 ? 0 : 1;
}
