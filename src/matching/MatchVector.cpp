// SPDX-License-Identifier: BSL-1.0
#include "matching/MatchVector.hpp"

#include <algorithm>
#include <cstddef>

namespace RegexClass {
namespace {

/// Fills `match` from a part of the results, or as one that took no part.
void Fill(REMatch& match, const boost::csub_match& part, bool took, const char* text) {
  if (took) {
    match.text.assign(part.first, part.second);
    match.position = static_cast<std::int32_t>(part.first - text);
  } else {
    match.text.clear();
    match.position = -1;
  }
}

unsigned int CountFeeds(const char* first, const char* last) {
  constexpr std::ptrdiff_t kMost = 255;  // fit in a byte, so that the loop counts many at a time
  unsigned int feeds = 0;
  while (first < last) {
    const char* const end = first + std::min(kMost, last - first);
    unsigned char some = 0;
    for (; first != end; ++first) {
      if (*first == '\n') ++some;
    }
    feeds += some;
  }
  return feeds;
}

}  // namespace

void ToMatchVector(const boost::cmatch& results, bool context, std::vector<REMatch>& matches) {
  const std::size_t marks = results.size();
  const char* const base = results[0].first - results.position();
  matches.resize(marks + 2);
  for (std::size_t i = 0; i < matches.size(); ++i) {
    // The engine has the prefix at -1 and the suffix at -2.
    const int index = i < marks ? static_cast<int>(i) : static_cast<int>(marks - i) - 1;
    const boost::csub_match& part = results[index];
    Fill(matches[i], part, part.matched && (context || i < marks), base);
  }
}

void ToMarks(const boost::cmatch& results, const char* text, std::vector<REMatch>& marks) {
  marks.resize(results.size());
  for (std::size_t i = 0; i < marks.size(); ++i) {
    const boost::csub_match& mark = results[static_cast<int>(i)];
    Fill(marks[i], mark, mark.matched, text);
  }
}

unsigned int LineCounter::NumberAt(const char* position) {
  number_ += CountFeeds(position_, position);
  position_ = std::max(position_, position);
  return number_;
}

Line LineCounter::At(const char* position) {
  if (NumberAt(position) != line_.number) {
    const char* start = position_;
    while (start[-1] != '\n') --start;
    line_ = {number_, static_cast<unsigned int>(start - text_)};
  }
  return line_;
}

}  // namespace RegexClass
