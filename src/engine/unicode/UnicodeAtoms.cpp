// SPDX-License-Identifier: BSL-1.0
#include "engine/unicode/UnicodeAtoms.hpp"

#include <algorithm>
#include <cstddef>
#include <map>
#include <string>
#include <utility>
#include <vector>

namespace RegexClass::engine {
namespace {

ByteSet Bytes(std::size_t first, std::size_t last) {
  ByteSet bytes;
  for (; first <= last; ++first) bytes.set(first);
  return bytes;
}

std::string Utf8(EngineChar c) {
  std::string bytes;
  AppendUtf8(c, bytes);
  return bytes;
}

/// Collects characters, and tells them as a language: that of their bytes, or a little more.
class CharacterSet {
 public:
  /// Adds [first, last], which all take the same number of bytes.
  void Add(EngineChar first, EngineChar last) {
    const EngineChar step = first < 0x80      ? 1
                            : first < 0x800   ? 1 << 6
                            : first < 0x10000 ? 1 << 12
                                              : 1 << 18;
    while (first <= last) {
      const EngineChar next = (first | (step - 1)) + 1;
      AddBytes(Utf8(first), Utf8(std::min(last, next - 1)));
      first = next;
    }
  }

  Tree ToTree() const {
    constexpr std::size_t kMost = 8;  // parts
    std::vector<Branch> parts = Parts([](const Tail& a, const Tail& b) { return a == b; });
    if (parts.size() > kMost) {
      parts = Parts([](const Tail& a, const Tail& b) { return a.size() == b.size(); });
    }
    if (parts.empty()) return Tree::Of({});
    std::vector<Tree> alternatives;
    for (const auto& [lead, tail] : parts) {
      std::vector<Tree> sequence = {Tree::Of(lead)};
      for (const ByteSet& bytes : tail) sequence.push_back(Tree::Of(bytes));
      alternatives.push_back(Tree::Sequence(std::move(sequence)));
    }
    return Tree::Alternatives(std::move(alternatives));
  }

 private:
  using Tail = std::vector<ByteSet>;  // the bytes after the first one
  struct Branch {
    ByteSet lead;
    Tail tail;
  };

  /// Adds what lies from one character to another with the same first byte.
  void AddBytes(const std::string& first, const std::string& last) {
    Tail& tail = tails_[static_cast<unsigned char>(first[0])];
    tail.resize(first.size() - 1);
    bool alike = true;  // up to there
    for (std::size_t i = 1; i < first.size(); ++i) {
      tail[i - 1] |=
          alike ? Bytes(static_cast<unsigned char>(first[i]), static_cast<unsigned char>(last[i]))
                : Bytes(0x80, 0xBF);
      alike = alike && first[i] == last[i];
    }
  }

  /// The characters with those together whose tails are `alike`.
  template <class Alike>
  std::vector<Branch> Parts(Alike alike) const {
    std::vector<Branch> parts;
    for (const auto& [lead, tail] : tails_) {
      auto part = std::find_if(parts.begin(), parts.end(), [&, &own = tail](const Branch& each) {
        return alike(each.tail, own);
      });
      if (part == parts.end()) part = parts.insert(part, {{}, tail});
      part->lead.set(lead);
      for (std::size_t i = 0; i < tail.size(); ++i) part->tail[i] |= tail[i];
    }
    return parts;
  }

  std::map<unsigned char, Tail> tails_;  // by the first byte
};

/// The language of what isn't ASCII, and of the members of `ascii`.
Tree WithAllBeyond(const ByteSet& ascii) {
  Tree beyond = Tree::Sequence(
      {Tree::Of(Bytes(0x80, 0xFF)), Tree::Repeat(Tree::Of(Bytes(0x80, 0xBF)), 0, 3)});
  if (ascii.none()) return beyond;
  return Tree::Alternatives({Tree::Of(ascii), std::move(beyond)});
}

template <class Matches>
ByteSet Ascii(const Matches& matches) {
  ByteSet bytes;
  for (EngineChar c = 0; c < 0x80; ++c) bytes[static_cast<std::size_t>(c)] = matches(c);
  return bytes;
}

/// Collects all characters in ascending order, members of a set and others, and tells the members
/// as exactly the language of their bytes. If the set has the bytes that aren't UTF-8, too, each of
/// them is something unknown.
class ExactSet {
 public:
  explicit ExactSet(bool illFormed) : illFormed_(illFormed) {}

  /// Adds [first, last], which all take the same number of bytes.
  void Add(EngineChar first, EngineChar last, bool member) {
    if (!member && !illFormed_) return;
    // Split so that in each part a byte has all its values or the same one throughout.
    for (int bits = 6; bits <= 18; bits += 6) {
      const EngineChar low = (1 << bits) - 1;
      if (first < 0x80 || (first & ~low) == (last & ~low)) continue;
      if ((first & low) != 0) {
        Add(first, first | low, member);
        return Add((first | low) + 1, last, member);
      }
      if ((last & low) != low) {
        Add(first, (last & ~low) - 1, member);
        return Add(last & ~low, last, member);
      }
    }
    rows_.push_back({Utf8(first), Utf8(last), member});
  }

  Tree ToTree() const { return Rest(0, rows_.size(), 0); }

 private:
  struct Row {
    std::string first, last;  // the least and the largest value of each byte
    bool member;
  };

  /// What follows the first `at` bytes of some rows, which have these alike.
  Tree Rest(std::size_t begin, std::size_t end, std::size_t at) const {
    if (begin != end && rows_[begin].first.size() == at) {
      return rows_[begin].member ? Tree::Sequence() : Tree::Of({});
    }
    std::vector<std::pair<ByteSet, Tree>> parts;
    ByteSet illFormed = at == 0 ? Bytes(0x80, 0xFF) : Bytes(0, 0xFF);
    while (begin != end) {
      const Row& row = rows_[begin];
      const ByteSet bytes = Bytes(static_cast<unsigned char>(row.first[at]),
                                  static_cast<unsigned char>(row.last[at]));
      std::size_t next = begin;
      while (next != end && rows_[next].first[at] == row.first[at]) ++next;
      Tree rest = Rest(begin, next, at + 1);
      illFormed &= ~bytes;
      const auto alike = std::find_if(parts.begin(), parts.end(),
                                      [&](const auto& part) { return IsSame(part.second, rest); });
      if (alike != parts.end()) {
        alike->first |= bytes;
      } else {
        parts.emplace_back(bytes, std::move(rest));
      }
      begin = next;
    }
    if (illFormed_) parts.emplace_back(illFormed, Tree::Unknown());
    std::vector<Tree> alternatives;
    alternatives.reserve(parts.size() + 1);
    for (auto& [bytes, rest] : parts) {
      alternatives.push_back(Tree::Sequence({Tree::Of(bytes), std::move(rest)}));
    }
    if (illFormed_ && at != 0) {
      alternatives.push_back(
          Tree::Sequence({Tree::Asserted(Assertion::kNoMoreBytes), Tree::Unknown()}));
    }
    return alternatives.empty() ? Tree::Of({}) : Tree::Alternatives(std::move(alternatives));
  }

  static bool IsSame(const Tree& a, const Tree& b) {
    return a.kind == b.kind && a.bytes == b.bytes && a.parts.size() == b.parts.size() &&
           std::equal(a.parts.begin(), a.parts.end(), b.parts.begin(), IsSame);
  }

  const bool illFormed_;
  std::vector<Row> rows_;
};

/// The characters that `matches` is true of, which beyond ASCII it is or isn't from one of
/// `changes` up to the next.
template <class Matches>
Tree Where(const Matches& matches, std::vector<EngineChar> changes, bool exact) {
  const bool illFormed = matches(kIllFormedByte + 0x80);
  if (illFormed && !exact) return WithAllBeyond(Ascii(matches));
  CharacterSet set;
  ExactSet exactSet(illFormed);
  const auto add = [&](EngineChar first, EngineChar last, bool member) {
    if (exact) {
      exactSet.Add(first, last, member);
    } else if (member) {
      set.Add(first, last);
    }
  };
  for (EngineChar c = 0; c < 0x80; ++c) add(c, c, matches(c));
  constexpr EngineChar kEnd = kLastCodePoint + 1;
  const auto isOutside = [](EngineChar c) { return c < 0x80 || c >= kEnd; };
  changes.erase(std::remove_if(changes.begin(), changes.end(), isOutside), changes.end());
  changes.insert(changes.end(), {0x80, 0x800, 0xD800, 0xE000, 0x10000, kEnd});
  std::sort(changes.begin(), changes.end());
  for (std::size_t i = 0; changes[i] != kEnd; ++i) {
    const EngineChar first = changes[i];
    const bool surrogates = first >= 0xD800 && first < 0xE000;
    if (first == changes[i + 1] || surrogates) continue;
    add(first, changes[i + 1] - 1, matches(ToEngine(first)));
  }
  return exact ? exactSet.ToTree() : set.ToTree();
}

}  // namespace

Tree Atoms<UnicodeTraits>::Literal(EngineChar literal) const {
  if (cases_.in[1]) {
    const auto matches = [&](EngineChar c) {
      return cases_.Any([&](bool icase) { return UnicodeTraits::translate(c, icase) == literal; });
    };
    std::vector<EngineChar> changes = UnicodeTraits::CaseChanges();
    changes.insert(changes.end(), {literal, literal + 1});
    return Where(matches, std::move(changes), exact_);
  }
  if (exact_ && literal > kLastCodePoint) return Tree::Unknown();
  std::vector<Tree> bytes;
  for (const char byte : Utf8(literal)) {
    const auto value = static_cast<unsigned char>(byte);
    bytes.push_back(Tree::Of(Bytes(value, value)));
  }
  return bytes.size() == 1 ? bytes.front() : Tree::Sequence(std::move(bytes));
}

Tree Atoms<UnicodeTraits>::Set(const detail::re_syntax_base* state) const {
  using SetState = detail::re_set_long<UnicodeTraits::char_class_type>;
  const auto& set = *static_cast<const SetState*>(state);
  if (!set.singleton) throw NotUnderstood();
  const auto matches = [&](const EngineChar c) {
    return cases_.Any([&](bool icase) {
      const EngineChar* const end = &c + 1;
      return detail::re_is_set_member(&c, end, &set, regex_.get_data(), icase) == end;
    });
  };
  // The order of characters is no order of numbers.
  const bool collates = (regex_.flags() & boost::regex_constants::collate) != 0;
  if (set.cequivalents != 0 || (set.cranges != 0 && collates)) {
    if (exact_) throw NotUnderstood();
    return WithAllBeyond(Ascii(matches));
  }
  std::vector<EngineChar> changes;
  regex_.get_traits().AppendChanges(set.cclasses | set.cnclasses, changes);
  if (cases_.in[1]) {
    const std::vector<EngineChar>& cases = UnicodeTraits::CaseChanges();
    changes.insert(changes.end(), cases.begin(), cases.end());
  }
  // After the state stand the characters by themselves, and the ends of ranges, each with a zero
  // after it.
  const auto* member = reinterpret_cast<const EngineChar*>(&set + 1);
  for (unsigned int i = 0; i < set.csingles + 2 * set.cranges; ++i) {
    changes.insert(changes.end(), {*member, *member + 1});
    member += *member == 0 && i < set.csingles ? 1 : 2;
  }
  return Where(matches, std::move(changes), exact_);
}

Tree Atoms<UnicodeTraits>::Dot(bool separators, bool zero) const {
  const auto matches = [=](EngineChar c) {
    return (separators || !detail::is_separator(c)) && (zero || c != 0);
  };
  if (!exact_) return WithAllBeyond(Ascii(matches));
  return Where(matches, {0x85, 0x86, 0x2028, 0x202A}, true);
}

}  // namespace RegexClass::engine
