// SPDX-License-Identifier: BSL-1.0
// UTF-8 as the wide engine reads it: character by character, over the bytes of a text.
#ifndef REGEXCLASS_ENGINE_UNICODE_UTF8_HPP
#define REGEXCLASS_ENGINE_UNICODE_UTF8_HPP

#include <cstddef>
#include <cstdint>
#include <iterator>
#include <string>

namespace RegexClass::engine {

/// A character of a text as the engine sees it. Most are their code points. Two kinds are not:
/// - a byte that isn't part of well-formed UTF-8 is a character by itself, beyond Unicode, so that
///   it is in no class and in no range;
/// - the engine takes a code point for the end of a line when its low 16 bits are those of one.
///   Beyond the first 65536 that is wrong, and those code points get other numbers.
using EngineChar = std::int32_t;

constexpr EngineChar kLastCodePoint = 0x10FFFF;
constexpr EngineChar kReplacement = 0xFFFD;       // what stands for a byte that isn't UTF-8
constexpr EngineChar kIllFormedByte = 0x11FF00;   // plus the byte
constexpr EngineChar kMovedCodePoint = 0x200000;  // plus a code point with kMovedBit changed
constexpr EngineChar kMovedBit = 0x4000;

inline EngineChar ToEngine(EngineChar codePoint) {
  const EngineChar low = codePoint & 0xFFFF;
  const bool separator = low == 0x85 || low == 0x2028 || low == 0x2029;
  return separator && codePoint > 0xFFFF ? kMovedCodePoint + (codePoint ^ kMovedBit) : codePoint;
}
/// The code point of a character; a byte that isn't UTF-8 stays above kLastCodePoint.
inline EngineChar ToCodePoint(EngineChar c) {
  return c < kMovedCodePoint ? c : (c - kMovedCodePoint) ^ kMovedBit;
}

/// Whether a byte is a character by itself, whether or not `char` has a sign here.
inline bool IsAscii(char byte) { return static_cast<unsigned char>(byte) < 0x80; }

/// A character, and how many bytes it takes.
struct Utf8Char {
  EngineChar character;
  int size;
};

/// The character at `position`, which lies before `last`.
inline Utf8Char DecodeUtf8(const char* position, const char* last) {
  const auto byte = [position](int i) { return static_cast<unsigned char>(position[i]); };
  const auto rest = [byte](int i) { return byte(i) ^ 0x80; };  // below 0x40 for one
  const unsigned char lead = byte(0);
  if (lead < 0x80) return {lead, 1};
  if (lead < 0xE0) {
    if (lead >= 0xC2 && last - position >= 2 && rest(1) < 0x40) {
      return {(lead & 0x1F) << 6 | rest(1), 2};
    }
  } else if (lead < 0xF0) {
    if (last - position >= 3 && (rest(1) | rest(2)) < 0x40) {
      const EngineChar codePoint = (lead & 0x0F) << 12 | rest(1) << 6 | rest(2);
      const bool surrogate = (codePoint & ~0x7FF) == 0xD800;
      if (codePoint >= 0x800 && !surrogate) return {codePoint, 3};
    }
  } else if (lead < 0xF5) {
    if (last - position >= 4 && (rest(1) | rest(2) | rest(3)) < 0x40) {
      const EngineChar codePoint = (lead & 0x07) << 18 | rest(1) << 12 | rest(2) << 6 | rest(3);
      if (codePoint >= 0x10000 && codePoint <= kLastCodePoint) return {ToEngine(codePoint), 4};
    }
  }
  return {kIllFormedByte + lead, 1};
}

/// The character that ends at `position`, which lies after `first`: the one that reading forward
/// from `first` comes to.
inline Utf8Char DecodeUtf8Before(const char* first, const char* position) {
  for (int size = 1; size <= 4 && position - first >= size; ++size) {
    if ((static_cast<unsigned char>(position[-size]) & 0xC0) == 0x80) continue;
    const Utf8Char found = DecodeUtf8(position - size, position);
    if (found.size == size) return found;
    break;
  }
  return {kIllFormedByte + static_cast<unsigned char>(position[-1]), 1};
}

/// Whether `position`, in [first, last], lies inside a character.
inline bool IsInsideUtf8(const char* first, const char* position, const char* last) {
  for (int back = 0; back < 4 && position - first >= back && position != last; ++back) {
    if ((static_cast<unsigned char>(position[-back]) & 0xC0) == 0x80) continue;
    return back != 0 && DecodeUtf8(position - back, last).size > back;
  }
  return false;
}

/// Appends the bytes of a character; those of a byte that wasn't UTF-8 are that byte.
inline void AppendUtf8(EngineChar character, std::string& out) {
  const auto c = static_cast<std::uint32_t>(ToCodePoint(character));
  const auto append = [&out](std::uint32_t byte) { out += static_cast<char>(byte); };
  const auto rest = [&](int shift) { append(0x80 | ((c >> shift) & 0x3F)); };
  if (c < 0x80 || c > kLastCodePoint) {
    append(c & 0xFF);
  } else if (c < 0x800) {
    append(0xC0 | (c >> 6)), rest(0);
  } else if (c < 0x10000) {
    append(0xE0 | (c >> 12)), rest(6), rest(0);
  } else {
    append(0xF0 | (c >> 18)), rest(12), rest(6), rest(0);
  }
}

/// The bytes of a text. What the iterators of a text point to while they are in use.
struct Utf8Text {
  const char* first;
  const char* last;
};

/// A place between two characters of a text.
class Utf8Iterator {
 public:
  using iterator_category = std::bidirectional_iterator_tag;
  using value_type = EngineChar;
  using difference_type = std::ptrdiff_t;
  using pointer = const EngineChar*;
  using reference = EngineChar;

  Utf8Iterator() = default;
  Utf8Iterator(const Utf8Text& text, const char* position) : position_(position), text_(&text) {}

  const char* Position() const { return position_; }
  /// Goes to a byte of the text; false when that lies inside a character.
  bool MoveTo(const char* position) {
    position_ = position;
    return !IsInsideUtf8(text_->first, position, text_->last);
  }

  EngineChar operator*() const {
    return IsAscii(*position_) ? *position_ : DecodeUtf8(position_, text_->last).character;
  }
  Utf8Iterator& operator++() {
    position_ += IsAscii(*position_) ? 1 : DecodeUtf8(position_, text_->last).size;
    return *this;
  }
  Utf8Iterator& operator--() {
    position_ -= IsAscii(position_[-1]) ? 1 : DecodeUtf8Before(text_->first, position_).size;
    return *this;
  }
  Utf8Iterator operator++(int) {
    const Utf8Iterator before = *this;
    ++*this;
    return before;
  }
  Utf8Iterator operator--(int) {
    const Utf8Iterator before = *this;
    --*this;
    return before;
  }
  friend bool operator==(Utf8Iterator a, Utf8Iterator b) { return a.position_ == b.position_; }
  friend bool operator!=(Utf8Iterator a, Utf8Iterator b) { return a.position_ != b.position_; }
  friend bool operator<(Utf8Iterator a, Utf8Iterator b) { return a.position_ < b.position_; }

 private:
  const char* position_ = nullptr;
  const Utf8Text* text_ = nullptr;
};

}  // namespace RegexClass::engine

#endif  // REGEXCLASS_ENGINE_UNICODE_UTF8_HPP
