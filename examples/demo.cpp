// SPDX-License-Identifier: BSL-1.0
// A tour through the library on a real text: every operation on a string, one after the other.
//
//   demo FILE

#include <RegularExpression.hpp>
#include <algorithm>
#include <fstream>
#include <iostream>
#include <iterator>
#include <map>
#include <string>
#include <vector>

using RegexClass::RegularExpression;
using RegexClass::REMatch;

namespace {

void Headline(const std::string& text) { std::cout << "\n--- " << text << "\n"; }

/// A match as line:column and text, with its groups. The column counts bytes from 1.
void Print(const std::vector<REMatch>& match, unsigned int line, unsigned int lineStart) {
  const unsigned int column = static_cast<unsigned int>(match[0].position) - lineStart + 1;
  std::cout << line << ':' << column << ": " << match[0].text;
  // The last two entries are the texts before and behind the match.
  for (std::size_t group = 1; group + 2 < match.size(); ++group) {
    std::cout << "  [" << group << "] " << match[group].text;
  }
  std::cout << '\n';
}

void SearchForTheFirst(RegularExpression& re) {
  Headline("Search: the first heading");
  re.SetExpression("^#+ (.+)$");
  re.AddMatchOption(RegularExpression::MatchNotDotNewline);
  re.SetOnSearching([](RegularExpression*, const std::vector<REMatch>& match, unsigned int line,
                       unsigned int lineStart) { Print(match, line, lineStart); });
  if (!re.Search()) std::cout << "there is none\n";
}

void GrepTheFirst(RegularExpression& re, int wanted) {
  Headline("Grep: the first " + std::to_string(wanted) + " words with a capital inside");
  re.SetExpression("\\b([[:alpha:]][[:lower:]]+)([[:upper:]]\\w*)");
  int seen = 0;
  re.SetOnGreppingClosure([&](RegularExpression*, const std::vector<REMatch>& match,
                              unsigned int line, unsigned int lineStart, bool& goOn) {
    Print(match, line, lineStart);
    goOn = ++seen < wanted;
  });
  re.Grep();
  re.SetOnGreppingClosure(RegularExpression::WalkClosure());
  std::cout << "and " << re.Grep() << " in all\n";
}

void TestTheLines(RegularExpression re, const std::string& text) {
  Headline("Match and MatchAll: lines that begin with, and that are nothing but, lower case words");
  re.SetStringToMatch(text);
  re.SetExpression("\n");
  re.ClearMatchOptions();
  std::vector<std::string> lines;
  re.Split(lines);
  re.SetExpression("[a-z]+( [a-z]+)*");
  std::size_t beginning = 0;
  std::size_t whole = 0;
  for (const std::string& line : lines) {
    re.SetStringToMatch(line);
    beginning += re.Match() ? 1 : 0;
    whole += re.MatchAll() ? 1 : 0;
  }
  std::cout << beginning << " and " << whole << " of " << lines.size() << " lines\n";
}

void CountTheWords(RegularExpression re) {
  Headline("Split: the five most frequent words of four letters or more");
  re.SetExpression("\\b([[:alpha:]]{4,})\\b");  // with a group, Split gives what the group matched
  std::vector<std::string> words;
  re.Split(words);
  std::map<std::string, int> counts;
  for (const std::string& word : words) ++counts[word];
  std::vector<std::pair<int, std::string>> order;
  order.reserve(counts.size());
  for (const auto& [word, count] : counts) order.emplace_back(-count, word);
  std::sort(order.begin(), order.end());
  order.resize(std::min<std::size_t>(order.size(), 5));
  for (const auto& [count, word] : order) std::cout << -count << ' ' << word << '\n';
}

void MergeAndFormat(RegularExpression re) {
  Headline("Merge and Format: the first three headings in capitals, under a subscriber's control");
  re.SetExpression("^(#+) (.+)$");
  re.SetFormatString("$1 \\U$2\\E");
  re.SetMergeCopy(true);
  int seen = 0;
  re.SetOnMergingClosure([&](RegularExpression* object, const std::vector<REMatch>& match,
                             unsigned int line, unsigned int, bool& goOn) {
    std::string replacement;
    object->Format(replacement);
    std::cout << "line " << line << ": " << match[0].text << " -> " << replacement << '\n';
    goOn = ++seen < 3;
  });
  std::string merged;
  re.Merge(merged);
  std::cout << "the text has " << re.GetStringToMatch().size() << " bytes before and "
            << merged.size() << " after\n";
}

void SayWhatIsWrong(RegularExpression re) {
  Headline("ParseExpression: what is wrong with an expression");
  for (const char* const expression : {"(a", "[b-a]", "a{2,1}", "(?z)"}) {
    re.SetExpression(expression);
    const int code = re.ParseExpression();
    std::cout << expression << "  code " << code << ": " << re.GetExpressionError() << '\n';
  }
}

}  // namespace

int main(int argc, char** argv) {
  if (argc != 2) {
    std::cerr << "usage: demo FILE\n";
    return 2;
  }
  std::ifstream file(argv[1], std::ios::binary);
  const std::string text{std::istreambuf_iterator<char>(file), std::istreambuf_iterator<char>()};
  if (!file) {
    std::cerr << "demo: can't read " << argv[1] << '\n';
    return 2;
  }
  std::cout << argv[1] << ", " << text.size() << " bytes\n";

  RegularExpression re;
  re.SetStringToMatch(text);
  SearchForTheFirst(re);
  GrepTheFirst(re, 5);
  TestTheLines(re, text);
  CountTheWords(re);
  MergeAndFormat(re);
  SayWhatIsWrong(re);
}
