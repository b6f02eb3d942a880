// SPDX-License-Identifier: BSL-1.0
#include "matching/MatchVector.hpp"

#include <cstddef>
#include <cstring>

namespace RegexClass {

void ToMatchVector(const boost::cmatch& results, bool context, std::vector<REMatch>& matches) {
  const std::size_t marks = results.size();
  const char* const base = results[0].first - results.position();
  matches.resize(marks + 2);
  for (std::size_t i = 0; i < matches.size(); ++i) {
    // The engine has the prefix at -1 and the suffix at -2.
    const int index = i < marks ? static_cast<int>(i) : static_cast<int>(marks - i) - 1;
    const boost::csub_match& part = results[index];
    REMatch& match = matches[i];
    if (part.matched && (context || i < marks)) {
      match.text.assign(part.first, part.second);
      match.position = static_cast<std::int32_t>(part.first - base);
    } else {
      match.text.clear();
      match.position = -1;
    }
  }
}

std::vector<REMatch> MarksOf(const boost::cmatch& results, const char* text) {
  std::vector<REMatch> marks;
  marks.reserve(results.size());
  for (const boost::csub_match& mark : results) {
    marks.push_back({mark.str(), mark.matched ? static_cast<std::int32_t>(mark.first - text) : -1});
  }
  return marks;
}

Line LineCounter::At(const char* position) {
  while (position_ < position) {
    const auto rest = static_cast<std::size_t>(position - position_);
    const void* const feed = std::memchr(position_, '\n', rest);
    if (feed == nullptr) {
      position_ = position;
    } else {
      position_ = static_cast<const char*>(feed) + 1;
      ++line_.number;
      line_.start = static_cast<unsigned int>(position_ - text_);
    }
  }
  return line_;
}

}  // namespace RegexClass
