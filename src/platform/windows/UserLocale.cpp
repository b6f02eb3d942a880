// SPDX-License-Identifier: BSL-1.0
#include "platform/UserLocale.hpp"

#include <array>
#include <memory>
#include <windows.h>

namespace RegexClass::platform {
namespace {

constexpr LCID kUser = LOCALE_USER_DEFAULT;
/// Texts are in the code page of the process, which needn't be that of the locale.
constexpr DWORD kCodePage = LOCALE_USE_CP_ACP;
constexpr std::size_t kCharacters = std::ctype<char>::table_size;

/// What the system says of one character.
std::ctype_base::mask ClassOf(char c) {
  static constexpr std::pair<WORD, std::ctype_base::mask> kClasses[] = {
      {C1_UPPER, std::ctype_base::upper},   {C1_LOWER, std::ctype_base::lower},
      {C1_DIGIT, std::ctype_base::digit},   {C1_SPACE, std::ctype_base::space},
      {C1_PUNCT, std::ctype_base::punct},   {C1_CNTRL, std::ctype_base::cntrl},
      {C1_XDIGIT, std::ctype_base::xdigit}, {C1_ALPHA, std::ctype_base::alpha},
      {C1_BLANK, std::ctype_base::blank}};
  wchar_t wide = 0;
  const bool isWhole = MultiByteToWideChar(CP_ACP, MB_ERR_INVALID_CHARS, &c, 1, &wide, 1) == 1;
  if (!isWhole) return {};  // a part of a character, which has no class by itself
  WORD told = 0;
  GetStringTypeExA(kUser, CT_CTYPE1, &c, 1, &told);
  std::ctype_base::mask mask = {};
  for (const auto& [bit, its] : kClasses) {
    if ((told & bit) != 0) mask = static_cast<std::ctype_base::mask>(mask | its);
  }
  const bool isPrinted = told != 0 && (told & C1_CNTRL) == 0;
  return isPrinted ? static_cast<std::ctype_base::mask>(mask | std::ctype_base::print) : mask;
}

char Mapped(char c, DWORD mapping) {
  char result = c;
  return LCMapStringA(kUser, mapping | kCodePage, &c, 1, &result, 1) == 1 ? result : c;
}

/// Classes and case as the user's locale has them.
class UserClasses final : public std::ctype<char> {
 public:
  UserClasses() : std::ctype<char>(masks_.data()) {
    for (std::size_t i = 0; i < kCharacters; ++i) {
      const char c = static_cast<char>(i);
      masks_[i] = ClassOf(c);
      upper_[i] = Mapped(c, LCMAP_UPPERCASE);
      lower_[i] = Mapped(c, LCMAP_LOWERCASE);
    }
  }

 protected:
  char do_toupper(char c) const override { return upper_[static_cast<unsigned char>(c)]; }
  char do_tolower(char c) const override { return lower_[static_cast<unsigned char>(c)]; }
  const char* do_toupper(char* first, const char* last) const override {
    for (; first != last; ++first) *first = do_toupper(*first);
    return last;
  }
  const char* do_tolower(char* first, const char* last) const override {
    for (; first != last; ++first) *first = do_tolower(*first);
    return last;
  }

 private:
  std::array<mask, kCharacters> masks_;
  std::array<char, kCharacters> upper_;
  std::array<char, kCharacters> lower_;
};

/// The order of the user's locale.
class UserOrder final : public std::collate<char> {
 protected:
  int do_compare(const char* first, const char* last, const char* otherFirst,
                 const char* otherLast) const override {
    const int order = do_transform(first, last).compare(do_transform(otherFirst, otherLast));
    return order == 0 ? 0 : (order < 0 ? -1 : 1);
  }
  std::string do_transform(const char* first, const char* last) const override {
    const auto key = [&](char* target, int size) {
      return LCMapStringA(kUser, LCMAP_SORTKEY | kCodePage, first, static_cast<int>(last - first),
                          target, size);
    };
    if (first == last) return std::string();
    std::string text(static_cast<std::size_t>(key(nullptr, 0)), '\0');
    key(text.data(), static_cast<int>(text.size()));
    return text.empty() ? std::string(first, last) : text;
  }
};

std::string Information(LCTYPE which) {
  const LCTYPE type = which | kCodePage;
  const int size = GetLocaleInfoA(kUser, type, nullptr, 0);
  std::string text(static_cast<std::size_t>(size), '\0');
  GetLocaleInfoA(kUser, type, text.data(), size);
  return text.c_str();
}

}  // namespace

std::locale UserLocale() {
  static const std::locale locale(
      std::locale(std::locale::classic(), std::make_unique<UserClasses>().release()),
      std::make_unique<UserOrder>().release());
  return locale;
}

NativeNames UserNativeNames() {
  return {Information(LOCALE_SNATIVELANGNAME), Information(LOCALE_SNATIVECTRYNAME)};
}

}  // namespace RegexClass::platform
