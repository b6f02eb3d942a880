// SPDX-License-Identifier: BSL-1.0
#include "output/Printable.hpp"

#include <algorithm>
#include <cstddef>

namespace tool {

namespace {

unsigned char ByteAt(std::string_view text, std::size_t at) {
  return static_cast<unsigned char>(text[at]);
}

/// How many bytes the character of UTF-8 has that the text begins with; 0 when that is none.
std::size_t CharacterLength(std::string_view text) {
  const unsigned char lead = ByteAt(text, 0);
  if (lead < 0x80) return 1;
  if (lead < 0xC2 || lead > 0xF4) return 0;
  const std::size_t length = lead < 0xE0 ? 2 : lead < 0xF0 ? 3 : 4;
  if (text.size() < length) return 0;
  for (std::size_t at = 1; at < length; ++at) {
    if ((ByteAt(text, at) & 0xC0U) != 0x80) return 0;
  }
  return length;
}

/// Of what isn't UTF-8, those bytes are control characters that are so in the encodings of one
/// byte.
bool IsControl(std::string_view text, std::size_t length) {
  const unsigned char first = ByteAt(text, 0);
  if (length == 0) return first < 0xA0;
  if (length == 1) return first < 0x20 || first == 0x7F;
  return first == 0xC2 && ByteAt(text, 1) < 0xA0;
}

std::string EscapeOf(unsigned char byte) {
  constexpr std::string_view kNamed = "\a\b\t\n\v\f\r";
  const std::size_t named = kNamed.find(static_cast<char>(byte));
  if (named != std::string_view::npos) return {'\\', "abtnvfr"[named]};
  const auto digit = [byte](unsigned int shift) {
    return static_cast<char>('0' + (byte >> shift & 7U));
  };
  return {'\\', digit(6), digit(3), digit(0)};
}

template <class Passes>
std::string Printable(std::string_view text, const Passes& passes) {
  std::string printable;
  printable.reserve(text.size());
  for (std::size_t at = 0; at < text.size();) {
    const std::string_view rest = text.substr(at);
    const std::size_t length = CharacterLength(rest);
    const std::string_view character = rest.substr(0, std::max<std::size_t>(length, 1));
    at += character.size();
    if (!IsControl(rest, length) || passes(rest)) {
      printable += character;
    } else {
      for (std::size_t i = 0; i < character.size(); ++i) printable += EscapeOf(ByteAt(rest, i));
    }
  }
  return printable;
}

}  // namespace

std::string PrintableName(std::string_view name) {
  return Printable(name, [](std::string_view) { return false; });
}

std::string PrintableText(std::string_view text) {
  return Printable(text, [](std::string_view rest) {
    return rest[0] == '\t' || rest[0] == '\n' || rest.substr(0, 2) == "\r\n";
  });
}

}  // namespace tool
