// SPDX-License-Identifier: BSL-1.0
// Replaces matches in files, keeps what they were, and tells what couldn't be changed:
//
//   change_files EXPRESSION FORMAT PATTERN
//
//   $ ./change_files '(\w+) (\w+)' '$2 $1' '*.txt'
//   names.txt:1: ann smith
//   1 replaced; the old files are beside the new ones as *.old

#include <RegularExpression.hpp>
#include <cstring>
#include <iostream>
#include <string>
#include <vector>

using RegexClass::RegularExpression;
using RegexClass::REMatch;

namespace {

/// What went wrong with a file, in words.
std::string Words(const RegularExpression::FileChangeProblem& problem) {
  switch (problem.kind) {
    case RegularExpression::TextChanged:
      return "somebody else has changed it meanwhile";
    case RegularExpression::RestoreAttributesFailed:
      return "it is changed, but has another mode now";
    default:
      return std::strerror(static_cast<int>(problem.lastError));
  }
}

}  // namespace

int main(int argc, char** argv) {
  if (argc != 4) {
    std::cerr << "usage: change_files EXPRESSION FORMAT PATTERN\n";
    return 2;
  }
  RegularExpression re;
  re.SetExpression(argv[1]);
  re.SetFormatString(argv[2]);
  re.SetFilesToMatch(argv[3]);
  re.SetSaveExtension("old");
  if (re.ParseExpression() != RegularExpression::NoError) {
    std::cerr << "change_files: " << re.GetExpressionError() << '\n';
    return 2;
  }

  re.SetOnChangingFilesClosure([](RegularExpression*, const std::string& file,
                                  const std::vector<REMatch>& match, unsigned int line, bool&) {
    // A subscriber that sets the bool to false keeps this match and the rest of the file.
    std::cout << file << ':' << line << ": " << match[0].text << '\n';
  });
  std::cout << re.ChangeFiles() << " replaced; the old files are beside the new ones as *.old\n";

  // A file with a problem has kept its content; the others are changed all the same.
  const auto* const problems = re.GetChangeFilesErrors();
  if (problems == nullptr) return 0;
  for (const RegularExpression::FileChangeProblem& problem : *problems) {
    std::cerr << "change_files: " << problem.file << ": " << Words(problem) << '\n';
  }
  return 2;
}
