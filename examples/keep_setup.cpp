// SPDX-License-Identifier: BSL-1.0
// Keeps a set-up in a file and runs it again:
//
//   keep_setup save FILE EXPRESSION    keeps an expression, without regard to case
//   keep_setup run FILE < TEXT         prints the first match of it in each line of the text
//
//   $ ./keep_setup save users.setup '(\w+)@(\w+)'
//   $ printf 'to ANN@example\nto nobody\n' | ./keep_setup run users.setup
//   1: ANN@example

#include <RegularExpression.hpp>
#include <fstream>
#include <iostream>
#include <string>
#include <vector>

namespace {

using RegexClass::RegularExpression;

int Fail(const std::string& what) {
  std::cerr << "keep_setup: " << what << '\n';
  return 1;
}

int Save(const std::string& file, const std::string& expression) {
  RegularExpression re;
  re.AddExpressionOption(RegularExpression::Icase);
  re.SetExpression(expression);
  // Try it now, so that no bad expression is kept.
  if (re.ParseExpression() != RegularExpression::NoError) return Fail(re.GetExpressionError());

  // The lengths in the record count bytes, so no line end may be translated.
  std::ofstream out(file, std::ios::binary);
  out << re;
  out.close();
  return out ? 0 : Fail("can't write " + file);
}

int Run(const std::string& file) {
  RegularExpression re;
  std::ifstream in(file, std::ios::binary);
  if (!(in >> re)) return Fail(file + " holds no set-up");

  // A record carries settings alone; notifications are set by whoever reads it.
  int number = 0;
  re.SetOnSearchingClosure(
      [&](RegularExpression*, const std::vector<RegexClass::REMatch>& match, unsigned int,
          unsigned int) { std::cout << number << ": " << match[0].text << '\n'; });
  for (std::string line; std::getline(std::cin, line);) {
    ++number;
    re.SetStringToMatch(line);
    re.Search();
  }
  return 0;
}

}  // namespace

int main(int argc, char** argv) {
  const std::vector<std::string> arguments(argv + 1, argv + argc);
  if (arguments.size() == 3 && arguments[0] == "save") return Save(arguments[1], arguments[2]);
  if (arguments.size() == 2 && arguments[0] == "run") return Run(arguments[1]);
  return Fail("save FILE EXPRESSION, or run FILE");
}
