// SPDX-License-Identifier: BSL-1.0
// What is Windows' own: names and walks, files in use, catalogues, the user's locale, the module.

#include <memory>
#include <windows.h>

#include <gtest/gtest.h>

#include "LocaleTestHelpers.hpp"
#include "OperationTestHelpers.hpp"
#include "SystemCalls.hpp"

namespace RegexClass::test {
namespace {

TEST(Windows, FindsFilesByItsOwnRules) {
  const Scratch scratch;
  for (const char* const file :
       {"B.txt", ".c", "a.TXT", "a1", "noext", "sub\\d.txt", "sub\\in\\e.Txt"}) {
    WriteFile(file, "x");
  }
  SetFileAttributesA("a1", FILE_ATTRIBUTE_HIDDEN | FILE_ATTRIBUTE_SYSTEM);
  const std::string here = fs::current_path().string();
  const std::string drive = here.substr(0, 2);
  const std::tuple<std::string, bool, Texts> cases[] = {
      {"*.txt", false, {"B.txt", "a.TXT"}},
      {"*.*", false, {".c", "B.txt", "a.TXT", "a1", "noext"}},
      {"[A-B]?", false, {"a1"}},
      {"[!b.]*;b.TXT", false, {"a.TXT", "a1", "noext", "b.TXT"}},
      {"b.TXT;B.txt;.\\b.txt", false, {"b.TXT"}},
      {"SUB/*.txt;s*\\d.*", false, {"SUB/d.txt"}},
      {"*.txt", true, {"B.txt", "a.TXT", "sub\\d.txt", "sub\\in\\e.Txt"}},
      {here + "\\[n]*", false, {here + "\\noext"}},
      {here.substr(2) + "\\noext", false, {here.substr(2) + "\\noext"}},
      {drive + "noext", false, {drive + "noext"}},
      {"\\\\?\\" + here + "\\n*", false, {"\\\\?\\" + here + "\\noext"}},
      {"NUL;sub\\con.txt;COM1;\\\\.\\NUL;nothing\\*;noext\\x;sub;[", false, {}},
  };
  for (const auto& [pattern, recursion, files] : cases) {
    EXPECT_EQ(files, Found(Walker("x", pattern, recursion))) << pattern;
  }
}

/// Opens a file as another program would have it open.
struct Opened {
  Opened(const char* name, DWORD access, DWORD share)
      : handle(CreateFileA(name, access, share, nullptr, OPEN_EXISTING, 0, nullptr)) {
    EXPECT_NE(INVALID_HANDLE_VALUE, handle) << name;
  }
  Opened(const Opened&) = delete;
  ~Opened() { CloseHandle(handle); }
  const HANDLE handle;
};

/// One line for what comes of a rewriting while the result of `provoke` lasts: the number of
/// changes, the problem, and the contents afterwards.
template <class Provoke>
std::string Changed(Provoke provoke) {
  RE re = Walker("x", "a.txt");
  re.SetFormatString("yy");
  re.SetSaveExtension("bak");
  std::string told;
  {
    [[maybe_unused]] const auto lasting = provoke();
    told = std::to_string(re.ChangeFiles());
  }
  if (const auto* const problems = re.GetChangeFilesErrors()) {
    for (const Problem& problem : *problems) told += ' ' + Line(problem);
  }
  for (const auto& [name, text] : Contents()) told += ' ' + name + '=' + text;
  return told;
}

TEST(Windows, TellsWhyAFileInUseIsNotRewritten) {
  const Scratch scratch;
  WriteFile("a.txt", "-x-");
  // By one who writes, one whose reading shuts out all that write, and one who reads on.
  const auto opened = [](DWORD access, DWORD share) {
    return [=] { return std::make_unique<Opened>("a.txt", access, share); };
  };
  constexpr DWORD kAll = FILE_SHARE_READ | FILE_SHARE_WRITE | FILE_SHARE_DELETE;
  EXPECT_EQ("0 a.txt kind 0 at 0  error 32 a.txt=-x-", Changed(opened(GENERIC_WRITE, kAll)));
  EXPECT_EQ("0 a.txt kind 6 at 0  error 32 a.bak=-x- a.txt=-x-",
            Changed(opened(GENERIC_READ, FILE_SHARE_READ)));
  EXPECT_EQ("1 a.bak=-x- a.txt=-yy-", Changed(opened(GENERIC_READ, kAll)));
}

// ----------------------------------------------------------------------------------- locales

TEST(Windows, TakesNoPlantedCatalogue) {
  const Scratch scratch;
  const auto name = [](LCTYPE type, std::size_t size) {
    char text[100];
    GetLocaleInfoA(LOCALE_USER_DEFAULT, type, text, sizeof text);
    return std::string(text, size);
  };
  const std::string language = name(LOCALE_SNATIVELANGNAME, 2);
  WriteCatalogue("planted.dll", "251 planted");
  for (const RE::LocaleModels model : {RE::CppLocale, RE::W32Locale}) {
    ExpectTried({language + name(LOCALE_SNATIVECTRYNAME, 1), language, "dll"}, model);
    EXPECT_EQ("planted", Loaded(".\\planted", model));
    for (const char* const bare : {"planted.dll", "planted"})
      EXPECT_EQ(kEmpty, Loaded(bare, model));
    EXPECT_EQ("A", Loaded("catalogue", model));  // lies beside the program
  }
}

TEST(Windows, HasLettersAndCaseFromTheUsersLocale) {
  const std::pair<const char*, WORD> classes[] = {
      {"[[:alpha:]]", C1_ALPHA}, {"[[:upper:]]", C1_UPPER}, {"[[:lower:]]", C1_LOWER},
      {"\\d", C1_DIGIT},         {"[[:punct:]]", C1_PUNCT}, {"[[:cntrl:]]", C1_CNTRL}};
  for (int i = 1; i < 256; ++i) {
    const char c = static_cast<char>(i);
    WORD told = 0;
    GetStringTypeExA(LOCALE_USER_DEFAULT, CT_CTYPE1, &c, 1, &told);
    for (const auto& [expression, bit] : classes) {
      RE re = Make(expression, std::string(1, c));
      re.SetLocaleModel(RE::W32Locale);
      EXPECT_EQ((told & bit) != 0, re.Match()) << i << ' ' << expression;
    }
    char upper = c;
    LCMapStringA(LOCALE_USER_DEFAULT, LCMAP_UPPERCASE, &c, 1, &upper, 1);
    RE re = Make(std::string(1, c), std::string(1, upper));
    re.SetLocaleModel(RE::W32Locale);
    re.AddExpressionOption(RE::Literal);
    re.AddExpressionOption(RE::Icase);
    EXPECT_TRUE(re.Match()) << i;
  }
}

}  // namespace
}  // namespace RegexClass::test
