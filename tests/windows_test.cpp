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
      {"sub\\..\\noext;SUB\\in\\..\\d.txt", false, {"sub\\..\\noext", "SUB\\in\\..\\d.txt"}},
      {"NUL;sub\\con.txt;COM1;nul.;aux ;lpt9 .x;CONOUT$;NUL:;COM\xB9", false, {}},
      {"\\\\.\\NUL;//./" + here + "/noext;\\\\?\\pipe\\*;\\\\.\\pipe\\*;\\\\x\\pipe\\y", false, {}},
      {"nothing\\*;noext\\x;sub;[;noext.;noext ;noext:x;noext::$DATA;n<;\"oext;.;..", false, {}},
  };
  for (const auto& [pattern, recursion, files] : cases) {
    EXPECT_EQ(Found(Walker("x", pattern, recursion)), files) << pattern;
    EXPECT_EQ(Walker("", pattern, recursion).SelectFiles(), files) << pattern;
  }
}

struct CloseFile {
  using pointer = HANDLE;
  void operator()(HANDLE handle) const { CloseHandle(handle); }
};
using Handle = std::unique_ptr<HANDLE, CloseFile>;

/// Opens a file as another program would have it open.
HANDLE Open(const char* name, DWORD access,
            DWORD share = FILE_SHARE_READ | FILE_SHARE_WRITE | FILE_SHARE_DELETE) {
  return CreateFileA(name, access, share, nullptr, OPEN_EXISTING, 0, nullptr);
}

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

TEST(Windows, HasNamesOfAnyLength) {
  const Scratch scratch;
  std::wstring deep = L"\\\\?\\" + fs::current_path().wstring();
  for (int i = 0; i < 8; ++i) {
    deep += L'\\' + std::wstring(50, L'd');
    EXPECT_TRUE(CreateDirectoryW(deep.c_str(), nullptr));
  }
  std::ofstream(fs::path(deep + L"\\x.txt")) << "x";
  RE re = Walker("x", "*.txt", true);
  re.SetFormatString("y");
  re.SetSaveExtension("bak");
  EXPECT_EQ(re.ChangeFiles(), 1U);
  std::string way;
  for (int i = 0; i < 8; ++i) way += std::string(50, 'd') + '\\';
  EXPECT_EQ(Found(Walker("x", "x.*", true)), Texts{way + "x.bak"});
  EXPECT_EQ(Found(Walker("y", "x.*", true)), Texts{way + "x.txt"});
  for (const wchar_t* const file : {L"\\x.txt", L"\\x.bak"}) DeleteFileW((deep + file).c_str());
  for (int i = 0; i < 8; ++i, deep.resize(deep.size() - 51)) RemoveDirectoryW(deep.c_str());
  // One that is no text in the code page, but is like another's.
  std::ofstream(fs::path(L"\uff41.txt")) << "y";
  WriteFile("a.txt", "y");
  EXPECT_EQ(Found(Walker("y", "*.txt")), (Texts{"a.txt", ".: read: 1113"}));
}

TEST(Windows, TellsWhyAFileInUseIsNotRewritten) {
  const Scratch scratch;
  WriteFile("a.txt", "-x-");
  // By one who writes, one whose reading shuts out all that write, and one who reads on.
  EXPECT_EQ(Changed([] { return Handle(Open("a.txt", GENERIC_WRITE)); }),
            "0 a.txt kind 0 at 0  error 32 a.txt=-x-");
  EXPECT_EQ(Changed([] { return Handle(Open("a.txt", GENERIC_READ, FILE_SHARE_READ)); }),
            "0 a.txt kind 6 at 0  error 32 a.bak=-x- a.txt=-x-");
  EXPECT_EQ(Changed([] { return Handle(Open("a.txt", GENERIC_READ)); }), "1 a.bak=-x- a.txt=-yy-");
}

TEST(Windows, HoldsAFileWhateverFails) {
  // What fails of the calls of a name, from the one number to the other.
  const std::tuple<std::string_view, int, int, int, const char*> cases[] = {
      {"", 0, 0, 0, "1 a.bak=-x- a.txt=-yy-"},
      {"SetFileInformationByHandle", ERROR_DISK_FULL, 1, 2,  // when it is to be written over
       "0 a.txt kind 6 at 0  error 112 a.bak=-x- a.txt=-x-"},
      {"WriteFile", ERROR_DISK_FULL, 0, 2, "1 a.bak=-x- a.txt=-yy-"},
      {"ReplaceFileW", ERROR_UNABLE_TO_MOVE_REPLACEMENT_2, 0, 1, "1 a.bak=-x- a.txt=-yy-"},
      {"FlushFileBuffers", ERROR_CRC, 0, 1, "0 a.bak kind 5 at 0  error 23 a.txt=-x-"},
      {"FlushFileBuffers", ERROR_CRC, 1, 2, "0 a.txt kind 6 at 0  error 23 a.txt=-x-"},
      {"SetFileAttributesW", ERROR_GEN_FAILURE, 0, 9, "1 a.bak=-x- a.txt=-yy-"},
  };
  for (const auto& [call, error, from, to, told] : cases) {
    const Scratch scratch;
    WriteFile("a.txt", "-x-");
    int calls = 0;
    const auto hook = [&, wanted = call, number = error, begin = from, end = to](
                          std::string_view name, const Words& w) {
      if (name == "WriteFile" || name == "ReplaceFileW") {
        const Handle writer(Open("a.txt", GENERIC_WRITE));
        EXPECT_EQ(writer.get(), INVALID_HANDLE_VALUE);
        EXPECT_EQ(GetLastError(), ERROR_SHARING_VIOLATION);
        EXPECT_NE(Handle(Open("a.txt", GENERIC_READ)).get(), INVALID_HANDLE_VALUE);
      }
      if (name == "ReplaceFileW" && wanted == "SetFileInformationByHandle") {
        return int{ERROR_ACCESS_DENIED};
      }
      if (name != wanted || calls++ < begin || calls > end) return 0;
      // It may fail with the old file gone aside.
      const auto path = [&](int i) { return reinterpret_cast<const wchar_t*>(w[i]); };
      EXPECT_TRUE(name != "ReplaceFileW" || MoveFileW(path(0), path(2)));
      return number;
    };
    const HookedSystemCalls hooked(hook);
    EXPECT_EQ(Changed([] { return 0; }), told) << call << calls;
  }
}

TEST(Windows, NamesATemporaryFileInThreeWays) {
  Changer c("x", "y", {{"a", "x"}});
  for (const bool exists : {true, false}) {
    if (!exists) SetVariable(Changer::kVariable, c.path + "\\nowhere");
    Texts tried;
    {
      const HookedSystemCalls hooked([&](std::string_view name, const Words& w) {
        if (name == "GetTempFileNameA") tried.emplace_back("by the system");
        if (name != "CreateFileW" || static_cast<DWORD>(w[4]) != CREATE_NEW) return 0;
        const std::string file =
            fs::path(reinterpret_cast<const wchar_t*>(w[0])).filename().string();
        if (file[0] == '.') return 0;  // beside the file that it is for
        tried.push_back(file.substr(0, 3));
        return int{ERROR_DISK_FULL};
      });
      EXPECT_EQ(c.re.ChangeFiles(), exists ? 1U : 0U);
    }
    ASSERT_GE(tried.size(), 2U);  // the second may see that there is no such directory
    EXPECT_EQ(tried[1], exists ? "Reg" : tried[1]);
    EXPECT_EQ(tried.back(), "by the system");
    EXPECT_EQ(c.Problems().empty() ? "" : Line(c.Problems()[0]),
              exists ? "" : "NoName kind 1 at 0  error 267");
    WriteFile("a", "x");
    EXPECT_TRUE(fs::is_empty("../tmp"));
  }
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
    EXPECT_EQ(Loaded(".\\planted", model), "planted");
    for (const char* const bare : {"planted.dll", "planted"})
      EXPECT_EQ(Loaded(bare, model), kEmpty);
    EXPECT_EQ(Loaded("catalogue", model), "A");  // lies beside the program
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
