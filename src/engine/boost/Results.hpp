// SPDX-License-Identifier: BSL-1.0
// From the results of Boost.Regex to a match, and from a match to its formatter.
#ifndef REGEXCLASS_ENGINE_BOOST_RESULTS_HPP
#define REGEXCLASS_ENGINE_BOOST_RESULTS_HPP

#include <algorithm>
#include <cstddef>
#include <iterator>
#include <memory>
#include <set>
#include <string>
#include <string_view>
#include <utility>

#include "engine/Flags.hpp"
#include "engine/Match.hpp"
#include "engine/boost/BoostRegex.hpp"
#include "engine/boost/Flags.hpp"
#include "engine/syntax/Tokens.hpp"
#include "engine/unicode/Utf8.hpp"

namespace RegexClass::engine {

inline const char* ByteAt(const char* place) { return place; }
inline const char* ByteAt(Utf8Iterator place) { return place.Position(); }

/// Makes `match` what `results` say of its text.
template <class Results>
void ToMatch(const Results& results, Match& match) {
  const auto part = [](const auto& sub) {
    return Part{ByteAt(sub.first), ByteAt(sub.second), sub.matched};
  };
  const std::size_t size = results.size();
  Part* parts = match.Reset(part(results.prefix()), part(results.suffix()), size);
  const auto* const lastClosed = &results.get_last_closed_paren();
  auto sub = results.begin();
  for (std::size_t i = 0; i < size; ++i, ++sub) {
    parts[i] = part(*sub);
    if (&*sub == lastClosed) match.SetLastClosed(i);
  }
}

/// Results of one search after the other: a search borrows them, and one that runs inside it gets
/// others.
template <class Results>
class Borrowed {
 public:
  using Spare = std::unique_ptr<Results>;

  explicit Borrowed(Spare& spare)
      : spare_(spare),
        results_(spare != nullptr ? std::move(spare) : std::make_unique<Results>()) {}
  Borrowed(const Borrowed&) = delete;
  Borrowed& operator=(const Borrowed&) = delete;
  ~Borrowed() { spare_ = std::move(results_); }

  Results& operator*() const { return *results_; }

 private:
  Spare& spare_;
  Spare results_;
};

/// The names of the groups of a program: it keeps but their hashes, `text` has them, in the
/// notation of the program. `Find` returns the groups of a name. Null when there is none.
template <class Find>
std::shared_ptr<const GroupNames> NamesIn(std::string_view text, Find find) {
  if (text.find("(?<") == text.npos && text.find("(?'") == text.npos) return nullptr;
  auto names = std::make_shared<GroupNames>();
  std::set<std::string_view> known;
  ForEachToken(text, false, [&](const Token& token) {
    if (token.text != "(?<" && token.text != "(?'") return;
    const std::size_t begin = token.at + token.text.size();
    const std::size_t end = text.find(token.text.back() == '<' ? '>' : '\'', begin);
    const std::string_view name = text.substr(begin, std::min(end, text.size()) - begin);
    if (!known.insert(name).second) return;
    const auto groups = find(name);
    for (auto group = groups.first; group != groups.second; ++group) {
      names->emplace_back(name, group->index);
    }
  });
  return names->empty() ? nullptr : names;
}

/// Throws what the engine throws when it gives up, for a format that is nested too deep.
void RequireShallow(const char* format, FormatSyntax syntax);

/// What `format` makes of a match, byte by byte, with the case of the C library's current locale.
std::string FormatBytes(const Match& match, const char* format, FormatSyntax syntax);

/// A match as the formatter for bytes reads it.
class FormatSource {
 public:
  using value_type = Part;

  explicit FormatSource(const Match& match) : match_(match) {}

  std::size_t size() const { return match_.size(); }
  const Part& operator[](int group) const { return match_[static_cast<std::size_t>(group)]; }
  const Part& prefix() const { return match_.Before(); }
  const Part& suffix() const { return match_.After(); }
  const Part& get_last_closed_paren() const { return match_.LastClosed(); }
  int named_subexpression_index(const char* first, const char* last) const {
    return match_.GroupOf(std::string_view(first, static_cast<std::size_t>(last - first)));
  }
  const Part& named_subexpression(const char* first, const char* last) const {
    return (*this)[named_subexpression_index(first, last)];
  }

 private:
  const Match& match_;
};

/// Appends what `format` makes of a match, byte by byte, with the case of `traits`.
template <class Traits>
void AppendFormat(const Match& match, const char* format, FormatSyntax syntax, const Traits& traits,
                  std::string& out) {
  using Out = std::back_insert_iterator<std::string>;
  const FormatSource source(match);
  boost::BOOST_REGEX_DETAIL_NS::basic_regex_formatter<Out, FormatSource, Traits, const char*>
      formatter(Out(out), source, traits);
  formatter.format(format, format + std::char_traits<char>::length(format), ToBoost(syntax));
}

}  // namespace RegexClass::engine

#endif  // REGEXCLASS_ENGINE_BOOST_RESULTS_HPP
