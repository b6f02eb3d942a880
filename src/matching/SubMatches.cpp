// SPDX-License-Identifier: BSL-1.0
#include "matching/SubMatches.hpp"

#include <algorithm>
#include <cstddef>

namespace RegexClass {
namespace {

/// Fills `mark` from a part of a match, or as one that took no part.
void Fill(REMatch& mark, const engine::Part& part, bool took, const char* text) {
  if (took) {
    mark.text.assign(part.first, part.second);
    mark.position = static_cast<std::int32_t>(part.first - text);
  } else {
    mark.text.clear();
    mark.position = -1;
  }
}

void FillSubMatches(const engine::Match& match, std::vector<REMatch>& subMatches) {
  for (std::size_t i = 0; i < match.size(); ++i) {
    Fill(subMatches[i], match[i], match[i].matched, match.Text());
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

void ToReport(const engine::Match& match, bool context, std::vector<REMatch>& subMatches) {
  subMatches.resize(match.size() + 2);
  FillSubMatches(match, subMatches);
  Fill(subMatches[match.size()], match.Before(), context && match.Before().matched, match.Text());
  Fill(subMatches[match.size() + 1], match.After(), context && match.After().matched, match.Text());
}

void ToSubMatches(const engine::Match& match, std::vector<REMatch>& subMatches) {
  subMatches.resize(match.size());
  FillSubMatches(match, subMatches);
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
