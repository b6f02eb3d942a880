// SPDX-License-Identifier: BSL-1.0
#include "engine/unicode/UnicodeTraits.hpp"

#include <algorithm>
#include <limits>
#include <map>
#include <mutex>
#include <string_view>
#include <unicode/uchar.h>
#include <unicode/ucol.h>
#include <unicode/uset.h>
#include <utility>

#include "engine/unicode/UnicodeNotation.hpp"

namespace RegexClass::engine {
namespace {

namespace detail = boost::BOOST_REGEX_DETAIL_NS;
namespace constants = boost::regex_constants;

using Members = std::shared_ptr<const CodePoints>;

/// The set of a pattern in ICU's notation; null for one that makes no sense.
std::shared_ptr<USet> MakeSet(std::string_view pattern) {
  const std::u16string wide(pattern.begin(), pattern.end());
  UErrorCode error = U_ZERO_ERROR;
  USet* const set = uset_openPattern(wide.data(), static_cast<std::int32_t>(wide.size()), &error);
  return U_SUCCESS(error) ? std::shared_ptr<USet>(set, uset_close) : nullptr;
}

/// The classes that have a name under all models, as Unicode's recommendations for expressions
/// define them. Punctuation has the symbols of ASCII besides, which are in there everywhere.
std::shared_ptr<USet> FindClass(const std::string& name) {
  static const std::map<std::string_view, const char*> patterns = {
      {"alnum", "[\\p{Alphabetic}\\p{Nd}]"},
      {"alpha", "[\\p{Alphabetic}]"},
      {"blank", "[\\p{Zs}\\t]"},
      {"cntrl", "[\\p{Cc}]"},
      {"d", "[\\p{Nd}]"},
      {"digit", "[\\p{Nd}]"},
      {"graph", "[^\\p{White_Space}\\p{Cc}\\p{Cs}\\p{Cn}]"},
      {"h", "[\\p{Zs}\\t]"},
      {"l", "[\\p{Lowercase}]"},
      {"lower", "[\\p{Lowercase}]"},
      {"print", "[^\\p{Cc}\\p{Cs}\\p{Cn}\\p{Zl}\\p{Zp}]"},
      {"punct", "[\\p{P}$+<=>\\^`|~]"},
      {"s", "[\\p{White_Space}]"},
      {"space", "[\\p{White_Space}]"},
      {"u", "[\\p{Uppercase}]"},
      {"unicode", "[\\u0100-\\U0010FFFF]"},
      {"upper", "[\\p{Uppercase}]"},
      {"v", "[\\u000A-\\u000D\\u0085\\u2028\\u2029]"},
      {"w", "[\\p{Alphabetic}\\p{M}\\p{Nd}\\p{Pc}\\u200C\\u200D]"},
      {"word", "[\\p{Alphabetic}\\p{M}\\p{Nd}\\p{Pc}\\u200C\\u200D]"},
      {"xdigit", "[\\p{Nd}\\p{Hex_Digit}]"}};
  const auto found = patterns.find(name);
  return found != patterns.end() ? MakeSet(found->second) : nullptr;
}

/// The characters of a property that ICU knows: a general category, a script, a binary property,
/// or a value of a property that is named as well.
std::shared_ptr<USet> FindProperty(const std::string& name) {
  return MakeSet("[\\p{" + name + "}]");
}

/// The class of a name; null when there is none. The engine asks for \S by the name S: in names of
/// classes case doesn't count.
Members MakeMembers(const std::string& name, EngineChar mark) {
  const bool property = (mark & kProperty) != 0;
  std::string small = name;
  for (char& c : small) c = static_cast<char>(u_tolower(c));
  std::shared_ptr<USet> found = property ? FindProperty(name) : FindClass(small);
  if (found == nullptr) found = property ? FindClass(small) : FindProperty(name);
  if (found == nullptr) return nullptr;
  if ((mark & kCaseless) != 0) uset_closeOver(found.get(), USET_CASE_INSENSITIVE);
  uset_freeze(found.get());
  return std::make_shared<const CodePoints>(std::move(found));
}

/// The same from those that the process has made: ICU may take longer to make one than the engine
/// to compile an expression.
Members FindMembers(const std::string& name, EngineChar mark) {
  static constexpr std::size_t kMostKept = 512;
  static std::mutex mutex;
  static std::map<std::pair<std::string, EngineChar>, Members> kept;
  mark &= kProperty | kCaseless;
  const std::lock_guard<std::mutex> lock(mutex);
  const auto found = kept.find({name, mark});
  if (found != kept.end()) return found->second;
  Members made = MakeMembers(name, mark);
  if (made != nullptr) {
    if (kept.size() == kMostKept) kept.clear();
    kept[{name, mark}] = made;
  }
  return made;
}

/// Whether a name can be that of a class at all, and nothing that ICU would read beyond one.
bool IsName(const EngineChar* first, const EngineChar* last) {
  return first != last && std::all_of(first, last, [](EngineChar c) {
           return c < 0x80 && (u_isalnum(c) || c == ' ' || c == '_' || c == '-' || c == '=');
         });
}

std::shared_ptr<const UCollator> MakeOrder(const std::string& locale, UCollationStrength strength) {
  UErrorCode error = U_ZERO_ERROR;
  UCollator* const collator = ucol_open(locale.c_str(), &error);
  if (U_FAILURE(error)) {
    throw boost::regex_error("ICU has no order of characters", constants::error_unknown, 0);
  }
  ucol_setStrength(collator, strength);
  return std::shared_ptr<const UCollator>(
      collator, [](const UCollator* each) { ucol_close(const_cast<UCollator*>(each)); });
}

/// A sort key; that of no character, for a byte that isn't UTF-8, comes before all others.
UnicodeTraits::string_type SortKey(const UCollator* collator, const EngineChar* first,
                                   const EngineChar* last) {
  std::u16string text;
  for (; first != last; ++first) {
    const auto c = static_cast<std::uint32_t>(*first);
    if (*first > kLastCodePoint) return {};
    if (c > 0xFFFF) {
      text += static_cast<char16_t>(U16_LEAD(c));
      text += static_cast<char16_t>(U16_TRAIL(c));
    } else {
      text += static_cast<char16_t>(c);
    }
  }
  const auto length = static_cast<std::int32_t>(text.size());
  std::vector<std::uint8_t> key(64);
  for (bool whole = false; !whole;) {
    const auto room = static_cast<std::int32_t>(key.size());
    const std::int32_t size = ucol_getSortKey(collator, text.data(), length, key.data(), room);
    whole = size <= room;
    key.resize(static_cast<std::size_t>(size));
  }
  if (key.size() > 1) key.pop_back();  // the zero at its end
  if (key[0] == 0) key[0] = 1;         // nothing that counts
  return UnicodeTraits::string_type(key.begin(), key.end());
}

}  // namespace

CodePoints::CodePoints(std::shared_ptr<const USet> set) : set_(std::move(set)) {
  std::vector<EngineChar> changes;
  AppendChanges(changes);
  for (std::size_t run = 0; run < changes.size(); run += 2) {
    const auto end = std::min(static_cast<std::size_t>(changes[run + 1]), table_.size());
    for (auto c = static_cast<std::size_t>(changes[run]); c < end; ++c) table_[c] = true;
  }
}

bool CodePoints::ContainsBeyond(EngineChar c) const { return uset_contains(set_.get(), c) != 0; }

void CodePoints::AppendChanges(std::vector<EngineChar>& changes) const {
  for (std::int32_t i = 0; i < uset_getItemCount(set_.get()); ++i) {
    UErrorCode error = U_ZERO_ERROR;
    UChar32 first = 0;
    UChar32 last = 0;
    if (uset_getItem(set_.get(), i, &first, &last, nullptr, 0, &error) != 0) continue;  // a text
    changes.insert(changes.end(), {first, last + 1});
  }
}

UnicodeTraits::size_type UnicodeTraits::length(const EngineChar* text) {
  size_type size = 0;
  while (text[size] != 0) ++size;
  return size;
}

constants::syntax_type UnicodeTraits::syntax_type(EngineChar c) {
  const bool ascii = c > 0 && c < 0x7F;
  return ascii ? detail::get_default_syntax_type(static_cast<char>(c)) : constants::syntax_char;
}

constants::escape_syntax_type UnicodeTraits::escape_syntax_type(EngineChar c) {
  const bool ascii = c > 0 && c < 0x7F;
  return ascii ? detail::get_default_escape_syntax_type(static_cast<char>(c))
               : constants::escape_type_identity;
}

std::string UnicodeTraits::error_string(constants::error_type error) {
  return detail::get_default_error_string(error);
}

EngineChar UnicodeTraits::translate_nocase(EngineChar c) {
  if (c < 0x80) return c >= 'A' && c <= 'Z' ? c + ('a' - 'A') : c;
  c = ToCodePoint(c);
  return c <= kLastCodePoint ? u_foldCase(c, U_FOLD_CASE_DEFAULT) : c;
}

EngineChar UnicodeTraits::tolower(EngineChar c) {
  const EngineChar codePoint = ToCodePoint(c);
  return codePoint <= kLastCodePoint ? u_tolower(codePoint) : c;
}

EngineChar UnicodeTraits::toupper(EngineChar c) {
  const EngineChar codePoint = ToCodePoint(c);
  return codePoint <= kLastCodePoint ? u_toupper(codePoint) : c;
}

int UnicodeTraits::value(EngineChar c, int radix) {
  const int value = c < 0x80 ? u_digit(c, 16) : -1;
  return value < radix ? value : -1;
}

std::intmax_t UnicodeTraits::toi(const EngineChar*& first, const EngineChar* last,
                                 int radix) const {
  const std::intmax_t number = detail::global_toi(first, last, radix, *this);
  const bool character = number <= kLastCodePoint && !(number >= 0xD800 && number <= 0xDFFF);
  return radix != 16 || character ? number : -1;
}

UnicodeTraits::char_class_type UnicodeTraits::lookup_classname(const EngineChar* first,
                                                               const EngineChar* last) const {
  EngineChar mark = 0;
  if (first != last && *first >= kClassMark) mark = *first++ - kClassMark;
  if (!IsName(first, last)) return 0;
  const std::string name(first, last);
  const auto known = std::find_if(classes_.begin(), classes_.end(), [&](const Class& each) {
    return each.name == name && each.mark == mark;
  });
  const auto bit = static_cast<std::size_t>(known - classes_.begin());
  if (known == classes_.end()) {
    const Members members = FindMembers(name, mark);
    if (members == nullptr) return 0;
    if (bit == std::numeric_limits<char_class_type>::digits) {
      throw boost::regex_error("The expression names too many classes of characters.",
                               constants::error_complexity, 0);
    }
    classes_.push_back({name, mark, (mark & kComplement) != 0, members});
  }
  return char_class_type{1} << bit;
}

void UnicodeTraits::AppendChanges(char_class_type classes, std::vector<EngineChar>& changes) const {
  for (const Class& each : classes_) {
    if ((classes & 1) != 0) each.members->AppendChanges(changes);
    classes >>= 1;
  }
}

const std::vector<EngineChar>& UnicodeTraits::CaseChanges() {
  static const std::vector<EngineChar> changes = [] {
    std::vector<EngineChar> made;
    for (EngineChar c = 0x80; c <= kLastCodePoint; ++c) {
      if (translate_nocase(c) != c) made.insert(made.end(), {c, c + 1});
    }
    return made;
  }();
  return changes;
}

UnicodeTraits::string_type UnicodeTraits::lookup_collatename(const EngineChar* first,
                                                             const EngineChar* last) {
  if (last - first == 1) return {*first};
  if (!std::all_of(first, last, [](EngineChar c) { return c < 0x80; })) return {};
  const std::string name(first, last);
  for (const UCharNameChoice kind :
       {U_UNICODE_CHAR_NAME, U_CHAR_NAME_ALIAS, U_EXTENDED_CHAR_NAME}) {
    UErrorCode error = U_ZERO_ERROR;
    const UChar32 c = u_charFromName(kind, name.c_str(), &error);
    if (U_SUCCESS(error)) return {c};
  }
  const std::string found = detail::lookup_default_collate_name(name);
  return string_type(found.begin(), found.end());
}

UnicodeTraits::locale_type UnicodeTraits::imbue(locale_type locale) {
  order_ = MakeOrder(locale, UCOL_IDENTICAL);
  primaryOrder_ = MakeOrder(locale, UCOL_PRIMARY);
  return std::exchange(locale_, std::move(locale));
}

UnicodeTraits::string_type UnicodeTraits::transform(const EngineChar* first,
                                                    const EngineChar* last) const {
  return SortKey(order_.get(), first, last);
}

UnicodeTraits::string_type UnicodeTraits::transform_primary(const EngineChar* first,
                                                            const EngineChar* last) const {
  return SortKey(primaryOrder_.get(), first, last);
}

}  // namespace RegexClass::engine
