// SPDX-License-Identifier: BSL-1.0
// A match, as all that lies above the engine knows it.
#ifndef REGEXCLASS_ENGINE_MATCH_HPP
#define REGEXCLASS_ENGINE_MATCH_HPP

#include <cstddef>
#include <iterator>
#include <memory>
#include <string>
#include <string_view>
#include <utility>
#include <vector>

namespace RegexClass::engine {

/// Some bytes of the text that was searched. The names of the members are those that the engine's
/// formatter asks for.
struct Part {
  using iterator = const char*;

  const char* first;
  const char* second;  ///< After the last byte.
  bool matched;        ///< Whether it took part; it is empty when it didn't.

  std::size_t Length() const { return static_cast<std::size_t>(second - first); }
  std::string Text() const { return std::string(first, second); }
};

/// The names of an expression's groups, with the number of the group; a name may stand for several
/// groups, of which the first comes first.
using GroupNames = std::vector<std::pair<std::string, int>>;

/// The whole match (0) and the groups (from 1), with what lies before and after. Points into the
/// text, and is good for as long as that is.
class Match {
 public:
  Match() = default;
  Match(const Match&) = delete;
  Match& operator=(const Match&) = delete;

  /// The number of groups, and one for the whole match.
  std::size_t size() const { return size_; }
  /// A part that took no part for a number that is no group's.
  const Part& operator[](std::size_t group) const { return group < size_ ? parts_[group] : none_; }

  /// The start of the text.
  const char* Text() const { return text_; }
  /// What lies between the match before, or the start of the text, and this match.
  const Part& Before() const { return before_; }
  /// What lies between this match and the end of the text.
  const Part& After() const { return after_; }
  /// The group that was closed last.
  const Part& LastClosed() const { return (*this)[lastClosed_]; }

  /// The number of the first group of a name that took part, else of the first one; -1 for no name.
  int GroupOf(std::string_view name) const {
    int found = -1;
    if (names_ == nullptr) return found;
    for (const auto& [each, group] : *names_) {
      if (each != name) continue;
      if ((*this)[static_cast<std::size_t>(group)].matched) return group;
      if (found < 0) found = group;
    }
    return found;
  }

  // For the engine.

  /// The text of the matches to come, and the names of their groups; null for none.
  void Begin(const char* text, const std::shared_ptr<const GroupNames>& names) {
    text_ = text;
    if (names != nullptr) names_ = names;
  }
  /// Becomes a match of `size` parts, which are to be set in what is returned.
  Part* Reset(const Part& before, const Part& after, std::size_t size) {
    before_ = before;
    after_ = after;
    lastClosed_ = size;  // none
    if (size > size_ && size > std::size(few_)) {
      many_.resize(size);
      parts_ = many_.data();
    }
    size_ = size;
    return parts_;
  }
  void SetLastClosed(std::size_t group) { lastClosed_ = group; }

 private:
  const char* text_ = nullptr;
  std::size_t size_ = 0;
  Part few_[8];  // so that most matches need no memory; unset up to a match
  std::vector<Part> many_;
  Part* parts_ = few_;
  Part before_ = {};
  Part after_ = {};
  Part none_ = {};
  std::size_t lastClosed_ = 0;
  std::shared_ptr<const GroupNames> names_;
};

}  // namespace RegexClass::engine

#endif  // REGEXCLASS_ENGINE_MATCH_HPP
