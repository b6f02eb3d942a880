#include "engine/SyntaxTranslation.hpp"

#include <algorithm>

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
      : text_(text), word_(word), perl_((word & kNormal) == kNormal) {}

  Translation Run() {
    while (position_ < text_.size() && result_.error == constants::error_ok) {
      const char c = text_[position_];
      if (c == '\\') {
        Escape();
      } else if (c == '[') {
        List();
      } else {
        ++position_;
        OperatorOrLiteral(c, Notation::kPlain);
      }
    }
    return std::move(result_);
  }

 private:
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
      if (found == Notation::kEscaped) result_.text += '\\';
      result_.text += c;
    } else if (NotationOf(c) == found) {
      result_.text += c == '\n' ? '|' : c;
      if (c == '{') CheckInterval();
    } else {
      if (c != '\n') result_.text += '\\';
      result_.text += c;
    }
  }

  void Escape() {
    if (position_ + 1 == text_.size()) {  // nothing behind it: the engine complains
      result_.text += text_[position_++];
      return;
    }
    const char c = text_[position_ + 1];
    if (c == 'Q') {  // all is literal up to \E, or to the end
      const std::size_t end = text_.find("\\E", position_);
      CopyTo(end == std::string_view::npos ? text_.size() : end + 2);
    } else if (c == 'c') {  // \cX names a control character, whatever X is
      CopyTo(std::min(position_ + 3, text_.size()));
    } else if (TakesBraces(c) && position_ + 2 < text_.size() && text_[position_ + 2] == '{') {
      const std::size_t end = text_.find('}', position_);
      CopyTo(end == std::string_view::npos ? text_.size() : end + 1);
    } else if (c >= '1' && c <= '9' && !Has(kBkRefs)) {
      result_.text += c;
      position_ += 2;
    } else {
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
          CopyTo(std::min(position_ + 2, text_.size()));
        } else {
          result_.text += "\\\\";
          ++position_;
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
      result_.text += "\\[";
      ++position_;
    } else if (kind == ':' || kind == '.' || kind == '=') {
      const char closing[] = {kind, ']', 0};
      // The name has one character at least, which may be the kind itself, as in [.-.] or [...].
      const std::size_t end = text_.find(closing, std::min(position_ + 3, text_.size()));
      CopyTo(end == std::string_view::npos ? text_.size() : end + 2);
    } else {
      CopyTo(position_ + 1);
    }
  }

  /// Behind the opening of a bounded repeat. Without the Perl extensions the engine still reads
  /// a brace as itself when proper bounds are followed by anything but the closing one.
  void CheckInterval() {
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
    if (!skip(kDigits)) return;  // the engine complains
    skip(kBlanks);
    if (at < text_.size() && text_[at] == ',') {
      ++at;
      skip(kBlanks);
      skip(kDigits);
      skip(kBlanks);
    }
    const std::string_view closing = Has(kBkBraces) ? "\\}" : "}";
    if (at == text_.size() || text_.substr(at) == "\\") return;  // the engine complains
    if (text_.substr(at, closing.size()) == closing) {
      CopyTo(at);
      return;
    }
    CopyTo(at);
    result_.error = constants::error_badbrace;
    result_.errorPosition = result_.text.size();
    CopyTo(text_.size());
  }

  bool At(char c) const { return position_ < text_.size() && text_[position_] == c; }

  void CopyTo(std::size_t end) {
    result_.text += text_.substr(position_, end - position_);
    position_ = end;
  }

  const std::string_view text_;
  const std::uint32_t word_;
  const bool perl_;
  std::size_t position_ = 0;
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

}  // namespace RegexClass::engine
