// SPDX-License-Identifier: BSL-1.0
#include "engine/Traits.hpp"

#include <algorithm>
#include <clocale>
#include <cstring>
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

}  // namespace

CatalogueTraits::CatalogueTraits() { FillSyntax(); }

std::string CatalogueTraits::transform(const char* first, const char* last) const {
  std::string key = std::use_facet<std::collate<char>>(Base::getloc()).transform(first, last);
  key.resize(key.find_last_not_of('\0') + 1);  // some facets fill a key up
  return key;
}

std::string CatalogueTraits::transform_primary(const char* first, const char* last) const {
  return PrimaryKey(*this, first, last);
}

MessageLocale CatalogueTraits::imbue(MessageLocale locale) {
  MessageLocale former = getloc();
  Base::imbue(locale.locale);
  messages_ = std::move(locale.messages);
  FillSyntax();
  return former;
}

/// What each character means in an expression, or behind a backslash. Behind a backslash, a small
/// letter that no message names stands for the class of that name, a capital for the opposite.
void CatalogueTraits::FillSyntax() {
  for (std::size_t i = 0; i < syntax_.size(); ++i) {
    syntax_[i] = messages_ != nullptr ? 0 : Base::syntax_type(static_cast<char>(i));
  }
  if (messages_ == nullptr) return;

  for (constants::syntax_type meaning = 1; meaning < constants::syntax_max; ++meaning) {
    for (const char c : messages_->syntax[meaning]) {
      syntax_[static_cast<unsigned char>(c)] = meaning;
    }
  }
  const std::locale locale = Base::getloc();
  const auto& letters = std::use_facet<std::ctype<char>>(locale);
  for (std::size_t i = 'A'; i < syntax_.size(); ++i) {
    if (syntax_[i] != 0) continue;
    if (letters.is(std::ctype_base::lower, static_cast<char>(i))) {
      syntax_[i] = constants::escape_type_class;
    } else if (letters.is(std::ctype_base::upper, static_cast<char>(i))) {
      syntax_[i] = constants::escape_type_not_class;
    }
  }
}

std::string CatalogueTraits::InDefaultNotation(std::string_view text) const {
  constexpr char kOrdinary = 'a';  // also behind a backslash
  std::string result(text);
  for (char& c : result) {
    const constants::syntax_type meaning = syntax_type(c);
    if (meaning == Base::syntax_type(c)) continue;
    const char* const characters = detail::get_default_syntax(meaning);
    if (*characters != '\0') {
      c = *characters;
    } else if (c > ' ') {  // blanks don't count in extended expressions
      c = kOrdinary;
    }
  }
  return result;
}

CatalogueTraits::char_class_type CatalogueTraits::lookup_classname(const char* first,
                                                                   const char* last) const {
  if (messages_ != nullptr && !messages_->classNames.empty() && first != last) {
    const auto& names = messages_->classNames;
    std::string name(first, last);
    auto found = names.find(name);
    if (found == names.end()) {
      for (char& c : name) c = tolower(c);
      found = names.find(name);
    }
    if (found != names.end()) {
      const std::string& engineName = found->second;
      return Base::lookup_classname(engineName.data(), engineName.data() + engineName.size());
    }
  }
  return Base::lookup_classname(first, last);
}

std::string CatalogueTraits::error_string(constants::error_type error) const {
  return messages_ != nullptr ? messages_->errors.at(error) : Base::error_string(error);
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
