// SPDX-License-Identifier: BSL-1.0
#include "engine/boost/Traits.hpp"

#include <algorithm>
#include <clocale>
#include <cstring>
#include <istream>
#include <utility>

namespace RegexClass::engine {

namespace detail = boost::BOOST_REGEX_DETAIL_NS;
namespace constants = boost::regex_constants;

namespace {

/// The part of a sort key that letters have in common that differ in case or accents alone.
template <class Traits>
std::string PrimaryKey(const Traits& traits, const char* first, const char* last) {
  char mark = 0;  // the delimiter of the levels of a key, or the length of the first level
  const unsigned form = detail::find_sort_syntax(&traits, &mark);
  std::string key;
  if (form == detail::sort_delim) {
    key = traits.transform(first, last);
    const std::size_t end = key.find(mark);
    if (end != std::string::npos && end != 0) key.resize(end);  // 0: nothing at the first level
  } else if (form == detail::sort_fixed) {
    key = traits.transform(first, last);
    key.resize(std::min<std::size_t>(key.size(), static_cast<unsigned char>(mark)));
  } else {
    std::string folded(first, last);
    for (char& c : folded) c = traits.translate_nocase(c);
    key = traits.transform(folded.data(), folded.data() + folded.size());
  }
  return key.empty() ? std::string(1, '\0') : key;
}

// Classes that std::ctype has no mask for, above all of its masks.
constexpr std::uint32_t kBlank = 1U << 24;
constexpr std::uint32_t kWord = 1U << 25;
constexpr std::uint32_t kUnicode = 1U << 26;  // beyond a byte: empty here
constexpr std::uint32_t kHorizontal = 1U << 27;
constexpr std::uint32_t kVertical = 1U << 28;
constexpr std::uint32_t kMasks = kBlank - 1;

/// The mask of a class by its name; 0 when there is none.
std::uint32_t FindClass(std::string_view name) {
  using Mask = std::ctype_base;
  static const std::pair<std::string_view, std::uint32_t> classes[] = {
      {"alnum", Mask::alnum},     {"alpha", Mask::alpha},
      {"blank", kBlank},          {"cntrl", Mask::cntrl},
      {"d", Mask::digit},         {"digit", Mask::digit},
      {"graph", Mask::graph},     {"h", kHorizontal},
      {"l", Mask::lower},         {"lower", Mask::lower},
      {"print", Mask::print},     {"punct", Mask::punct},
      {"s", Mask::space},         {"space", Mask::space},
      {"u", Mask::upper},         {"unicode", kUnicode},
      {"upper", Mask::upper},     {"v", kVertical},
      {"w", Mask::alnum | kWord}, {"word", Mask::alnum | kWord},
      {"xdigit", Mask::xdigit}};
  for (const auto& [known, mask] : classes) {
    if (known == name) return mask;
  }
  return 0;
}

}  // namespace

CatalogueTraits::CatalogueTraits()
    : letters_(&std::use_facet<std::ctype<char>>(locale_)), syntax_(SyntaxOf(nullptr, *letters_)) {}

MessageLocale CatalogueTraits::imbue(MessageLocale locale) {
  const auto& letters = std::use_facet<std::ctype<char>>(locale.locale);
  syntax_ = SyntaxOf(locale.messages.get(), letters);
  letters_ = &letters;
  std::swap(locale_, locale.locale);
  std::swap(messages_, locale.messages);
  return locale;
}

/// What each character means in an expression, or after a backslash. After a backslash, a small
/// letter that has no meaning stands for the class of that name, a capital for the opposite.
CatalogueTraits::Syntax CatalogueTraits::SyntaxOf(const EngineMessages* messages,
                                                  const std::ctype<char>& letters) {
  const auto meanings = [](const auto& charactersOf) {
    Syntax syntax = {};
    for (constants::syntax_type meaning = 1; meaning < constants::syntax_max; ++meaning) {
      for (const char c : std::string_view(charactersOf(meaning))) {
        syntax[static_cast<unsigned char>(c)] = meaning;
      }
    }
    return syntax;
  };
  static const Syntax defaults = meanings(detail::get_default_syntax);
  Syntax syntax = defaults;
  if (messages != nullptr) {
    syntax = meanings(
        [messages](auto meaning) -> std::string_view { return messages->syntax[meaning]; });
  }
  for (std::size_t i = 'A'; i < syntax.size(); ++i) {
    if (syntax[i] != 0) continue;
    if (letters.is(std::ctype_base::lower, static_cast<char>(i))) {
      syntax[i] = constants::escape_type_class;
    } else if (letters.is(std::ctype_base::upper, static_cast<char>(i))) {
      syntax[i] = constants::escape_type_not_class;
    }
  }
  return syntax;
}

std::string CatalogueTraits::InDefaultNotation(std::string_view text) const {
  constexpr char kOrdinary = 'a';  // also after a backslash
  std::string result(text);
  if (messages_ == nullptr) return result;
  const Syntax defaults = SyntaxOf(nullptr, *letters_);
  for (char& c : result) {
    const constants::syntax_type meaning = syntax_type(c);
    if (meaning == defaults[static_cast<unsigned char>(c)]) continue;
    const char* const characters = detail::get_default_syntax(meaning);
    if (*characters != '\0') {
      c = *characters;
    } else if (static_cast<unsigned char>(c) > ' ') {  // blanks don't count in extended expressions
      c = kOrdinary;
    }
  }
  return result;
}

bool CatalogueTraits::isctype(char c, char_class_type classes) const {
  const auto mask = static_cast<std::ctype_base::mask>(classes & kMasks);
  if (mask != 0 && letters_->is(mask, c)) return true;
  if ((classes & kWord) != 0 && c == '_') return true;
  if ((classes & (kBlank | kHorizontal | kVertical)) == 0) return false;
  const bool separator = detail::is_separator(c);
  if ((classes & kVertical) != 0 && (separator || c == '\v')) return true;
  if (separator || !letters_->is(std::ctype_base::space, c)) return false;
  return (classes & kBlank) != 0 || ((classes & kHorizontal) != 0 && c != '\v');
}

CatalogueTraits::char_class_type CatalogueTraits::lookup_classname(const char* first,
                                                                   const char* last) const {
  const std::string name(first, last);
  std::string small = name;
  for (char& c : small) c = tolower(c);
  if (messages_ != nullptr) {
    for (const std::string& each : {name, small}) {
      const auto found = messages_->classNames.find(each);
      if (found != messages_->classNames.end()) return FindClass(found->second);
    }
  }
  const char_class_type found = FindClass(name);
  return found != 0 ? found : FindClass(small);
}

std::string CatalogueTraits::lookup_collatename(const char* first, const char* last) {
  std::string name(first, last);
  std::string found = detail::lookup_default_collate_name(name);
  return !found.empty() || name.size() != 1 ? found : name;
}

std::string CatalogueTraits::transform(const char* first, const char* last) const {
  std::string key = std::use_facet<std::collate<char>>(locale_).transform(first, last);
  key.resize(key.find_last_not_of('\0') + 1);  // some facets fill a key up
  return key;
}

std::string CatalogueTraits::transform_primary(const char* first, const char* last) const {
  return PrimaryKey(*this, first, last);
}

/// Reads a number as a stream does: blanks and a sign may stand before it.
std::intmax_t CatalogueTraits::toi(const char*& first, const char* last, int radix) {
  detail::parser_buf<char> buffer;
  buffer.pubsetbuf(const_cast<char*>(first), last - first);
  std::istream stream(&buffer);
  stream.imbue(std::locale::classic());  // so that a comma is no part of a number
  const auto base = radix == 16  ? std::ios_base::hex
                    : radix == 8 ? std::ios_base::oct
                                 : std::ios_base::dec;
  stream.setf(base, std::ios_base::basefield);
  std::intmax_t number = 0;
  if (!(stream >> number)) return -1;
  first = last - buffer.in_avail();
  return number;
}

int CatalogueTraits::value(char c, int radix) {
  const char* first = &c;
  return static_cast<int>(toi(first, first + 1, radix));
}

std::string CatalogueTraits::error_string(constants::error_type error) const {
  return messages_ != nullptr ? messages_->errors.at(error)
                              : detail::get_default_error_string(error);
}

std::string CTraits::transform(const char* first, const char* last) {
  const std::string text(first, last);
  std::string key(std::strxfrm(nullptr, text.c_str(), 0) + 1, '\0');
  key.resize(std::strxfrm(key.data(), text.c_str(), key.size()));
  return key;
}

std::string CTraits::transform_primary(const char* first, const char* last) {
  return PrimaryKey(CTraits(), first, last);
}

std::string CTraits::LocaleName() {
  const auto name = [](int category) {
    const char* const found = std::setlocale(category, nullptr);
    return std::string(found != nullptr ? found : "");
  };
  return name(LC_CTYPE) + '\n' + name(LC_COLLATE);
}

}  // namespace RegexClass::engine
