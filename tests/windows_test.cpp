// SPDX-License-Identifier: BSL-1.0
// What is Windows' own: names and walks, files in use, catalogues, the user's locale, the module.

#include <thread>
#include <windows.h>

#include <gtest/gtest.h>

#include "FileTestHelpers.hpp"
#include "TestHelpers.hpp"

namespace RegexClass::test {
namespace {

using Problem = RE::FileChangeProblem;

Texts Found(const std::string& files, bool recursion = false) {
  RE re = Make("x", "");
  re.SetFilesToMatch(files);
  re.SetDirectoryRecursion(recursion);
  Texts found;
  re.SetOnFindFilesClosure([&](RE*, const std::string& file, bool&) { found.push_back(file); });
  re.FindFiles();
  EXPECT_EQ(nullptr, re.GetFindFilesErrors()) << files;
  return found;
}

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
    EXPECT_EQ(files, Found(pattern, recursion)) << pattern;
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

/// One line for what comes of a rewriting while `provoke` or its result has a say: the number of
/// changes, the problem, and the contents afterwards.
template <class Provoke>
std::string Changed(Provoke provoke) {
  RE re = Make("x", "");
  re.SetFormatString("yy");
  re.SetFilesToMatch("a.txt");
  re.SetSaveExtension("bak");
  std::string told;
  {
    [[maybe_unused]] const auto lasting = provoke();
    told = std::to_string(re.ChangeFiles());
  }
  if (const auto* const problems = re.GetChangeFilesErrors()) {
    for (const Problem& problem : *problems) {
      told += ' ' + problem.file + ' ' + std::to_string(problem.kind) + ' ' +
              std::to_string(problem.lastError);
    }
  }
  for (const auto& [name, text] : Contents()) told += ' ' + name + '=' + text;
  return told;
}

TEST(Windows, TellsWhyAFileIsNotRewritten) {
  const auto provoked = [](auto provoke) {
    const Scratch scratch;
    WriteFile("a.txt", "-x-");
    const std::string told = Changed(provoke);
    SetFileAttributesA("a.txt", FILE_ATTRIBUTE_NORMAL);
    return told;
  };
  EXPECT_EQ("1 a.bak=-x- a.txt=-yy-", provoked([] { return 0; }));
  EXPECT_EQ("1 a.bak=-x- a.txt=-yy-", provoked([] { return WriteFile("a.bak", "older"), 0; }));
  EXPECT_EQ("0 a.txt=-x-",
            provoked([] { return SetFileAttributesA("a.txt", FILE_ATTRIBUTE_READONLY); }));
  EXPECT_EQ("0 a.bak 5 5 a.txt=-x-", provoked([] { return fs::create_directory("a.bak"); }));
  // In use: by one who reads on, who writes, and whose reading shuts out all that write.
  const auto opened = [](DWORD access, DWORD share) {
    return [=] { return std::make_unique<Opened>("a.txt", access, share); };
  };
  constexpr DWORD kAll = FILE_SHARE_READ | FILE_SHARE_WRITE | FILE_SHARE_DELETE;
  EXPECT_EQ("1 a.bak=-x- a.txt=-yy-", provoked(opened(GENERIC_READ, kAll)));
  EXPECT_EQ("0 a.txt 0 32 a.txt=-x-", provoked(opened(GENERIC_WRITE, kAll)));
  EXPECT_EQ("0 a.txt 6 32 a.bak=-x- a.txt=-x-", provoked(opened(GENERIC_READ, FILE_SHARE_READ)));
}

TEST(Windows, KeepsWhatIsNotContent) {
  const Scratch scratch;
  for (const bool hasOtherName : {false, true}) {
    WriteFile("a.txt", "x");
    ASSERT_TRUE(!hasOtherName || CreateHardLinkA("b.txt", "a.txt", nullptr));
    SetFileAttributesA("a.txt", FILE_ATTRIBUTE_HIDDEN);
    EXPECT_EQ(hasOtherName ? "1 a.bak=x a.txt=yy b.txt=yy" : "1 a.bak=x a.txt=yy",
              Changed([] { return 0; }));
    EXPECT_NE(0U, GetFileAttributesA("a.txt") & FILE_ATTRIBUTE_HIDDEN);
    SetFileAttributesA("a.txt", FILE_ATTRIBUTE_NORMAL);
  }
}

// ----------------------------------------------------------------------------------- locales

TEST(Windows, HasTextsInLibrariesOfStrings) {
  const Scratch scratch;
  char application[MAX_PATH];
  GetModuleFileNameA(nullptr, application, MAX_PATH);
  const fs::path catalogue = fs::path(application).parent_path() / "catalogue.dll";
  fs::copy_file(catalogue, "planted.dll");
  const std::tuple<std::string, bool> cases[] = {
      {catalogue.string(), true}, {"catalogue", true},  // the last name that is tried
      {"planted.dll", false},     {".\\planted.dll", true},
      {"./planted", true},        {"none.dll", false}};
  for (const RE::LocaleModels model : {RE::CppLocale, RE::W32Locale}) {
    for (const auto& [name, loads] : cases) {
      RE re = Make("a", "a");
      re.SetLocaleModel(model);
      re.SetLocaleDll("no such catalogue");
      re.ParseExpression();
      re.SetLocaleDll(name);
      re.ParseExpression();
      re.SetExpression("");
      EXPECT_EQ(loads ? "A" : "Empty expression", re.GetExpressionError()) << name;
      re.SetExpression("(");
      re.ParseExpression();
      EXPECT_EQ(loads, re.GetExpressionError().rfind("A parenthesis", 0) == 0) << name;
    }
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
