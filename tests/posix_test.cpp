// SPDX-License-Identifier: BSL-1.0
// What is POSIX's own: permissions, links, interrupted and failing calls, catalogues by gencat, the
// locales of the system; and its tools as models of what the library does.

#include <algorithm>
#include <clocale>
#include <cstring>
#include <fcntl.h>
#include <glob.h>
#include <locale>
#include <map>
#include <set>
#include <sstream>
#include <sys/file.h>
#include <sys/mman.h>
#include <sys/resource.h>
#include <sys/stat.h>
#include <sys/wait.h>
#include <sys/xattr.h>
#include <utility>

#include <gtest/gtest.h>

#include "LocaleTestHelpers.hpp"
#include "OperationTestHelpers.hpp"
#include "SystemCalls.hpp"

/// The C library loses a copy of LOCPATH each time that it looks for a locale.
extern "C" [[gnu::visibility("default")]] const char*
__lsan_default_suppressions() {  // NOLINT(bugprone-reserved-identifier): the tool's name for it
  return "leak:argz_add_sep\n";
}

namespace RegexClass::test {
namespace {

/// What `run` gives as text, in a process of its own that may give up its rights.
template <class Run>
std::string InChild(Run run) {
  const int outcome = memfd_create("outcome", 0);
  const pid_t child = fork();
  if (child == 0) {
    std::string text = "failed";
    try {
      text = run();
    } catch (const std::exception&) {
    }
    _exit(write(outcome, text.data(), text.size()) < 0 ? 1 : 0);
  }
  waitpid(child, nullptr, 0);
  std::string text = ReadFile("/proc/self/fd/" + std::to_string(outcome));
  close(outcome);
  return text;
}

TEST(PosixFiles, HoldWhatGrepFindsInThem) {
  const Scratch scratch;
  for (const std::string expression : {"[a-z_]{9,}", "\"[^\"\\n]*\"(?=[ ,;)])"}) {
    const std::string command =
        "LC_ALL=C grep -robanP '" + expression + "' /usr/include/c++/*/bits | sort >grepped";
    ASSERT_EQ(std::system(command.c_str()), 0);
    RE re = Make("\n", ReadFile("grepped"));
    Texts expected = Pieces(re);
    std::sort(expected.begin(), expected.end());
    Texts grepped = Grepped(Walker(expression, "/usr/include/c++/*/bits/*", true));
    std::sort(grepped.begin(), grepped.end());
    EXPECT_EQ(grepped, expected);
  }
}

TEST(PosixFiles, AreSelectedAsGlobSelectsThem) {
  const Scratch scratch;
  for (const char* const name : {"a", "b", "ab", "aa/a", "aa/.b", "b.a", ".a", ".b/a", "ba/aa/b",
                                 "ba/a", "ba/.a/a", "bb/ab", "a-/b", "*", "[a]", "ba/a]"})
    WriteFile(name, "x");
  bool again = false;
  const HookedSystemCalls hooked([&](std::string_view name, Words& arguments) {
    if (name != "getdents64") return 0;
    arguments[2] = 64;  // two or three entries at a time
    ::rmdir("gone");
    return (again = !again) ? EINTR : 0;
  });
  for (const std::string& pattern : AllStrings("ab*?./[]", 4)) {
    // glob matches `.` and `..` with the first two, and takes a name with a slash for the file.
    if (pattern.find(".*") != pattern.npos || pattern.find(".?") != pattern.npos) continue;
    if (!pattern.empty() && (pattern.front() == '/' || pattern.back() == '/')) continue;
    glob_t all = {};
    ::glob(pattern.c_str(), GLOB_NOSORT, nullptr, &all);
    std::set<fs::path> expected;  // which are ordered name by name
    std::copy_if(all.gl_pathv, all.gl_pathv + all.gl_pathc, std::inserter(expected, expected.end()),
                 [](const char* name) { return fs::is_regular_file(name); });
    ::globfree(&all);
    EXPECT_EQ(Found(Walker("x", pattern)), Texts(expected.begin(), expected.end())) << pattern;
  }
  fs::create_directory("gone");
  EXPECT_EQ(Found(Walker("x", "gone/*")), Texts());
}

TEST(PosixFiles, LieAtAnyDepth) {
  const Scratch scratch;
  constexpr int kLevels = 3000;
  int here = ::open(".", O_RDONLY);
  for (int level = 0; level < kLevels; ++level) {  // beside each directory below there is a file
    for (const char* const name : {"b", "c", "a"}) ASSERT_EQ(0, ::mkdirat(here, name, 0700));
    for (const char* const name : {"c", "a"}) {
      const int below = ::openat(here, name, O_RDONLY);
      if (*name == 'c') ::close(::openat(below, "x", O_CREAT, 0600));
      if (*name == 'a') ::dup2(below, here);
      ::close(below);
    }
  }
  ::close(here);
  EXPECT_EQ(std::to_string(kLevels) + " c/x", InChild([] {
              const rlimit few = {64, 64};
              ::setrlimit(RLIMIT_NOFILE, &few);
              const Texts log = Found(Walker("$", "*/x;x", true));
              return std::to_string(log.size()) + ' ' + log.back();
            }));
  EXPECT_EQ(0, std::system("rm -r a"));
}

TEST(PosixFiles, AreThoseOfTheDirectoryThatWasListed) {
  for (const bool swapped : {false, true}) {
    const Scratch scratch;
    fs::path deep;
    for (int level = 0; level < 40; ++level, deep /= "a") WriteFile(deep / "c/x", "x");
    bool moved = false;
    const HookedSystemCalls hooked([&](std::string_view name, Words& arguments) {
      if (name != "openat" || moved) return 0;
      // NOLINTNEXTLINE(performance-no-int-to-ptr): words of a system call are pointers, too
      moved = std::strcmp(reinterpret_cast<const char*>(arguments[1]), "..") == 0;
      if (!moved) return 0;
      const fs::path below = fs::read_symlink("/proc/self/fd/" + std::to_string(arguments[0]));
      WriteFile("../else/c/y", "x");
      fs::rename(below, "../else/a");  // so that its .. is another directory
      if (swapped) fs::rename(below.parent_path(), "../aside");
      if (swapped) fs::rename("../else", below.parent_path());
      return 0;
    });
    using Counts = std::map<std::string, int>;
    Counts ends;
    for (const std::string& line : Found(Walker("x", "*", true)))
      ++ends[line.substr(line.rfind('c'))];
    EXPECT_EQ(ends, swapped ? (Counts{{"c/x", 39}, {"c: open: 116", 1}}) : (Counts{{"c/x", 40}}));
  }
}

TEST(PosixFiles, AreReadThoughTheSystemMakesThemUp) {
  const std::string online = "/sys/devices/system/cpu/online";  // tells too large a size
  EXPECT_EQ(Grepped(Walker(".+", online)), (Texts{online + ":1:0:" + ReadFile(online)}));
  EXPECT_EQ(Found(Walker(".{99999}", "/proc/kallsyms")).empty(),  // tells the size 0
            ReadFile("/proc/kallsyms").size() < 99999);
  EXPECT_EQ(Found(Walker("x", "/proc/self/mem")), (Texts{"/proc/self/mem: read: 5"}));
}

TEST(PosixFiles, WithoutPermissionAreListed) {
  const Scratch scratch;
  for (const char* const name :
       {"closed", "d/open", "d/secret", "d/listed/f", "d/shut/f", "last/f", "passable/f"})
    WriteFile(name, "x");
  fs::create_symlink("f", "d/listed/l");
  ASSERT_EQ(std::system("chmod 0 closed d/s*; chmod 444 d/listed; chmod 111 passable"), 0);
  const std::string log = InChild([] {
    if (::geteuid() == 0 && (::setgid(65534) != 0 || ::setuid(65534) != 0)) return std::string();
    std::string text;
    for (const bool goOn : {true, false}) {
      RE re = Walker("x", "d/shut/*;*;closed", true);
      re.SetContinueFiles(goOn);
      for (const std::string& line : Log(re, false)) text += line + '\n';
    }
    return text;
  });
  EXPECT_EQ(log,
            "d/open\nlast/f\nd/shut: open: 13\nclosed: open: 13\nd/secret: open: 13\n"
            "d/listed/f: open: 13\nd/listed/l: open: 13\npassable: open: 13\nd/shut: open: 13\n");
  EXPECT_EQ(std::system("chmod -R u+rwx ."), 0);
}

TEST(PosixChangeFiles, ChangesARealTreeAsPerlDoes) {
  Changer c("", "", {});
  ASSERT_EQ(0, std::system("cp -r /usr/include/c++/*/bits ours && cp -r ours perls"));
  c.re.SetFilesToMatch("ours/*");
  c.re.SetDirectoryRecursion(true);
  for (const auto& [expression, format] :
       {std::pair(R"([ \t]*//[^\n]*\n)", "\\n"), {R"((?i)(std|__detail)::(\w+))", "$2\\t$1$1"}}) {
    c.re.SetExpression(expression);
    c.re.SetFormatString(format);
    WriteFile("script",
              std::string("$n += s~") + expression + "~" + format + "~gs; END { warn $n }");
    ASSERT_EQ(0, std::system("find perls -type f | xargs perl -0777 -i -p script 2>count"));
    EXPECT_EQ(std::stoul(ReadFile("count")), c.re.ChangeFiles());
    EXPECT_EQ(0, std::system("diff -r ours perls")) << expression;
  }
}

TEST(PosixChangeFiles, ChangesALinkOnlyForOneWhoNamesIt) {
  Changer c("y", "z", {{"e", "y"}});
  fs::create_symlink("here/e", "../link");
  fs::create_directory_symlink("here", "../to-here");
  for (const char* const found : {"../l*", "../to*/e"}) {
    c.re.SetFilesToMatch(found);
    EXPECT_EQ(1U, c.re.FindFiles());
    EXPECT_EQ(0U, c.re.ChangeFiles());
  }
  EXPECT_TRUE(c.Problems().empty());
  c.re.SetFilesToMatch("../link");
  EXPECT_EQ(1U, c.re.ChangeFiles());
  EXPECT_TRUE(fs::is_symlink("../link"));
  EXPECT_EQ("z", ReadFile("e"));
}

TEST(PosixChangeFiles, GoesOnAfterInterruptions) {
  Changer c("x", "y", {{"file", "x" + std::string(100000, '\0') + "x"}});
  bool again = false;
  {
    const HookedSystemCalls hooked([&](std::string_view name, Words& arguments) {
      if (!IsTransfer(name) && name != "openat" && name != "ftruncate") return 0;
      again = !again;
      if (again && IsTransfer(name)) arguments[2] = 0;
      return again ? EINTR : 0;
    });
    EXPECT_EQ(2U, c.re.ChangeFiles());
  }
  EXPECT_TRUE(ReadFile("file") == "y" + std::string(100000, '\0') + "y");
}

/// The mode, the owners, the number of names and the extended attributes of a file.
std::string Attributes(const std::string& name) {
  struct stat status = {};
  EXPECT_EQ(0, stat(name.c_str(), &status)) << name;
  std::ostringstream text;
  text << std::oct << (status.st_mode & 07777) << std::dec << ' ' << status.st_uid << ' '
       << status.st_gid << ' ' << status.st_nlink;
  for (const char* const attribute : {"system.posix_acl_access", "security.capability"}) {
    char value[64];
    const ssize_t size = getxattr(name.c_str(), attribute, value, sizeof value);
    text << ' ' << std::string(value, size > 0 ? static_cast<std::size_t>(size) : 0);
  }
  return text.str();
}

TEST(PosixChangeFiles, KeepsWhatIsNotContentAndMakesNoCopyWider) {
  if (geteuid() != 0) GTEST_SKIP() << "needs root, to give files to others";
  // What the user 1234 may do, and 5678 by name.
  const std::uint16_t list[] = {2,      0,      1,  7, 0xFFFF, 0xFFFF, 2,  4, 5678,   0,     4, 0,
                                0xFFFF, 0xFFFF, 16, 4, 0xFFFF, 0xFFFF, 32, 4, 0xFFFF, 0xFFFF};
  const char capability[20] = {1, 0, 0, 2, 0, 4};  // to bind a port of the system's services
  for (int variant = 0; variant < 16; ++variant) {
    SCOPED_TRACE(variant);
    const bool linked = variant & 1, hasList = variant & 2, defaults = variant & 4;
    const bool owner = variant & 8;  // who is the file's, but not of its group
    Changer c("x", "y", {{"file", "x"}});
    if (linked) fs::create_hard_link("file", "../link");
    ASSERT_EQ(0, chown("file", 1234, 4321));
    fs::permissions("file", fs::perms(owner ? 0750 : 06750));
    const char* const lists[] = {"system.posix_acl_access", "system.posix_acl_default"};
    ASSERT_EQ(0, hasList ? setxattr("file", lists[0], list, sizeof list, 0) : 0);
    ASSERT_EQ(0, defaults ? setxattr(".", lists[1], list, sizeof list, 0) : 0);
    if (!owner) std::ignore = setxattr("file", "security.capability", capability, 20, 0);
    const std::string before = Attributes("file");
    c.re.SetSaveExtension("bak");
    EXPECT_EQ("1", InChild([&] {
                if (owner && (setgid(999) != 0 || setuid(1234) != 0)) return std::string();
                return std::to_string(c.re.ChangeFiles());
              }));
    EXPECT_EQ("y", ReadFile("file"));
    EXPECT_EQ(before, Attributes("file"));
    const std::string text = hasList ? std::string(reinterpret_cast<const char*>(list), 44) : "";
    EXPECT_EQ(owner ? "700 1234 999 1  "
                    : (hasList ? "744" : "750") + std::string(" 1234 4321 1 ") + text + ' ',
              Attributes("file.bak"));
  }
}

/// What fails once the match in file.txt is reported, and what is told of it. Without an error the
/// file gets another name at the call, and the name another file.
struct Fault {
  std::string_view call;
  int error;
  int from, to;  // of the calls of that name, from 0
  Problem told;  // without a file when all goes well
};
const Fault kFaults[] = {
    {"openat", EACCES, 0, 9, {"file.txt", RE::OpenFileFailed, 0, "", EACCES}},
    {"flock", EWOULDBLOCK, 0, 9, {"file.txt", RE::OpenFileFailed, 0, "", EWOULDBLOCK}},
    {"mkostemp", ENOENT, 0, 9, {"NoName", RE::CreateTemporaryFailed, 0, "", ENOENT}},
    {"mkostemp", ENOENT, 0, 2, {}},
    {"write", EFBIG, 0, 9, {"temporary", RE::WriteTemporaryFailed, 20000, "", EFBIG}},
    {"write", ENOSPC, 0, 1, {}},
    {"fallocate", ENOSPC, 0, 9, {"file.bak", RE::SaveCopyFailed, 0, "", ENOSPC}},
    {"fallocate", ENOSPC, 1, 9, {"file.txt", RE::ReplaceFileFailed, 0, "", ENOSPC}},
    {"fallocate", EOPNOTSUPP, 0, 9, {}},
    {"fallocate", 0, 1, 2, {"file.txt", RE::ReplaceFileFailed, 0, "", ESTALE}},
};

TEST(PosixChangeFiles, TellsWhatWentWrong) {
  const auto content = [](const std::string& middle) {
    return std::string(40000, 'o').append(middle).append(5000, 'p');
  };
  const auto extent = [] {
    struct stat s = {};
    stat("file.txt", &s);
    return std::tuple(s.st_size, s.st_blocks, s.st_mtim.tv_sec, s.st_mtim.tv_nsec);
  };
  for (const Fault& fault : kFaults) {
    const Problem& told = fault.told;
    Changer c("match", std::string(40000, 'n'), {{"file.txt", content("match")}});
    fs::resize_file("file.txt", 1 << 20);
    SCOPED_TRACE(Line(told));
    c.re.SetFilesToMatch("file.txt");
    c.re.SetSaveExtension("bak");
    auto before = extent();
    int calls = -1;  // none counts before the report
    c.re.SetOnChangingFilesClosure([&](auto&&...) { calls = 0; });
    const auto hook = [&](std::string_view name, Words& w) {
      EXPECT_TRUE(name != "flock" || w[1] == (LOCK_EX | LOCK_NB));
      const bool punches = name == "fallocate" && (w[1] & FALLOC_FL_PUNCH_HOLE) != 0;
      if (calls < 0 || name != fault.call || punches) return 0;
      if (calls++ < fault.from || calls > fault.to) return 0;
      if (name == "write") Halve(w);
      // Out of space when all is reserved, which is to be given back then.
      if (name == "fallocate") CallSystem(name, w);
      if (fault.error == 0) {
        fs::rename("file.txt", "aside");
        fs::copy_file("aside", "file.txt");
        before = extent();
      }
      return fault.error;
    };
    const bool fine = told.file.empty();
    {
      const HookedSystemCalls hooked(hook);
      EXPECT_EQ(fine ? 1U : 0U, c.re.ChangeFiles());
    }
    EXPECT_EQ(fine ? "" : Line(told), c.Problems().empty() ? "" : Line(c.Problems()[0]));
    EXPECT_TRUE(fine || extent() == before);
    const std::string now = content(fine ? std::string(40000, 'n') : "match");
    EXPECT_TRUE(ReadFile("file.txt") == now + std::string((1 << 20) - 45005, '\0'));
    EXPECT_EQ(fine || told.kind == RE::ReplaceFileFailed, fs::is_regular_file("file.bak"));
    EXPECT_TRUE(fs::is_empty("../tmp"));
  }
}

// ----------------------------------------------------------------------------------- locales

const char* const kGerman = "de_DE.ISO-8859-1";

/// Sets the user's system locale.
void SetUser(const char* all, const char* messages = "", const char* lang = "") {
  SetVariable("LC_ALL", all);
  SetVariable("LC_MESSAGES", messages);
  SetVariable("LANG", lang);
}

/// The locales that the tests need, for the whole program.
struct Locales : Scratch {
  Locales() {
    SetVariable("LOCPATH", fs::current_path());
    EXPECT_EQ(std::system("localedef -i de_DE -f ISO-8859-1 ./de_DE.ISO-8859-1"), 0);
    EXPECT_EQ(std::system("localedef -i de_AT -f ISO-8859-1 ./de_AT.ISO-8859-1"), 0);
  }
};

/// Each test runs for both models that have catalogues.
class PosixLocale : public testing::TestWithParam<RE::LocaleModels>, protected Scratch {
 protected:
  PosixLocale() {
    static const Locales locales;
    fs::current_path(path + "/here");
    SetUser("C");
  }

 public:
  ~PosixLocale() override {
    std::locale::global(std::locale::classic());
    std::setlocale(LC_ALL, "C");
  }
};
INSTANTIATE_TEST_SUITE_P(Model, PosixLocale, testing::Values(RE::CppLocale, RE::W32Locale));

TEST_P(PosixLocale, HasItsLettersUnderEachModel) {
  // An expression, a text, and whether they match in the C locale and in the German one.
  const std::tuple<const char*, const char*, bool, bool> cases[] = {
      {"[[:alpha:]]", "\xE4", false, true}, {"[[:punct:]]", "\xA7", false, true},
      {"[[:upper:]]", "\xC4", false, true}, {"\\w+", "a\xDF", false, true},
      {"[[=a=]]", "\xE4", false, true},     {"[[=a=]]", "b", false, false},
      {"[a-b]", "\xE4", false, true},       {"[a-b]", "B", false, false},
      {"[\xE4-\xF6]", "b", false, true},    {"[Z-a]", "_", true, false}};
  WriteFile("letter", "\xE4");
  RE lasting = Under(RE::CLocale);  // compiles again when the locale has changed
  lasting.SetExpression("(?i)\xE4");
  lasting.SetStringToMatch("\xC4");
  std::map<RE::LocaleModels, RE> walkers;  // last, too
  for (const char* name : {"C", kGerman, "C"}) {
    for (const RE::LocaleModels model : kModels) {
      SetUser(model == RE::W32Locale ? name : "C");
      std::locale::global(std::locale(model == RE::CppLocale ? name : "C"));
      std::setlocale(LC_ALL, model == RE::CLocale ? name : "C");
      EXPECT_EQ(lasting.Search(), model == RE::CLocale && name == kGerman);
      RE re = Under(model);
      Parse(re, "[[:alpha:]]");  // to be compiled again under the locale
      re.SetLocale(std::locale(name));
      re.SetFilesToMatch("letter");
      RE& walker = walkers[model] = std::as_const(re);
      EXPECT_EQ(re.FindFiles() + walker.GrepFiles(), name == kGerman ? 2U : 0U);
      re.SetExpression("(?i)\xE4");
      re.SetStringToMatch("\xC4");
      EXPECT_EQ(re.MatchAll(), name == kGerman);
      re.DeleteExpressionOption(RE::NoCollate);
      for (const auto& [expression, text, inC, inGerman] : cases) {
        re.SetExpression(expression);
        re.SetStringToMatch(text);
        EXPECT_EQ(re.MatchAll(), name == kGerman ? inGerman : inC)
            << expression << text << " in " << name << " of " << model;
      }
    }
  }
}

TEST_P(PosixLocale, HasTheNamesOfTheUsersLocaleForACatalogue) {
  SetUser(kGerman);  // gencat takes the bytes for letters of this locale
  const std::tuple<const char*, const char*, const char*, Texts> cases[] = {
      {kGerman, "", "", {"DeD", "De", "dll"}},
      {"", kGerman, "C", {"DeD", "De", "dll"}},
      {"", "", kGerman, {"DeD", "De", "dll"}},
      {"de_AT.ISO-8859-1", "C", "C", {"De\xD6", "De", "dll"}},
      {"no", kGerman, "", {"dll"}}};
  for (const auto& [all, messages, lang, tried] : cases) {
    SetUser(all, messages, lang);
    ExpectTried(tried, GetParam());
  }
}

TEST_P(PosixLocale, LooksForABareNameAlongAPath) {
  SetVariable("NLSPATH", fs::current_path() / "dir/%N");
  fs::create_directory("dir");
  for (const std::string file : {"dir/ext.cat", "ext.cat"}) {  // the second is looked for first
    EXPECT_NE(Loaded("ext.cat", GetParam()), file);
    WriteCatalogue(file, "251 " + file);
    EXPECT_EQ(Loaded("ext.cat", GetParam()), file);
  }
}

TEST_P(PosixLocale, SurvivesADamagedCatalogue) {
  WriteCatalogue("good.cat", "143 s\n208 parenthesis\n251 nothing there\n252 failed");
  const std::string good = ReadFile("good.cat");
  for (std::size_t bit = 0; bit < 9 * good.size(); ++bit) {  // each bit turned, each byte the last
    std::string bad = good;
    if (bit < 8 * bad.size()) {
      bad[bit / 8] = static_cast<char>(bad[bit / 8] ^ 1 << bit % 8);
    } else {
      bad.resize(bit - 8 * bad.size());
    }
    WriteFile("bad.cat", bad);
    RE re = Under(GetParam(), bit % 2 == 0 ? "bad.cat" : "./bad.cat");  // so that it is read again
    EXPECT_EQ(Parse(re, ""), RE::NoExpression);
    EXPECT_LE(Told(re, "(").size(), 254U) << bit;
  }
}

}  // namespace
}  // namespace RegexClass::test
