// SPDX-License-Identifier: BSL-1.0
#include "engine/syntax/SyntaxTranslation.hpp"

#include <algorithm>
#include <utility>

#include "engine/syntax/Tokens.hpp"

namespace RegexClass::engine {
namespace {

namespace constants = boost::regex_constants;

constexpr std::uint32_t kNotationBits = kEscapeInLists | kCharClasses | kIntervals | kLimitedOps |
                                        kNewlineAlt | kBkPlusQm | kBkBraces | kBkParens | kBkRefs |
                                        kBkVbar;

/// How a dialect writes one operator.
enum class Notation { kPlain, kEscaped, kNone };

class Translator {
 public:
  Translator(std::string_view text, std::uint32_t word)
      : text_(text),
        word_(word),
        perl_((word & kNormal) == kNormal),
        basic_(!perl_ && (word & kBkParens) != 0) {}

  Translation Run() {
    while (position_ < text_.size() && result_.error == constants::error_ok) {
      const char c = text_[position_];
      place_ = std::exchange(nextPlace_, Place::kInside);
      if (c == '\\') {
        Escape();
      } else if (c == '[') {
        List();
      } else {
        token_ = position_++;
        OperatorOrLiteral(c, Notation::kPlain);
      }
    }
    result_.origins.push_back(text_.size());
    return std::move(result_);
  }

 private:
  /// Where in an expression, a group or an alternative a token stands.
  enum class Place { kFirst, kBehindAnchor, kInside };

  bool Has(std::uint32_t bit) const { return (word_ & bit) != 0; }

  Notation NotationOf(char c) const {
    switch (c) {
      case '(':
      case ')':
        return Has(kBkParens) ? Notation::kEscaped : Notation::kPlain;
      case '{':
      case '}':
        if (!Has(kIntervals)) return Notation::kNone;
        return Has(kBkBraces) ? Notation::kEscaped : Notation::kPlain;
      case '+':
      case '?':
        if (Has(kBkPlusQm)) return Notation::kEscaped;
        return Has(kLimitedOps) ? Notation::kNone : Notation::kPlain;
      case '|':
        if (Has(kBkVbar)) return Notation::kEscaped;
        return Has(kLimitedOps) ? Notation::kNone : Notation::kPlain;
      case '\n':
        return Has(kNewlineAlt) ? Notation::kPlain : Notation::kNone;
      default:  // no switch has a say in it
        return Notation::kPlain;
    }
  }

  /// Emits `c`, found in the given notation: as an operator if that is how the dialect writes
  /// it, else as a literal.
  void OperatorOrLiteral(char c, Notation found) {
    static constexpr std::string_view kSwitched = "(){}+?|\n";
    if (kSwitched.find(c) == std::string_view::npos) {
      if (found == Notation::kEscaped || IsOrdinaryHere(c)) Emit('\\');
      if (c == '^' && found == Notation::kPlain && place_ == Place::kFirst) {
        nextPlace_ = Place::kBehindAnchor;
      }
      Emit(c);
    } else if (NotationOf(c) == found && !IsOrdinaryHere(c)) {
      if (c == '(' || c == '|' || c == '\n') nextPlace_ = Place::kFirst;
      Emit(c == '\n' ? '|' : c);
      if (c == '{') Interval();
    } else {
      if (c != '\n') Emit('\\');
      Emit(c);
    }
  }

  /// Whether an operator of the dialect is an ordinary character for the place where it stands,
  /// just before `position_`.
  bool IsOrdinaryHere(char c) const {
    if (c == '}') return !perl_;  // Interval() has taken those that close one
    if (!basic_) return false;
    switch (c) {
      case '*':
        return place_ != Place::kInside;
      case '+':
      case '?':
        return place_ != Place::kInside && NotationOf(c) == Notation::kPlain;
      case '^':
        return place_ != Place::kFirst;
      case '$':
        return position_ != text_.size() && !Follows(')') && !Follows('|') && !Follows('\n');
      default:
        return false;
    }
  }

  /// Whether the operator `c`, as the dialect writes it, stands at `position_`.
  bool Follows(char c) const {
    const std::string_view rest = text_.substr(position_);
    switch (NotationOf(c)) {
      case Notation::kPlain:
        return rest.substr(0, 1) == std::string_view(&c, 1);
      case Notation::kEscaped:
        return rest.size() > 1 && rest[0] == '\\' && rest[1] == c;
      default:
        return false;
    }
  }

  void Escape() {
    if (position_ + 1 == text_.size()) {  // nothing after it: the engine complains
      CopyTo(text_.size());
      return;
    }
    const char c = text_[position_ + 1];
    if (c == 'Q') {  // all is literal up to \E, or to the end
      const std::size_t end = text_.find("\\E", position_);
      CopyTo(end == std::string_view::npos ? text_.size() : end + 2);
    } else if (c == 'c') {
      CopyTo(position_ + SizeOfEscape(text_, position_));
    } else if (TakesBraces(c) && position_ + 2 < text_.size() && text_[position_ + 2] == '{') {
      const std::size_t end = text_.find('}', position_);
      CopyTo(end == std::string_view::npos ? text_.size() : end + 1);
    } else if (c >= '1' && c <= '9' && !Has(kBkRefs)) {
      ++position_;
      CopyTo(position_ + 1);
    } else {
      token_ = position_;
      position_ += 2;
      OperatorOrLiteral(c, Notation::kEscaped);
    }
  }

  /// Escapes such as \x{41}, whose braces are no repeat.
  bool TakesBraces(char c) const {
    return std::string_view(perl_ ? "xpPNgk" : "xpPN").find(c) != std::string_view::npos;
  }

  /// Copies a bracket list. The engine reads lists with escapes and classes allowed, so what is
  /// meant otherwise is escaped.
  void List() {
    CopyTo(position_ + 1);
    if (At('^')) CopyTo(position_ + 1);
    bool first = true;  // a closing bracket in first place stands for itself
    while (position_ < text_.size()) {
      const char c = text_[position_];
      if (c == ']' && !first) {
        CopyTo(position_ + 1);
        return;
      }
      first = false;
      if (c == '\\') {
        if (Has(kEscapeInLists)) {
          CopyTo(position_ + SizeOfEscape(text_, position_));
        } else {
          EmitEscaped();
        }
      } else if (c == '[' && position_ + 1 < text_.size()) {
        Bracketed(text_[position_ + 1]);
      } else {
        CopyTo(position_ + 1);
      }
    }
  }

  /// A left bracket inside a list: the start of [:class:], [.element.], [=equivalent=], or itself.
  void Bracketed(char kind) {
    if (kind == ':' && !Has(kCharClasses)) {
      EmitEscaped();
    } else if (kind == ':' || kind == '.' || kind == '=') {
      const char closing[] = {kind, ']', 0};
      // The name has one character at least, which may be the kind itself, as in [.-.] or [...].
      const std::size_t end = text_.find(closing, std::min(position_ + 3, text_.size()));
      CopyTo(end == std::string_view::npos ? text_.size() : end + 2);
    } else {
      CopyTo(position_ + 1);
    }
  }

  /// Takes the bounds of a repeat and its end, from after the opening. Without the Perl extensions
  /// the engine still reads a brace as itself when proper bounds are followed by anything but the
  /// closing one.
  void Interval() {
    if (perl_) return;
    std::size_t at = position_;
    const auto skip = [&](std::string_view set) {
      const std::size_t start = at;
      at = std::min(text_.find_first_not_of(set, at), text_.size());
      return at != start;
    };
    static constexpr std::string_view kBlanks = " \t\r\n\v\f";
    static constexpr std::string_view kDigits = "0123456789";
    skip(kBlanks);
    const bool bounded = skip(kDigits);
    skip(kBlanks);
    if (bounded && at < text_.size() && text_[at] == ',') {
      ++at;
      skip(kBlanks);
      skip(kDigits);
      skip(kBlanks);
    }
    const std::string_view closing = Has(kBkBraces) ? "\\}" : "}";
    const bool closed = text_.find(closing, at) != std::string_view::npos;
    if (!closed && (!bounded || at == text_.size() || text_.substr(at) == "\\")) {
      return;  // the engine complains
    }
    const bool good = bounded && text_.substr(at, closing.size()) == closing;
    CopyTo(at);
    if (good) {
      position_ += closing.size() - 1;
      CopyTo(position_ + 1);
      return;
    }
    result_.error = constants::error_badbrace;
    result_.errorPosition = result_.text.size();
    CopyTo(text_.size());
  }

  bool At(char c) const { return position_ < text_.size() && text_[position_] == c; }

  void CopyTo(std::size_t end) {
    for (token_ = position_; token_ < end; ++token_) Emit(text_[token_]);
    position_ = end;
  }

  /// Emits a byte that stands for the token in hand.
  void Emit(char c) {
    result_.text += c;
    result_.origins.push_back(token_);
  }

  /// Copies the next byte with a backslash before it.
  void EmitEscaped() {
    token_ = position_;
    Emit('\\');
    CopyTo(position_ + 1);
  }

  const std::string_view text_;
  const std::uint32_t word_;
  const bool perl_;
  const bool basic_;
  std::size_t position_ = 0;
  std::size_t token_ = 0;  // where the token in hand begins
  Place place_ = Place::kFirst;
  Place nextPlace_ = Place::kFirst;
  Translation result_;
};

}  // namespace

Translation Translate(std::string_view text, std::uint32_t word) {
  const bool literal = (word & kLiteral) != 0;
  const bool perl = (word & kNormal) == kNormal;
  const bool plain = (word & kNotationBits) == (kNormal & kNotationBits);

  Translation result;
  if (literal || (perl && plain)) {
    result.text = text;
  } else {
    result = Translator(text, word).Run();
  }
  if (literal) {
    result.flags = boost::regbase::literal;
  } else if (!perl) {
    result.flags = boost::regbase::no_perl_ex;
  }
  if ((word & kIcase) != 0) result.flags |= boost::regbase::icase;
  if ((word & kNoCollate) == 0) result.flags |= boost::regbase::collate;
  if (text.empty() && !perl) result.error = constants::error_empty;
  return result;
}

void ReadPythonNames(Translation& translation, std::string_view defaultNotation) {
  if ((translation.flags & (boost::regbase::literal | boost::regbase::no_perl_ex)) != 0) return;
  constexpr std::string_view kOpening = "(?P<";
  if (defaultNotation.find(kOpening) == std::string_view::npos) return;
  Translation read;
  std::size_t done = 0;
  const auto copyTo = [&](std::size_t end) {
    read.text.append(translation.text, done, end - done);
    for (; done < end; ++done) {
      read.origins.push_back(translation.origins.empty() ? done : translation.origins[done]);
    }
  };
  ForEachToken(defaultNotation, false, [&](const Token& token) {
    if (token.text != "(?P" || defaultNotation.substr(token.at, kOpening.size()) != kOpening)
      return;
    copyTo(token.at + 2);
    ++done;
  });
  copyTo(translation.text.size());
  read.origins.push_back(translation.origins.empty() ? done : translation.origins.back());
  translation.text.swap(read.text);
  translation.origins.swap(read.origins);
}

}  // namespace RegexClass::engine
