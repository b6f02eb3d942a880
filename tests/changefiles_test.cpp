// SPDX-License-Identifier: BSL-1.0
// ChangeFiles: what is asked and what is changed; and what is left of a file whichever call of the
// system fails, whatever ends the process and whoever meddles, at each of the calls.

#include <csignal>
#include <cstring>
#include <fcntl.h>
#include <sstream>
#include <sys/file.h>
#include <sys/stat.h>
#include <sys/xattr.h>

#include <boost/regex/pattern_except.hpp>
#include <gtest/gtest.h>

#include "FileTestHelpers.hpp"
#include "SystemCalls.hpp"
#include "TestHelpers.hpp"

namespace RegexClass::test {
namespace {

using Files = std::map<std::string, std::string>;
using Problem = RE::FileChangeProblem;

/// An object that changes the files of a directory, which is the current one.
struct Changer : Scratch {
  RE re;

  Changer(const std::string& expression, const std::string& format, const Files& files) {
    re.SetExpression(expression);
    re.SetFormatString(format);
    re.SetFilesToMatch("*");
    for (const auto& [name, text] : files) WriteFile(name, text);
    fs::create_directory("../tmp");
    fs::permissions("../tmp", fs::perms(0777));
    setenv("TMPDIR", (path + "/tmp").c_str(), 1);
  }
  ~Changer() { unsetenv("TMPDIR"); }
  std::vector<Problem> Problems() const {
    const auto* const problems = re.GetChangeFilesErrors();
    return problems != nullptr ? *problems : std::vector<Problem>();
  }
};

TEST(ChangeFiles, ChangesFileAfterFile) {
  Changer c("(x)|(y)(?=z)", "<$1>", {{"a", "x\n.x"}, {"b", "..yz"}, {"c", "nothing"}});
  c.re.SetLocaleModel(RE::CLocale);
  std::ostringstream events;
  c.re.SetOnChangingFilesClosure([&](RE*, const auto& file, auto& match, unsigned line, bool&) {
    c.re.SetLocaleModel(RE::CppLocale);  // comes too early
    events << file << line << match[0] << match[1] << match[2] << Contents()["a"] << '\n';
  });
  // What the second expression looks for behind its match isn't in the match: it stays.
  EXPECT_EQ(3U, c.re.ChangeFiles());
  EXPECT_EQ("a1(x, 0)(x, 0)(, -1)x\n.x\na2(x, 3)(x, 3)(, -1)x\n.x\nb1(y, 2)(, -1)(y, 2)<x>\n.<x>\n",
            events.str());
  EXPECT_EQ((Files{{"a", "<x>\n.<x>"}, {"b", "..yz"}, {"c", "nothing"}}), Contents());
  EXPECT_TRUE(c.Problems().empty());
  EXPECT_EQ(RE::CLocale, c.re.GetLocaleModel());
}

TEST(ChangeFiles, PassesOverWhatIsNotToBeChanged) {
  Files files = {{"a.BAK", "x"}, {"b.bak", "x"}, {"d", "nothing"}, {"e", "x"}, {"f", "x"}};
  Changer c("x", "y", files);
  c.re.SetSaveExtension("bak");
  fs::permissions("f", fs::perms(0444));
  fs::create_symlink("here/e", "../link");
  std::string events;
  c.re.SetOnChangingFilesClosure([&](RE*, const auto& file, auto&&...) { events += file; });
  EXPECT_EQ(1U, c.re.ChangeFiles());
  EXPECT_EQ("e", events);
  files["e"] = "y";
  files["e.bak"] = "x";
  EXPECT_EQ(files, Contents());
  // A link is changed only by one who names it, and stays a link.
  c.re.SetExpression("y");
  c.re.SetFormatString("z");
  c.re.SetSaveExtension("");
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

  c.re.SetExpression("(?:y)");  // which the object can't read
  c.re.AddExpressionOption(RE::ExtendedSyntax);
  EXPECT_THROW(c.re.ChangeFiles(), boost::regex_error);
  c.re.SetExpression("(");
  EXPECT_EQ(0U, c.re.ChangeFiles());
}

TEST(ChangeFiles, DoesWithAFileWhatANotificationBringsAbout) {
  enum Act { kVeto, kEdit, kThrow };
  // The act and its match, ContinueFiles; the number of changes, and what the files have then.
  const std::tuple<Act, int, bool, unsigned, Files> cases[] = {
      {kVeto, 1, false, 2, {{"a", "xxx"}, {"b", "y"}, {"c", "y"}}},
      {kVeto, 3, false, 4, {{"a", "yyx"}, {"b", "y"}, {"c", "y"}}},
      {kEdit, 2, true, 2, {{"a", "xzx"}, {"b", "y"}, {"c", "y"}}},
      {kEdit, 2, false, 0, {{"a", "xzx"}, {"b", "x"}, {"c", "x"}}},
      {kThrow, 4, true, 9, {{"a", "yyy"}, {"b", "x"}, {"c", "x"}}},
  };
  for (const auto& [act, at, goOn, count, after] : cases) {
    SCOPED_TRACE(testing::Message() << act << " at " << at);
    Changer c("x", "y", {{"a", "xxx"}, {"b", "x"}, {"c", "x"}});
    c.re.SetContinueFiles(goOn);
    c.re.SetOnChangingFilesClosure(
        [what = act, left = at](RE*, auto&&, auto&&, auto&&, bool& change) mutable {
          if (--left != 0) return;
          change = what != kVeto;
          if (what == kEdit) WriteFile("a", "xzx");
          if (what == kThrow) throw std::runtime_error("mine");
        });
    unsigned changes = 9;
    try {
      changes = c.re.ChangeFiles();
    } catch (const std::runtime_error&) {
    }
    EXPECT_EQ(count, changes);
    EXPECT_EQ(after, Contents());
    EXPECT_EQ(act == kEdit ? 1U : 0U, c.Problems().size());
    c.re.SetFilesToMatch("");  // the object is free again, and forgets the problems
    EXPECT_EQ(0U, c.re.ChangeFiles());
    EXPECT_TRUE(c.Problems().empty());
    c.re.SetLocaleModel(RE::CLocale);
    EXPECT_EQ(RE::CLocale, c.re.GetLocaleModel());
  }
}

TEST(ChangeFiles, RunsInsideItself) {
  for (const bool same : {true, false}) {
    Changer c("x", "y", {{"a", "x"}, {"b", "xx"}, {"in/c", "p.px"}, {"in/d", "p"}});
    RE inner = Make("p", "");
    inner.SetFormatString("q");
    inner.SetFilesToMatch("in/*");
    RE& running = same ? c.re : inner;
    c.re.SetOnChangingFilesClosure([&](RE*, const auto& file, auto& match, auto&&...) {
      if (file == "a") WriteFile("a", "z");
      if (file != "b" || match[0].position != 1) return;
      const RE settings = c.re;
      running = inner;
      EXPECT_EQ(3U, running.ChangeFiles());
      c.re = settings;
    });
    EXPECT_EQ(2U, c.re.ChangeFiles());
    ASSERT_EQ(1U, c.Problems().size());
    EXPECT_EQ("a", c.Problems()[0].file);
    EXPECT_EQ((Files{{"a", "z"}, {"b", "yy"}, {"in/c", "q.qx"}, {"in/d", "q"}}), Contents());
  }
}

TEST(ChangeFiles, ChangesARealTreeAsPerlDoes) {
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

// ------------------------------------------------------------------- each call of the system

/// Makes a transfer half as long; the size is the third argument of the calls that have one.
void Halve(Words& arguments) { arguments[2] -= arguments[2] / 2; }

/// A file with the text at its start and at its end.
std::string Around(std::size_t gap, const std::string& text) {
  return text + std::string(gap, '\0') + text + '\n';
}

/// What happens at a call.
enum Act { kFails, kFailsOverwriting, kIsTheLast, kFileIsSwapped, kDirectoryIsSwapped };

/// A file of several blocks is rewritten into a longer one, one as long, or a shorter one, while an
/// act comes before one of the calls; a swap is undone some calls later. The file is one or the
/// other then, and nothing has become of the file that a neighbour has put in its way.
class EachCall : public testing::TestWithParam<Act> {};
INSTANTIATE_TEST_SUITE_P(Of, EachCall,
                         testing::Values(kFails, kFailsOverwriting, kIsTheLast, kFileIsSwapped,
                                         kDirectoryIsSwapped));

TEST_P(EachCall, LeavesTheOldContentOrTheNew) {
  const Act act = GetParam();
  const std::size_t gap = act <= kIsTheLast ? 80000 : 10;
  const std::string before = Around(gap, "x"), file = "tree/sub/file.txt";
  const uid_t user = geteuid();  // root may keep special mode bits when he writes
  for (int variant = act == kIsTheLast ? 2 : 0; variant < 3; ++variant) {
    bool more = true;
    for (int number = 1; more; ++number) {
      SCOPED_TRACE(testing::Message() << "variant " << variant << " call " << number);
      const std::string text(std::vector<std::size_t>{0, 1, gap + 5}[variant], 'y');
      const int undone = number + std::vector<int>{1, 3, 1000}[variant];
      const std::string older = variant == 1 ? "" : "older",
                        swapped = act == kFileIsSwapped ? file : "tree/sub";
      Changer c("x", text, {{file, before}, {"other/file.txt", "x"}});
      if (!older.empty()) WriteFile("tree/sub/file.bak", older);
      if (act == kFailsOverwriting) fs::create_hard_link(file, "../link");
      for (const auto& entry : fs::recursive_directory_iterator(".")) {
        ASSERT_EQ(0, user == 0 ? chown(entry.path().c_str(), 65534, getegid()) : 0);
      }
      ASSERT_EQ(0, user == 0 ? seteuid(65534) : 0);
      fs::permissions(file, fs::perms(04755));
      fs::permissions("other/file.txt", fs::perms(0600));
      c.re.SetFilesToMatch("tree/*.txt");
      c.re.SetDirectoryRecursion(true);
      c.re.SetSaveExtension("bak");
      bool found = false;
      c.re.SetOnChangingFilesClosure([&](auto&&...) { found = true; });
      const auto descriptors = OpenDescriptors();

      int calls = 0;
      const auto undo = [&] {
        if (!fs::is_symlink(swapped)) return;
        fs::remove(swapped);
        fs::rename("aside", swapped);
      };
      const SystemCallHook hook = [&](std::string_view, Words& arguments) {
        if (++calls == undone) undo();
        if (calls != number) return 0;
        if (act <= kFailsOverwriting) return Halve(arguments), EIO;
        if (act == kIsTheLast) std::raise(SIGKILL);
        fs::rename(swapped, "aside");
        fs::create_symlink(fs::absolute(act == kFileIsSwapped ? "other/file.txt" : "other"),
                           swapped);
        return 0;
      };
      unsigned int changes = 0;
      const auto run = [&] {
        const HookedSystemCalls hooked(hook);
        changes = c.re.ChangeFiles();
        return std::string(calls >= number ? "" : "done");
      };
      const std::string outcome = act == kIsTheLast ? InChild(run) : run();
      more = outcome.empty();
      undo();

      const std::string now = ReadFile(file), copy = ReadFile("tree/sub/file.bak");
      const bool isNew = now != before;
      EXPECT_TRUE(!isNew || now == Around(gap, text));
      EXPECT_TRUE(copy == before || (!isNew && copy == older));
      EXPECT_EQ("x", ReadFile("other/file.txt"));
      EXPECT_EQ(fs::perms(0600), fs::status("other/file.txt").permissions());
      EXPECT_EQ(1, std::distance(fs::directory_iterator("other"), {}));
      ASSERT_EQ(0, seteuid(user));
      if (act == kIsTheLast) continue;
      const auto problems = c.Problems();
      const bool modeLost = !problems.empty() && problems[0].kind == RE::RestoreAttributesFailed;
      EXPECT_EQ(isNew ? 2U : 0U, changes);
      EXPECT_EQ(found && (!isNew || modeLost) ? 1U : 0U, problems.size());
      EXPECT_TRUE(modeLost || fs::status(file).permissions() == fs::perms(04755));
      EXPECT_EQ(copy.empty() ? 1 : 2, std::distance(fs::directory_iterator("tree/sub"), {}));
      EXPECT_EQ(descriptors, OpenDescriptors());
      EXPECT_EQ(act == kFailsOverwriting ? 2U : 1U, fs::hard_link_count(file));
    }
  }
}

TEST(ChangeFiles, GoesOnAfterInterruptionsAndHalfTransfers) {
  for (const bool interrupts : {false, true}) {
    Changer c("x", "y", {{"file", "x" + std::string(100000, '\0') + "x"}});
    c.re.SetFilesToMatch("file");
    bool again = false;
    {
      const HookedSystemCalls hooked([&](std::string_view name, Words& arguments) {
        const bool isTransfer = name == "read" || name == "write";
        if (!interrupts && isTransfer) Halve(arguments);
        if (!interrupts || (!isTransfer && name != "openat" && name != "ftruncate")) return 0;
        again = !again;
        if (again && isTransfer) arguments[2] = 0;
        return again ? EINTR : 0;
      });
      EXPECT_EQ(2U, c.re.ChangeFiles());
    }
    EXPECT_TRUE(ReadFile("file") == "y" + std::string(100000, '\0') + "y");
  }
}

// ------------------------------------------------------------------------------- attributes

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

TEST(ChangeFiles, KeepsWhatIsNotContentAndMakesNoCopyWider) {
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

TEST(ChangeFiles, ReplacesWhatHasTheNameOfTheCopy) {
  Changer c("x", "y", {{"a.b.c", "x"}, {"b", "x"}, {"c", "x"}, {"victim", "-"}, {"c.bak", "-"}});
  fs::create_symlink("victim", "a.b.bak");
  fs::create_hard_link("victim", "b.bak");
  c.re.SetSaveExtension("bak");
  EXPECT_EQ(3U, c.re.ChangeFiles());
  EXPECT_EQ("-", ReadFile("victim"));
  for (const char* const name : {"a.b.bak", "b.bak", "c.bak"}) {
    EXPECT_EQ("x", ReadFile(name));
    EXPECT_FALSE(fs::is_symlink(name));
  }
}

// ------------------------------------------------------------------------------------ faults

/// What fails.
struct Failing {
  std::string_view call = "";
  int error = 0;
  int from = 0, to = 9;  // of the calls of that name, from 0
};

/// What is done and what fails once the match in file.txt is reported, and what is told of it. With
/// a call and no error, the command runs at the call.
struct Fault {
  const char* command;
  Failing failing;
  Problem told;  // without a file when all goes well
};
const Fault kFaults[] = {
    {"", {"openat", EACCES}, {"file.txt", RE::OpenFileFailed, 0, "", EACCES}},
    {"", {"flock", EWOULDBLOCK}, {"file.txt", RE::OpenFileFailed, 0, "", EWOULDBLOCK}},
    {"cp file.txt new; mv new file.txt", {}, {"file.txt", RE::OpenFileFailed, 0, "", ESTALE}},
    {"rm file.txt; mkdir file.txt", {}, {"file.txt", RE::OpenFileFailed, 0, "", EISDIR}},
    {"", {"mkostemp", ENOENT}, {"NoName", RE::CreateTemporaryFailed, 0, "", ENOENT}},
    {"", {"mkostemp", ENOENT, 0, 2}, {}},
    {"truncate -s 40002 file.txt", {}, {"file.txt", RE::ReadFileFailed, 40002, "", 0}},
    {"", {"write", EFBIG}, {"temporary", RE::WriteTemporaryFailed, 20000, "", EFBIG}},
    {"", {"write", ENOSPC, 0, 1}, {}},
    {"printf edit | dd of=file.txt bs=1 seek=40001 conv=notrunc status=none",
     {},
     {"file.txt", RE::TextChanged, 40000, "match", 0}},
    {"mkdir file.bak", {}, {"file.bak", RE::SaveCopyFailed, 0, "", EISDIR}},
    {"ln file.txt file.bak", {}, {"file.bak", RE::SaveCopyFailed, 0, "", EEXIST}},
    {"", {"fallocate", ENOSPC}, {"file.bak", RE::SaveCopyFailed, 0, "", ENOSPC}},
    {"", {"fallocate", ENOSPC, 1}, {"file.txt", RE::ReplaceFileFailed, 0, "", ENOSPC}},
    {"", {"fallocate", EOPNOTSUPP}, {}},
    {"mv file.txt aside; cp aside file.txt",
     {"fallocate", 0, 1, 2},
     {"file.txt", RE::ReplaceFileFailed, 0, "", ESTALE}},
};

/// Of a temporary file's name only what isn't random.
std::string Line(const Problem& p) {
  const std::string temporary = std::getenv("TMPDIR") + std::string("/Regex");
  return (p.file.rfind(temporary, 0) == 0 ? "temporary" : p.file) + " kind " +
         std::to_string(p.kind) + " at " + std::to_string(p.position) + ' ' + p.text + " error " +
         std::to_string(p.lastError);
}

TEST(ChangeFiles, TellsWhatWentWrong) {
  const std::string begin(40000, 'o'), end(5000, 'p'), hole((1 << 20) - 45005, '\0');
  const auto content = [&](const std::string& middle) { return begin + middle + end; };
  const auto extent = [] {
    struct stat s = {};
    stat("file.txt", &s);
    return std::tuple(s.st_size, s.st_blocks, s.st_mtim.tv_sec, s.st_mtim.tv_nsec);
  };
  for (const auto& [command, failing, told] : kFaults) {
    Changer c("match", std::string(40000, 'n'), {{"file.txt", content("match")}});
    fs::resize_file("file.txt", 1 << 20);
    SCOPED_TRACE(Line(told));
    c.re.SetFilesToMatch("file.txt");
    c.re.SetSaveExtension("bak");
    auto before = extent();
    const auto run = [&, command = command] {
      EXPECT_EQ(0, std::system(command));
      before = extent();
      return 0;
    };
    int calls = -1;  // none counts before the report
    const auto hook = [&, fails = failing](std::string_view name, Words& w) {
      EXPECT_TRUE(name != "flock" || w[1] == (LOCK_EX | LOCK_NB));
      const bool punches = name == "fallocate" && (w[1] & FALLOC_FL_PUNCH_HOLE) != 0;
      if (calls < 0 || name != fails.call || punches) return 0;
      if (calls++ < fails.from || calls > fails.to) return 0;
      if (name == "write") Halve(w);
      // Out of space when all is reserved, which is to be given back then.
      if (name == "fallocate") CallSystem(name, w);
      return fails.error != 0 ? fails.error : run();
    };
    c.re.SetOnChangingFilesClosure(
        [&, fails = failing](auto&&...) { calls = fails.call.empty() ? run() : 0; });
    const bool fine = told.file.empty();
    {
      const HookedSystemCalls hooked(hook);
      EXPECT_EQ(fine ? 1U : 0U, c.re.ChangeFiles());
    }
    EXPECT_EQ(fine ? "" : Line(told), c.Problems().empty() ? "" : Line(c.Problems()[0]));
    EXPECT_TRUE(fine || extent() == before);
    const std::string now = content(fine ? std::string(40000, 'n') : "match");
    EXPECT_TRUE(ReadFile("file.txt") == now + hole || *command != '\0');
    EXPECT_EQ(fine || told.kind == RE::ReplaceFileFailed,
              fs::is_regular_file("file.bak") && told.lastError != EEXIST);
    EXPECT_TRUE(fs::is_empty("../tmp"));
  }
}

}  // namespace
}  // namespace RegexClass::test
