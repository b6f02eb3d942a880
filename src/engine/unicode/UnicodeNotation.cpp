// SPDX-License-Identifier: BSL-1.0
#include "engine/unicode/UnicodeNotation.hpp"

#include <string_view>
#include <utility>

#include "engine/syntax/Tokens.hpp"

namespace RegexClass::engine {
namespace {

class NotationReader {
 public:
  explicit NotationReader(const Translation& translation)
      : text_(translation.text), icase_((translation.flags & boost::regbase::icase) != 0) {}

  UnicodeNotation Run(bool literal) {
    if (!literal) {
      ForEachToken(text_, icase_, [this](const Token& token) {
        if (token.at < position_) return;  // belongs to what was read before
        icase_ = token.icase;
        if (token.text.front() == '[') {
          List(token.at + token.text.size());
        } else if (AtProperty()) {
          Property(text_.size(), "{", "}");
        } else {
          CopyTo(token.at + token.text.size());
        }
      });
    }
    CopyTo(text_.size());
    Emit(0);
    return std::move(result_);
  }

 private:
  void List(std::size_t end) {
    CopyTo(position_ + 1);
    while (position_ < end) {
      const char kind =
          text_[position_] == '[' && position_ + 1 < end ? text_[position_ + 1] : '\0';
      if (kind == ':' || kind == '.' || kind == '=') {
        const char closing[] = {kind, ']', 0};
        const std::size_t close = text_.find(closing, position_ + 3);
        if (close >= end) return CopyTo(end);  // the engine complains
        if (kind == ':') ClassName(text_.substr(position_ + 2, close - position_ - 2));
        CopyTo(close + 2);
      } else if (AtProperty()) {
        Property(end - (text_[end - 1] == ']' ? 1 : 0), "[:", ":]");
      } else {
        CopyTo(position_ + (text_[position_] == '\\' ? SizeOfEscape(text_, position_) : 1));
      }
    }
  }

  /// Takes the opening of [:name:], and with it the sign of its complement. What is no name, as in
  /// [[:<:]], is left as it is.
  void ClassName(std::string_view name) {
    const bool complement = name.size() > 1 && name.front() == '^';
    if (name.size() == 1 || (!complement && !icase_)) return;
    CopyTo(position_ + 2);
    Emit(kClassMark + Caseless() + (complement ? kComplement : 0));
    if (complement) ++position_;
  }

  /// Whether a property follows, or a class that the engine would spoil: where case doesn't count
  /// it takes \l and \u for all letters, also those that have no case.
  bool AtProperty() const {
    const std::string_view rest = text_.substr(position_, 2);
    if (rest.size() < 2 || rest[0] != '\\') return false;
    return std::string_view(icase_ ? "pPlLuU" : "pP").find(rest[1]) != rest.npos;
  }

  /// Takes it, with its name between `open` and `close`. It ends before `end`.
  void Property(std::size_t end, std::string_view open, std::string_view close) {
    const bool inList = open.front() == '[';
    const char letter = text_[position_ + 1];
    const bool complement = letter >= 'A' && letter <= 'Z';
    const bool named = letter == 'p' || letter == 'P';
    std::size_t name = position_ + (named ? 2 : 1);
    std::size_t nameEnd = name;
    const bool braced = named && name < end && text_[name] == '{';
    if (braced) {
      nameEnd = text_.find('}', ++name);
      if (nameEnd >= end) nameEnd = inList ? name : end;
    } else if (name < end) {
      nameEnd += static_cast<std::size_t>(DecodeUtf8(text_.data() + name, TextEnd()).size);
    }
    if (!inList && nameEnd == end && (braced || name == end)) return CopyTo(end);  // not closed
    if (!inList) {
      Emit('\\');
      Emit(complement ? 'P' : 'p');
    }
    for (const char c : open) Emit(c);
    Emit(kClassMark + (named ? kProperty : 0) + Caseless() +
         (inList && complement ? kComplement : 0));
    for (position_ = name; position_ < nameEnd;) {
      const bool wouldEnd = text_[position_] == ':' || text_[position_] == ']';
      if (wouldEnd) {
        Emit('?');
        ++position_;
      } else {
        CopyTo(position_ + 1);
      }
    }
    for (const char c : close) Emit(c);
    if (braced && nameEnd != name) ++position_;
  }

  const char* TextEnd() const { return text_.data() + text_.size(); }
  EngineChar Caseless() const { return icase_ ? kCaseless : 0; }

  /// Copies the characters that begin before `end`.
  void CopyTo(std::size_t end) {
    while (position_ < end) {
      const Utf8Char next = DecodeUtf8(text_.data() + position_, TextEnd());
      const EngineChar codePoint = ToCodePoint(next.character);
      Emit(codePoint > kLastCodePoint ? kReplacement : codePoint);
      position_ += static_cast<std::size_t>(next.size);
    }
  }

  void Emit(EngineChar c) {
    result_.text.push_back(c);
    result_.positions.push_back(position_);
  }

  const std::string_view text_;
  bool icase_;  // case doesn't count here
  std::size_t position_ = 0;
  UnicodeNotation result_;
};

}  // namespace

UnicodeNotation ToUnicode(const Translation& translation) {
  return NotationReader(translation).Run((translation.flags & boost::regbase::literal) != 0);
}

}  // namespace RegexClass::engine
