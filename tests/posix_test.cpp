// SPDX-License-Identifier: BSL-1.0
// What is POSIX's own: permissions, links, interrupted and failing calls, catalogues by gencat, the
// locales of the system; and its tools as models of what the library does.

#include <algorithm>
#include <clocale>
#include <cstring>
#include <fcntl.h>
#include <glob.h>
#include <linux/fs.h>
#include <locale>
#include <map>
#include <set>
#include <sstream>
#include <sys/file.h>
#include <sys/ioctl.h>
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
    const Texts found = Found(Walker("x", pattern));
    EXPECT_EQ(found, Texts(expected.begin(), expected.end())) << pattern;
    EXPECT_EQ(found, Walker("", pattern).SelectFiles()) << pattern;
  }
  fs::create_directory("gone");
  EXPECT_EQ(Found(Walker("x", "gone/*")), Texts());
}

TEST(PosixFiles, LieAtAnyDepth) {
  const Scratch scratch;
  constexpr int kLevels = 3000;
  int here = ::open(".", O_RDONLY);
  for (int level = 0; level < kLevels; ++level) {  // beside each directory below there is a file
    for (const char* const name : {"b", "c", "a"}) ASSERT_EQ(::mkdirat(here, name, 0700), 0);
    for (const char* const name : {"c", "a"}) {
      const int below = ::openat(here, name, O_RDONLY);
      if (*name == 'c') ::close(::openat(below, "x", O_CREAT, 0600));
      if (*name == 'a') ::dup2(below, here);
      ::close(below);
    }
  }
  ::close(here);
  EXPECT_EQ(InChild([] {
              const rlimit few = {64, 64};
              ::setrlimit(RLIMIT_NOFILE, &few);
              const Texts log = Found(Walker("$", "*/x;x", true));
              return std::to_string(log.size()) + ' ' + log.back();
            }),
            std::to_string(kLevels) + " c/x");
  EXPECT_EQ(std::system("rm -r a"), 0);
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
  if (fs::exists(online)) {
    EXPECT_EQ(Grepped(Walker(".+", online)), (Texts{online + ":1:0:" + ReadFile(online)}));
  }
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
      re.SelectFiles();  // fails on directories alone
      for (const auto& problem : *re.GetSelectFilesErrors()) text += problem.file + ' ';
      re.ChangeFiles();
      for (const auto& problem : *re.GetChangeFilesErrors()) {
        if (problem.kind == RE::OpenFileFailed) text += problem.file + '!';
      }
      text += '\n';
    }
    return text;
  });
  EXPECT_EQ(log,
            "d/open\nlast/f\nd/shut: open: 13\nclosed: open: 13\nd/secret: open: 13\n"
            "d/listed/f: open: 13\nd/listed/l: open: 13\npassable: open: 13\n"
            "d/shut d/listed/l passable d/shut!closed!d/secret!d/listed/f!passable!\n"
            "d/shut: open: 13\nd/shut d/shut!\n");
  EXPECT_EQ(std::system("chmod -R u+rwx ."), 0);
}

TEST(PosixChangeFiles, ChangesARealTreeAsPerlDoes) {
  Changer c("", "", {});
  ASSERT_EQ(std::system("cp -r /usr/include/c++/*/bits ours && cp -r ours perls"), 0);
  c.re.SetFilesToMatch("ours/*");
  c.re.SetDirectoryRecursion(true);
  for (const auto& [expression, format] :
       {std::pair(R"([ \t]*//[^\n]*\n)", "\\n"), {R"((?i)(std|__detail)::(\w+))", "$2\\t$1$1"}}) {
    c.re.SetExpression(expression);
    c.re.SetFormatString(format);
    WriteFile("script",
              std::string("$n += s~") + expression + "~" + format + "~gs; END { warn $n }");
    ASSERT_EQ(std::system("find perls -type f | xargs perl -0777 -i -p script 2>count"), 0);
    EXPECT_EQ(c.re.ChangeFiles(), std::stoul(ReadFile("count")));
    EXPECT_EQ(std::system("diff -r ours perls"), 0) << expression;
  }
}

TEST(PosixChangeFiles, ChangesALinkOnlyForOneWhoNamesIt) {
  // A pattern, whether it recurses, and how often it comes to the one file.
  const std::tuple<const char*, bool, unsigned> cases[] = {
      {"../l*", false, 0},   {"../to*/e", false, 0},        {"../[t]o/e", false, 0},
      {"../link", false, 1}, {"../to/e", false, 1},         {"../l*;../here/*", false, 1},
      {"../*/e", false, 1},  {"../l*;e;../link", false, 1}, {"../link;e", false, 1},
      {"../*", true, 1}};
  for (const auto& [pattern, recursion, count] : cases) {
    SCOPED_TRACE(pattern);
    Changer c("y", "z", {{"e", "y"}});
    fs::create_symlink("here/e", "../a-link");
    fs::create_symlink("here/e", "../link");
    fs::create_directory_symlink("here", "../a-to");
    fs::create_directory_symlink("here", "../to");
    c.re.SetFilesToMatch(pattern);
    c.re.SetDirectoryRecursion(recursion);
    EXPECT_EQ(c.re.FindFiles(), 1U);
    EXPECT_EQ(c.re.ChangeFiles(), count);
    EXPECT_EQ(ReadFile("e"), count == 1 ? "z" : "y");
    EXPECT_TRUE(fs::is_symlink("../link"));
    EXPECT_TRUE(c.Problems().empty());
  }
}

/// The calls that matter for what is left after a power loss, from `run`, with their descriptors as
/// letters in their order; those that come again at once are one.
template <class Run>
std::string CallsForTheDevice(Run run) {
  std::string calls;
  std::map<Word, char> letters;
  const HookedSystemCalls hooked([&](std::string_view name, Words& w) {
    std::string call;
    if (name == "write" || name == "fdatasync") {
      call = std::string(name) +
             letters.emplace(w[0], static_cast<char>('a' + letters.size())).first->second + ' ';
    }
    if (name.substr(0, 8) == "renameat") {
      // NOLINTNEXTLINE(performance-no-int-to-ptr): words of a system call are pointers, too
      call = reinterpret_cast<const char*>(w[3]) + std::string(" ");
    }
    if (name == "syncfs" || name == "fallocate") call = std::string(name) + ' ';
    if (calls.size() < call.size() || calls.substr(calls.size() - call.size()) != call)
      calls += call;
    return 0;
  });
  run();
  return calls;
}

TEST(PosixChangeFiles, BringsContentsToTheDeviceBeforeTheirNames) {
  // Whether copies are saved, and files wait for each other. The first that is written to is the
  // temporary file.
  const std::tuple<bool, bool, const char*> cases[] = {
      {false, false, "writea writeb fdatasyncb f writea writeb fdatasyncb g "},
      {true, false,
       "writea writeb writec fdatasyncc fdatasyncb f.b f writea writeb writec fdatasyncc "
       "fdatasyncb g.b g "},
      {true, true, "writea writeb writec writed writee writef syncfs f.b f g.b g "}};
  for (const auto& [copies, together, calls] : cases) {
    Changer c("x", "y", {{"f", "x"}, {"g", "x"}});
    c.re.SetSaveExtension(copies ? "b" : "");
    c.re.SetSyncTogether(together);
    EXPECT_EQ(CallsForTheDevice([&] { EXPECT_EQ(c.re.ChangeFiles(), 2U); }), calls);
  }
}

std::string FirstProblem(const Changer& c) {
  return c.Problems().empty() ? "" : Line(c.Problems()[0]);
}

TEST(PosixChangeFiles, LeavesAloneWhatOthersSteer) {
  Changer c("x", "y", {{"f", "x"}, {"f.b", "x"}});
  c.re.SetSaveExtension("b");
  c.re.SetKeepCopies(true);
  fs::create_hard_link("f", "../f");
  c.re.SetFilesToMatch("*");
  EXPECT_EQ(c.re.ChangeFiles(), 0U);
  EXPECT_EQ(FirstProblem(c), "f kind 6 at 0  error 31");
  c.re.SetFilesToMatch("f");
  EXPECT_EQ(c.re.ChangeFiles(), 1U);  // the copy is there already
  EXPECT_EQ(ReadFile("../f"), "y");
  c.re.SetFilesToMatch("*");
  c.re.SetChangeHardLinks(true);
  c.re.SetExpression("y|z");
  c.re.SetFormatString("z");
  EXPECT_EQ(c.re.ChangeFiles(), 0U);
  EXPECT_EQ(FirstProblem(c), "f.b kind 5 at 0  error 17");
  fs::remove("f.b");
  EXPECT_EQ(c.re.ChangeFiles(), 1U);
  EXPECT_EQ(ReadFile("f.b"), "y");
  {  // one that comes in between
    c.re.SetFormatString("w");
    fs::remove("f.b");
    const HookedSystemCalls hooked([&](std::string_view name, Words&) {
      if (name == "fdatasync") WriteFile("f.b", "-");
      return name == "renameat2" ? EINVAL : 0;
    });
    EXPECT_EQ(c.re.ChangeFiles(), 0U);
  }
  EXPECT_EQ(FirstProblem(c), "f.b kind 5 at 0  error 17");
  EXPECT_EQ(Contents(), (Files{{"f", "z"}, {"f.b", "-"}}));
}

TEST(PosixChangeFiles, RewritesAFileWithWhatIsNobodyElses) {
  const std::tuple<const char*, const char*, std::size_t, const char*> cases[] = {
      {"f", "s", 9, ""},
      {"link", "s", 9, ""},
      {"to/f", "s", 3, ""},
      {"link", "s", 0, "link kind 0 at 0  error 40"},
      {"to/f", "s", 1, "to/f kind 0 at 0  error 20"},
      {"f", "slink", 9, "slink kind 0 at 0  error 40"},
      {"f", "pipe", 9, "pipe kind 0 at 0  error 22"},
      {"pipe", "s", 9, "pipe kind 0 at 0  error 22"},
      {"f", "f", 9, "f kind 0 at 0  error 17"},
      {"f", "", 9, " kind 0 at 0  error 2"},
      {"f", "others", 9, "others kind 0 at 0  error 1"},
      {"none", "s", 9, "none kind 0 at 0  error 2"},
      {"closed", "s", 9, "closed kind 6 at 0  error 13"}};
  const std::string text(100000, 's');
  for (const auto& [name, source, named, told] : cases) {
    Changer c("", "", {{"f", "x"}, {"s", text}, {"others", "o"}, {"closed", "x"}});
    fs::create_symlink("f", "link");
    fs::create_symlink("s", "slink");
    fs::create_directory_symlink(".", "to");
    ASSERT_EQ(mkfifo("pipe", 0600), 0);
    fs::permissions("closed", fs::perms(0444));
    if (chown("others", 1234, 1234) != 0 && source == std::string("others")) continue;
    EXPECT_EQ(c.re.RewriteFile(name, source, named), *told == '\0') << name << source;
    EXPECT_EQ(FirstProblem(c), told);
    EXPECT_TRUE(ReadFile("f") == (*told == '\0' ? text : "x"));
    EXPECT_TRUE(fs::is_symlink("link") && ReadFile("s") == text);
  }
}

TEST(PosixChangeFiles, StaysWithinTheLimitsOfProcessAndDirectory) {
  Changer c("x", "y", {{"large", "x" + std::string(50000, '.')}, {"log/f", "x"}});
  EXPECT_EQ(InChild([&] {
              const rlimit limit = {30000, 30000};
              ::setrlimit(RLIMIT_FSIZE, &limit);
              c.re.ChangeFiles();
              return FirstProblem(c);
            }),
            "temporary kind 3 at 30000  error 27");
  const int directory = open("log", O_RDONLY);
  int flags = FS_APPEND_FL;
  if (ioctl(directory, FS_IOC_SETFLAGS, &flags) != 0) GTEST_SKIP() << "needs root";
  c.re.SetFilesToMatch("log/f");
  EXPECT_EQ(c.re.ChangeFiles(), 1U);
  c.re.SetExpression("y");
  c.re.SetFormatString("z");
  c.re.SetSaveExtension("b");
  EXPECT_EQ(c.re.ChangeFiles(), 0U);
  EXPECT_EQ(FirstProblem(c), "log/f.b kind 5 at 0  error 1");
  const Files after = Contents();
  flags = 0;
  EXPECT_EQ(ioctl(directory, FS_IOC_SETFLAGS, &flags), 0);
  close(directory);
  EXPECT_EQ(after.size(), 2U);
  EXPECT_EQ(after.at("log/f"), "y");
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
    EXPECT_EQ(c.re.ChangeFiles(), 2U);
  }
  EXPECT_TRUE(ReadFile("file") == "y" + std::string(100000, '\0') + "y");
}

/// The mode, the owners, the number of names and the extended attributes of a file.
std::string Attributes(const std::string& name) {
  struct stat status = {};
  EXPECT_EQ(stat(name.c_str(), &status), 0) << name;
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
    c.re.SetChangeHardLinks(true);
    ASSERT_EQ(chown("file", 1234, 4321), 0);
    fs::permissions("file", fs::perms(owner ? 0756 : 06750));
    const char* const lists[] = {"system.posix_acl_access", "system.posix_acl_default"};
    ASSERT_EQ(hasList ? setxattr("file", lists[0], list, sizeof list, 0) : 0, 0);
    ASSERT_EQ(defaults ? setxattr(".", lists[1], list, sizeof list, 0) : 0, 0);
    if (!owner) std::ignore = setxattr("file", "security.capability", capability, 20, 0);
    const std::string before = Attributes("file");
    c.re.SetSaveExtension("bak");
    EXPECT_EQ(InChild([&] {
                if (owner && (setgid(999) != 0 || setuid(1234) != 0)) return std::string();
                return std::to_string(c.re.ChangeFiles());
              }),
              "1");
    EXPECT_EQ(ReadFile("file"), "y");
    EXPECT_EQ(Attributes("file"), before);
    const std::string text = hasList ? std::string(reinterpret_cast<const char*>(list), 44) : "";
    EXPECT_EQ(Attributes("file.bak"),
              owner ? (hasList ? "700" : "740") + std::string(" 1234 999 1  ")
                    : (hasList ? "744" : "750") + std::string(" 1234 4321 1 ") + text + ' ');
  }
}

constexpr int kSwapped = 0, kAppended = -1;

/// What fails once the match in file.txt is reported, and what is told of it. In place of an error
/// the file gets another name at the call, and the name another file; or the file gets longer.
struct Fault {
  std::string_view call;
  int error;
  int from, to;  // of the calls of that name, from 0
  Problem told;  // without a file when all goes well
};
const Fault kFaults[] = {
    {"openat", EACCES, 0, 9, {"file.txt", RE::OpenFileFailed, 0, "", EACCES}},
    {"flock", EWOULDBLOCK, 0, 9, {"file.txt", RE::OpenFileFailed, 0, "", EWOULDBLOCK}},
    {"openat", EPERM, 0, 1, {"file.txt", RE::ReplaceFileFailed, 0, "", EPERM}},  // to write
    {"mkostemp", ENOENT, 0, 9, {"NoName", RE::CreateTemporaryFailed, 0, "", ENOENT}},
    {"mkostemp", ENOENT, 0, 2, {}},
    {"write", EFBIG, 0, 9, {"temporary", RE::WriteTemporaryFailed, 20000, "", EFBIG}},
    {"write", ENOSPC, 0, 1, {}},
    {"fdatasync", EIO, 0, 1, {"file.bak", RE::SaveCopyFailed, 0, "", EIO}},
    {"fdatasync", EIO, 1, 9, {"file.txt", RE::ReplaceFileFailed, 0, "", EIO}},
    {"fdatasync", ENOSPC, 1, 9, {}},
    {"fdatasync", EINVAL, 0, 9, {}},
    {"fdatasync", kAppended, 0, 1, {"file.txt", RE::OpenFileFailed, 0, "", 0}},
    {"renameat", kSwapped, 0, 1, {"file.txt", RE::ReplaceFileFailed, 0, "", ESTALE}},
    {"renameat", kAppended, 0, 1, {"file.txt", RE::OpenFileFailed, 0, "", 0}},
    // These two beside a second renameat that fails, so that the file is to be written over.
    {"fallocate", ENOSPC, 0, 9, {"file.txt", RE::ReplaceFileFailed, 0, "", ENOSPC}},
    {"fallocate", EOPNOTSUPP, 0, 9, {}},
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
    int renamed = 0;
    int calls = -1;  // none counts before the report
    c.re.SetOnChangingFilesClosure([&](auto&&...) { calls = 0; });
    const auto hook = [&](std::string_view name, Words& w) {
      EXPECT_TRUE(name != "flock" || w[1] == (LOCK_EX | LOCK_NB));
      const bool punches = name == "fallocate" && (w[1] & FALLOC_FL_PUNCH_HOLE) != 0;
      if (name == "openat" && (w[2] & O_TMPFILE) == O_TMPFILE && fault.call == "mkostemp") {
        return EOPNOTSUPP;
      }
      if (name == "renameat" && fault.call == "fallocate" && ++renamed == 2) return EBUSY;
      if (calls < 0 || name != fault.call || punches) return 0;
      if (calls++ < fault.from || calls > fault.to) return 0;
      if (name == "write") Halve(w);
      // Out of space when all is reserved, which is to be given back then.
      if (name == "fallocate") CallSystem(name, w);
      if (fault.error == kSwapped) {
        fs::rename("file.txt", "aside");
        fs::copy_file("aside", "file.txt");
      }
      if (fault.error == kAppended) std::ofstream("file.txt", std::ios::app) << '!';
      if (fault.error <= 0) before = extent();
      return std::max(fault.error, 0);
    };
    const bool fine = told.file.empty();
    {
      const HookedSystemCalls hooked(hook);
      EXPECT_EQ(c.re.ChangeFiles(), fine ? 1U : 0U);
    }
    EXPECT_EQ(c.Problems().empty() ? "" : Line(c.Problems()[0]), fine ? "" : Line(told));
    EXPECT_TRUE(fine || extent() == before);
    const std::string now = content(fine ? std::string(40000, 'n') : "match");
    EXPECT_TRUE(ReadFile("file.txt") ==
                now + std::string((1 << 20) - 45005, '\0') + (fault.error == kAppended ? "!" : ""));
    EXPECT_EQ(fs::is_regular_file("file.bak"),
              fine || fault.call == "renameat" || fault.call == "fallocate");
    for (const char* const name : {"file.txt", "file.bak"}) {  // the holes are kept
      struct stat s = {};
      EXPECT_TRUE(fault.error == kSwapped || stat(name, &s) != 0 || s.st_blocks < 512);
    }
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
#ifdef _LIBCPP_VERSION
  GTEST_SKIP() << "the std::ctype of libc++ has no letters above 127";
#endif
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
