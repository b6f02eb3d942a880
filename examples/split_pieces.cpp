// SPDX-License-Identifier: BSL-1.0
// Splits a long input in batches, so that its pieces are never in memory all at once, and stops
// where it has seen enough:
//
//   split_pieces WORD FILE     tells the number of WORD among the words of the file
//
//   $ printf 'to be, or not to be' > hamlet
//   $ ./split_pieces not hamlet
//   word 4 of the text; 5 bytes of it weren't looked at

#include <RegularExpression.hpp>
#include <algorithm>
#include <cstddef>
#include <fstream>
#include <iostream>
#include <iterator>
#include <string>
#include <vector>

using RegexClass::RegularExpression;

int main(int argc, char** argv) {
  if (argc != 3) {
    std::cerr << "usage: split_pieces WORD FILE\n";
    return 2;
  }
  std::ifstream file(argv[2], std::ios::binary);
  const std::string text{std::istreambuf_iterator<char>(file), std::istreambuf_iterator<char>()};
  if (!file) {
    std::cerr << "split_pieces: can't read " << argv[2] << '\n';
    return 2;
  }
  const std::string wanted = argv[1];

  RegularExpression re;
  re.SetStringToMatch(text);
  re.SetExpression("\\W+");  // what stands between words

  // Each call gives so many pieces at most and takes what it has used up off the string. The rest
  // moves to the front then, so that a batch should not be too small. (With 4 it is, to show it.)
  re.SetMaximumSplits(4);
  re.SetSplitInputDelete(true);

  std::vector<std::string> words;
  for (std::size_t before = 0; re.Split(words) != 0; before += words.size()) {
    const auto found = std::find(words.begin(), words.end(), wanted);
    if (found != words.end()) {
      std::cout << "word " << before + static_cast<std::size_t>(found - words.begin()) + 1
                << " of the text; " << re.GetStringToMatch().size()
                << " bytes of it weren't looked at\n";
      return 0;
    }
  }
  std::cout << "the text has no such word\n";
  return 1;
}
