// SPDX-License-Identifier: BSL-1.0
// The model UnicodeLocale: expression, text and format are UTF-8, read by the wide engine character
// by character. All that goes in and comes out is bytes, and no match begins or ends inside a
// character. A byte that isn't UTF-8 is a character, matched by a dot and by negated lists alone.
//
// In a build without ICU each compile fails, with an unknown error.

#include "engine/models/Models.hpp"

#if REGEXCLASS_ICU

#include <algorithm>
#include <cctype>
#include <cstddef>
#include <iterator>
#include <numeric>
#include <optional>
#include <set>
#include <string_view>
#include <utility>
#include <vector>

#include "engine/boost/BoostWalk.hpp"
#include "engine/boost/Error.hpp"
#include "engine/boost/Flags.hpp"
#include "engine/boost/Limits.hpp"
#include "engine/boost/ProgramMending.hpp"
#include "engine/boost/Results.hpp"
#include "engine/messages/CompileErrors.hpp"
#include "engine/syntax/Tokens.hpp"
#include "engine/unicode/UnicodeAtoms.hpp"
#include "engine/unicode/UnicodeNotation.hpp"
#include "engine/unicode/UnicodeTraits.hpp"

namespace RegexClass::engine {
namespace {

using WideMatch = boost::match_results<Utf8Iterator>;
using WideSub = boost::sub_match<Utf8Iterator>;
using WideMatcher =
    boost::BOOST_REGEX_DETAIL_NS::perl_matcher<Utf8Iterator, WideMatch::allocator_type,
                                               UnicodeTraits>;
using WideCreator = boost::BOOST_REGEX_DETAIL_NS::basic_regex_creator<EngineChar, UnicodeTraits>;

}  // namespace
}  // namespace RegexClass::engine

/// The engine asks whether a match is empty, and needn't count its characters for that.
template <>
RegexClass::engine::WideSub::difference_type RegexClass::engine::WideSub::length() const {
  return matched ? second.Position() - first.Position() : 0;
}

REGEXCLASS_COUNT_STEPS(RegexClass::engine::WideMatcher, void)

namespace boost::BOOST_REGEX_DETAIL_NS {

template <>
bool RegexClass::engine::WideCreator::is_bad_repeat(re_syntax_base* fork) {
  return RegexClass::engine::PassedForks(m_bad_repeats).IsEnough(fork);
}
template <>
void RegexClass::engine::WideCreator::set_bad_repeat(re_syntax_base* fork) {
  RegexClass::engine::PassedForks(m_bad_repeats).Add(fork);
}

/// Of iterators without random access the engine forgets how far a lazy dot at the beginning has
/// got, and takes a time with the square of the text where one after the other would do. The way
/// that remembers needs no random access once the least number of characters is passed.
template <>
bool RegexClass::engine::WideMatcher::match_dot_repeat_dispatch() {
  const auto& repeat = *static_cast<const re_repeat*>(pstate);
  const bool lazy = !repeat.greedy || ((m_match_flags & match_any) != 0 && !m_independent);
  const bool takesAll = (m_match_flags & match_not_dot_null) == 0 &&
                        (static_cast<const re_dot*>(repeat.next.p)->mask & match_any_mask) != 0;
  if (!lazy || !takesAll) return match_dot_repeat_slow();
  for (std::size_t count = 0; count < repeat.min; ++count, ++position) {
    if (position == last) return false;
  }
  if (repeat.min < repeat.max) {
    push_single_repeat(repeat.min, &repeat, position, saved_state_rep_fast_dot);
  }
  pstate = repeat.alt.p;
  return position == last ? (repeat.can_be_null & mask_skip) != 0
                          : can_start(*position, repeat._map, mask_skip);
}

}  // namespace boost::BOOST_REGEX_DETAIL_NS

namespace RegexClass::engine {
namespace {

/// The ICU locale for the order of a locale.
std::string OrderOf(const std::locale& locale) {
  static constexpr std::string_view kCategory = "LC_COLLATE=";
  std::string name = locale.name();
  const std::size_t found = name.find(kCategory);
  if (found != std::string::npos) {
    name.erase(0, found + kCategory.size());
    name.erase(std::min(name.find(';'), name.size()));
  }
  const std::string language = name.substr(0, name.find_first_of(".@"));
  if (name == "*") return "root";
  return language == "C" || language == "POSIX" ? "en_US_POSIX" : name;
}

bool IsAscii(const char* first, const char* last) {
  constexpr std::ptrdiff_t kBlock = 4096;  // seen at once, so that the loop needs no way out
  while (first != last) {
    const char* const end = first + std::min(kBlock, last - first);
    unsigned char seen = 0;
    for (; first != end; ++first) seen |= static_cast<unsigned char>(*first);
    if (seen >= 0x80) return false;
  }
  return true;
}

/// Whether the narrow engine reads the ranges of a list alike where case doesn't count: it folds
/// their ends, which changes nothing of a range of digits, or of letters of the same case.
bool AreRangesOfAscii(std::string_view list) {
  const std::size_t first = list.substr(1, 1) == "^" ? 2 : 1;
  for (std::size_t at = first; (at = list.find('-', at + 1)) < list.size() - 2;) {
    const auto isRangeOf = [&](int (*holds)(int)) {
      return holds(static_cast<unsigned char>(list[at - 1])) != 0 &&
             holds(static_cast<unsigned char>(list[at + 1])) != 0 && list[at - 2] != '\\';
    };
    const bool alike =
        isRangeOf(std::isdigit) || isRangeOf(std::islower) || isRangeOf(std::isupper);
    if (!alike) return false;
  }
  return true;
}

/// Whether a list means the same to the narrow engine: its classes have the same ASCII members.
bool IsListOfAscii(std::string_view list, bool icase) {
  static const std::set<std::string_view> names = {"alnum", "alpha", "cntrl", "digit",
                                                   "graph", "lower", "print", "punct",
                                                   "space", "upper", "word",  "xdigit"};
  if (icase && !AreRangesOfAscii(list)) return false;
  if (list.find("[.") != list.npos || list.find("[=") != list.npos) return false;
  for (std::size_t at = 0; (at = list.find("[:", at)) != list.npos;) {
    at += 2;
    const std::size_t end = list.find(":]", at);
    if (end == list.npos || names.count(list.substr(at, end - at)) == 0) return false;
    at = end + 2;
  }
  return true;
}

/// Whether an expression means the same to the narrow engine, in the classic locale, on a text of
/// nothing but ASCII. Not when it might: what is no everyday escape has only the long way.
bool IsAlikeInAscii(const Translation& translation) {
  static constexpr std::string_view kEscapes = "123456789wWdDsSlLuUbBAzZntrfQE";
  const std::string_view text = translation.text;
  if ((translation.flags & boost::regbase::collate) != 0) return false;
  if (!IsAscii(text.data(), text.data() + text.size())) return false;
  if ((translation.flags & boost::regbase::literal) != 0) return true;
  bool alike = true;
  const bool icase = (translation.flags & boost::regbase::icase) != 0;
  ForEachToken(text, icase, [&](const Token& each) {
    const std::string_view token = each.text;
    if (token.front() == '[' && !IsListOfAscii(token, each.icase)) alike = false;
    for (std::size_t i = 0; (i = token.find('\\', i)) != token.npos; i += 2) {
      const char c = i + 1 < token.size() ? token[i + 1] : 'x';
      const bool letter = std::isalnum(static_cast<unsigned char>(c)) != 0;
      if (letter && kEscapes.find(c) == kEscapes.npos) alike = false;
    }
  });
  return alike;
}

/// The characters of some UTF-8.
std::vector<EngineChar> CharactersOf(std::string_view text) {
  const Utf8Text bytes = {text.data(), text.data() + text.size()};
  return std::vector<EngineChar>(Utf8Iterator(bytes, bytes.first), Utf8Iterator(bytes, bytes.last));
}

/// A match for the engine's formatter, read as characters. Each part is read
/// as a text of its own: under another model a match may begin and end inside a character.
class CharacterResults {
 public:
  using value_type = WideSub;

  explicit CharacterResults(const Match& match) : match_(match) {
    texts_.reserve(match.size() + 2);
    Add(match.After());
    Add(match.Before());
    for (std::size_t group = 0; group < match.size(); ++group) Add(match[group]);
    none_.matched = false;
  }
  CharacterResults(const CharacterResults&) = delete;
  CharacterResults& operator=(const CharacterResults&) = delete;

  std::size_t size() const { return match_.size(); }
  const WideSub& operator[](int group) const {
    const std::size_t index = static_cast<std::size_t>(group) + 2;
    return index < parts_.size() ? parts_[index] : none_;
  }
  const WideSub& prefix() const { return (*this)[-1]; }
  const WideSub& suffix() const { return (*this)[-2]; }
  const WideSub& get_last_closed_paren() const {
    for (std::size_t group = 1; group < size(); ++group) {
      if (&match_.LastClosed() == &match_[group]) return parts_[group + 2];
    }
    return none_;
  }
  int named_subexpression_index(const EngineChar* first, const EngineChar* last) const {
    std::string name;
    for (; first != last; ++first) AppendUtf8(*first, name);
    const int group = match_.GroupOf(name);
    return group < 0 ? kNoGroup : group;
  }
  const WideSub& named_subexpression(const EngineChar* first, const EngineChar* last) const {
    return (*this)[named_subexpression_index(first, last)];
  }

 private:
  static constexpr int kNoGroup = -20;

  void Add(const Part& part) {
    const Utf8Text& text = texts_.emplace_back(Utf8Text{part.first, part.second});
    WideSub& wide = parts_.emplace_back();
    wide.first = Utf8Iterator(text, part.first);
    wide.second = Utf8Iterator(text, part.second);
    wide.matched = part.matched;
  }

  const Match& match_;
  std::vector<Utf8Text> texts_;  // stay where they are, the parts point to them
  std::vector<WideSub> parts_;   // from -2 on
  WideSub none_;
};

/// Where the engine's formatter puts its characters.
class Appender {
 public:
  using iterator_category = std::output_iterator_tag;
  using value_type = void;
  using difference_type = void;
  using pointer = void;
  using reference = void;

  explicit Appender(std::string& out) : out_(&out) {}
  Appender& operator=(EngineChar c) {
    AppendUtf8(c, *out_);
    return *this;
  }
  Appender& operator*() { return *this; }
  Appender& operator++() { return *this; }
  Appender& operator++(int) { return *this; }

 private:
  std::string* out_;
};

class WideExpression final : public Expression {
 public:
  WideExpression(const std::string& source, std::uint32_t word, const Translation& translation,
                 const std::locale& locale) {
    const UnicodeNotation notation = ToUnicode(translation);
    const bool ordered = (translation.flags & boost::regbase::collate) != 0 ||
                         translation.text.find("[=") != std::string::npos;
    if (ordered) regex_.imbue(OrderOf(locale));
    const EngineChar* const first = notation.text.data();
    try {
      regex_.assign(first, first + notation.text.size() - 1, translation.flags);
      ProgramMender<UnicodeTraits>(regex_).Run();
    } catch (const boost::regex_error& error) {
      const auto index = static_cast<std::size_t>(std::max<std::ptrdiff_t>(error.position(), 0));
      const std::size_t position = notation.positions[std::min(index, notation.text.size() - 1)];
      throw boost::regex_error(error.what(), error.code(), static_cast<std::ptrdiff_t>(position));
    }
    // As under the other models, what counts is bytes.
    length_ = std::accumulate(regex_.begin(), regex_.end(), std::size_t{0},
                              [](std::size_t sum, EngineChar c) {
                                return sum + (c < 0x80 ? 1 : c < 0x800 ? 2 : c < 0x10000 ? 3 : 4);
                              });
    const auto& groups = *regex_.get_named_subs();
    SetGroups(static_cast<unsigned int>(regex_.mark_count()),
              NamesIn(translation.text, [&groups](std::string_view name) {
                std::vector<EngineChar> characters = CharactersOf(name);
                std::transform(characters.begin(), characters.end(), characters.begin(),
                               ToCodePoint);
                const EngineChar* const begin = characters.data();
                return groups.equal_range(begin, begin + characters.size());
              }));
    if (!IsAlikeInAscii(translation)) return;
    const auto compiler = CppModel().MakeCompiler();
    compiler->Imbue({std::locale::classic(), nullptr});
    Error error;
    ascii_ = compiler->Compile(source, word, error);
  }

  bool Search(std::string_view text, const SearchSettings& settings, Match& match) const override {
    if (IsForAscii(text)) return ascii_->Search(text, settings, match);
    const Borrowed<Results> borrowed(spare_);
    Parts parts(*this, text, settings, *borrowed);
    Walk& walk = parts.walk;
    walk.Begin(0);
    if (!walk.Next()) return false;
    match.Begin(text.data(), Names());
    walk.Take(match);
    return true;
  }

  bool MatchWhole(std::string_view text, const SearchSettings& settings,
                  Match& match) const override {
    if (IsForAscii(text)) return ascii_->MatchWhole(text, settings, match);
    const Borrowed<Results> borrowed(spare_);
    Parts parts(*this, text, settings, *borrowed);
    Walk& walk = parts.walk;
    if (!walk.MatchWhole()) return false;
    match.Begin(text.data(), Names());
    walk.Take(match);
    return true;
  }

  unsigned int Grep(std::string_view text, const SearchSettings& settings,
                    const Report& report) const override {
    if (IsForAscii(text)) return ascii_->Grep(text, settings, report);
    const Borrowed<Results> borrowed(spare_);
    Parts parts(*this, text, settings, *borrowed);
    Walk& walk = parts.walk;
    walk.Begin(text.size());
    return walk.Run(text.data(), Names(), report);
  }

  void Merge(std::string_view text, const SearchSettings& settings, const MergeFormat& format,
             std::string& out) const override {
    const char* const formatEnd = format.text + std::char_traits<char>::length(format.text);
    const bool ascii = IsAscii(format.text, formatEnd) && IsForAscii(text);
    return ascii ? ascii_->Merge(text, settings, format, out)
                 : Expression::Merge(text, settings, format, out);
  }

  bool IsLinear(Flags flags) const override {
    return aids_.IsLinear(program_, flags) && (ascii_ == nullptr || ascii_->IsLinear(flags));
  }

 private:
  using Results = CountedResults<Utf8Iterator>;

  /// A walk, and the engine's part in it.
  struct Parts {
    Parts(const WideExpression& expression, std::string_view text, const SearchSettings& settings,
          Results& results)
        : characters{text.data(), text.data() + text.size()},
          engine(expression.regex_, expression.length_, Utf8Iterator(characters, characters.first),
                 Utf8Iterator(characters, characters.last), ToBoost(settings.flags), results),
          walk(expression.aids_, expression.program_, engine, text, settings) {}

    const Utf8Text characters;
    BoostWalk<Utf8Iterator, UnicodeTraits> engine;
    Walk walk;
  };

  void AppendFormat(const Match& match, const MergeFormat& format,
                    std::string& out) const override {
    out += UnicodeModel().Format(match, format.text, format.syntax);
  }

  /// Whether the narrow engine may be asked: the text is all ASCII and the expression means the
  /// same there.
  bool IsForAscii(std::string_view text) const {
    RequireAddressable(text);
    return ascii_ != nullptr && IsAscii(text.data(), text.data() + text.size());
  }

  boost::basic_regex<EngineChar, UnicodeTraits> regex_;
  std::size_t length_ = 0;                   // of the expression, in bytes
  std::shared_ptr<const Expression> ascii_;  // the same for a text that is all ASCII
  const BoostProgram<UnicodeTraits> program_{regex_};
  mutable SearchAids aids_;
  mutable Borrowed<Results>::Spare spare_;
};

class WideCompiler final : public Compiler {
 public:
  void Imbue(const MessageLocale& locale) override { locale_ = locale; }
  const MessageLocale* Locale() const override { return locale_ ? &*locale_ : nullptr; }

  std::shared_ptr<const Expression> Compile(const std::string& text, std::uint32_t word,
                                            Error& error) override {
    const std::string source = text.c_str();
    Translation translation = Translate(source, word);
    ReadPythonNames(translation, translation.text);
    if (!locale_) locale_ = MessageLocale{UnicodeModel().DefaultLocale(), nullptr};
    try {
      if (translation.error != boost::regex_constants::error_ok) throw ErrorOf(translation);
      RequireShallow(translation, translation.text);
      return std::make_shared<WideExpression>(source, word, translation, locale_->locale);
    } catch (const boost::regex_error& thrown) {
      error = ToError(DescribeError(thrown, source, translation, nullptr));
      return nullptr;
    }
  }

  bool LocaleIsDefault() const override {
    return locale_ && locale_->locale == UnicodeModel().DefaultLocale();
  }

 private:
  std::optional<MessageLocale> locale_;  // the order of characters is that of its name
};

class Unicode final : public Model {
  const char* Name() const override { return "UnicodeLocale"; }
  bool TakesLocale() const override { return true; }
  std::locale DefaultLocale() const override { return std::locale(); }
  std::unique_ptr<Compiler> MakeCompiler() const override {
    return std::make_unique<WideCompiler>();
  }

  std::string Format(const Match& match, const char* format, FormatSyntax syntax) const override {
    RequireShallow(format, syntax);
    const std::vector<EngineChar> characters = CharactersOf(format);
    const CharacterResults source(match);
    const UnicodeTraits traits;
    std::string out;
    boost::BOOST_REGEX_DETAIL_NS::basic_regex_formatter<Appender, CharacterResults, UnicodeTraits,
                                                        const EngineChar*>
        formatter(Appender(out), source, traits);
    formatter.format(characters.data(), characters.data() + characters.size(), ToBoost(syntax));
    return out;
  }
};

}  // namespace

const Model& UnicodeModel() {
  static const Unicode model;
  return model;
}

}  // namespace RegexClass::engine

#else  // without ICU

#include "engine/boost/Results.hpp"

namespace RegexClass::engine {
namespace {

class NoCompiler final : public Compiler {
 public:
  void Imbue(const MessageLocale& locale) override { locale_ = locale; }
  const MessageLocale* Locale() const override { return &locale_; }
  std::shared_ptr<const Expression> Compile(const std::string&, std::uint32_t,
                                            Error& error) override {
    error = {ErrorCode::kUnknown, "This build of the library has no Unicode.", -1,
             boost::regex_constants::error_unknown};
    return nullptr;
  }
  bool LocaleIsDefault() const override { return true; }

 private:
  MessageLocale locale_;
};

class Unicode final : public Model {
  const char* Name() const override { return "UnicodeLocale"; }
  bool TakesLocale() const override { return true; }
  std::unique_ptr<Compiler> MakeCompiler() const override { return std::make_unique<NoCompiler>(); }
  std::string Format(const Match& match, const char* format, FormatSyntax syntax) const override {
    return FormatBytes(match, format, syntax);
  }
};

}  // namespace

const Model& UnicodeModel() {
  static const Unicode model;
  return model;
}

}  // namespace RegexClass::engine

#endif
