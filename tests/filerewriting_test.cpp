// The rewriting of one file: what comes of it, and what is left when any call of the system fails.

#include "files/FileRewriting.hpp"

#include <csignal>
#include <iostream>
#include <sys/file.h>
#include <sys/mount.h>
#include <sys/resource.h>
#include <sys/stat.h>
#include <sys/xattr.h>
#include <unistd.h>

#include <gtest/gtest.h>

#include "FileTestHelpers.hpp"
#include "TestHelpers.hpp"

namespace RegexClass::test {
namespace {

namespace fs = std::filesystem;
using namespace platform;
using Problem = RE::FileChangeProblem;
using Handle = std::unique_ptr<File>;
using Name = const std::string&;

struct FailingFile : File {
  FailingFile(int& calls, Handle file) : left(calls), real(std::move(file)) {}
  Error Read(char* buffer, std::size_t size, std::size_t& count) override {
    return --left == 0 ? EIO : real->Read(buffer, size, count);
  }
  Error Write(const char* buffer, std::size_t size) override {
    const bool fails = --left == 0;
    const Error error = real->Write(buffer, fails ? size / 2 : size);
    return fails ? EIO : error;
  }
  std::uint64_t Offset() override { return real->Offset(); }
  Error Rewind() override { return --left == 0 ? EIO : real->Rewind(); }
  Error Size(std::uint64_t& size) override { return --left == 0 ? EIO : real->Size(size); }
  Error Reserve(std::uint64_t size) override { return --left == 0 ? EIO : real->Reserve(size); }
  Error Truncate(std::uint64_t size) override { return --left == 0 ? EIO : real->Truncate(size); }
  Error Close() override { return --left == 0 ? EIO : real->Close(); }

  int& left;
  const Handle real;
};

Handle Failing(int& calls, Handle file) {
  return std::make_unique<FailingFile>(calls, std::move(file));
}

/// Stands for a file of its owner, which keeps that.
struct BorrowedFile : File {
  explicit BorrowedFile(File& file) : real(file) {}
  Error Read(char* buffer, std::size_t size, std::size_t& count) override {
    return real.Read(buffer, size, count);
  }
  Error Write(const char* buffer, std::size_t size) override { return real.Write(buffer, size); }
  std::uint64_t Offset() override { return real.Offset(); }
  Error Rewind() override { return real.Rewind(); }
  Error Size(std::uint64_t& size) override { return real.Size(size); }
  Error Reserve(std::uint64_t size) override { return real.Reserve(size); }
  Error Truncate(std::uint64_t size) override { return real.Truncate(size); }
  Error Close() override { return real.Close(); }
  File& real;
};

struct FailingNewFile : NewFile {
  FailingNewFile(int& calls, std::unique_ptr<NewFile> file)
      : left(calls),
        real(std::move(file)),
        content(calls, std::make_unique<BorrowedFile>(real->Content())) {}
  File& Content() override { return content; }
  Error Publish() override { return --left == 0 ? EIO : real->Publish(); }
  int& left;
  const std::unique_ptr<NewFile> real;
  FailingFile content;
};

struct FailingTarget : Target {
  FailingTarget(int& calls, bool inPlace, std::unique_ptr<Target> target)
      : left(calls),
        overwriting(inPlace),
        real(std::move(target)),
        content(calls, std::make_unique<BorrowedFile>(real->Content())) {}
  Error Wrap(Error error, std::unique_ptr<NewFile>& file) {
    if (--left == 0) error = EIO;
    file = error == 0 ? std::make_unique<FailingNewFile>(left, std::move(file)) : nullptr;
    return error;
  }
  File& Content() override { return content; }
  Error Unwritable() override { return --left == 0 ? EIO : real->Unwritable(); }
  Error CreateReplacement(std::unique_ptr<NewFile>& file) override {
    return overwriting ? EMLINK : Wrap(real->CreateReplacement(file), file);
  }
  Error CreateCopy(Name name, std::unique_ptr<NewFile>& file) override {
    return Wrap(real->CreateCopy(name, file), file);
  }
  Error RestoreAttributes() override { return --left == 0 ? EIO : real->RestoreAttributes(); }
  int& left;
  const bool overwriting;
  const std::unique_ptr<Target> real;
  FailingFile content;
};

/// The system, but that the last of `left` calls fails, a write after half of its bytes.
struct FailingServices : FileServices {
  FailingServices(int calls, bool inPlace) : left(calls), overwriting(inPlace) {}
  bool MayRewrite(const FoundFile& file) override { return real.MayRewrite(file); }
  Error Open(const FoundFile& file, std::unique_ptr<Target>& target) override {
    std::unique_ptr<Target> opened;
    const Error error = --left == 0 ? EIO : real.Open(file, opened);
    if (error == 0) target = std::make_unique<FailingTarget>(left, overwriting, std::move(opened));
    return error;
  }
  Error CreateTemporary(TemporaryNaming naming, TemporaryFile& temporary) override {
    const Error error = --left == 0 ? EIO : real.CreateTemporary(naming, temporary);
    EXPECT_FALSE(fs::exists(temporary.name)) << "would be left by a process that is killed";
    if (error == 0) temporary.file = Failing(left, std::move(temporary.file));
    return error;
  }

  FileServices& real = FileServices::System();
  int left;
  const bool overwriting;
};

/// The file of that name as a walk would have found it.
FoundFile Found(Name name) {
  struct stat status = {};
  EXPECT_EQ(0, stat(name.c_str(), &status));
  return {name, name.size(), {status.st_dev, status.st_ino}};
}

TEST(Rewriting, AnyOneFailureLeavesTheOldContentOrTheNew) {
  const uid_t user = geteuid();  // root may keep special mode bits when he writes
  ASSERT_EQ(0, user == 0 ? seteuid(65534) : 0);
  // Stretches longer than the blocks, short and empty ones; zero bytes everywhere.
  const std::string old = "one" + std::string(100000, '\0') + "match" + std::string(5000, '\n');
  for (int variant = 0, n = 1; variant < 12; ++n) {
    SCOPED_TRACE(testing::Message() << "variant " << variant << " call " << n);
    const ScratchDirectory scratch;
    const std::string file = scratch / "file.txt";
    const std::string copy = scratch / "file.bak";
    const std::string before = variant % 2 == 0 ? "none" : "before";
    const std::string replacement(std::vector<std::size_t>{0, 5, 200000}[variant / 2 % 3], '\0');
    const std::string changed =
        "1two" + std::string(100000, '\0') + replacement + std::string(4999, '\n');
    const PendingChanges changes = {
        {0, "one", "1"}, {3, "", "two"}, {100003, "match", replacement}, {100009, "\n\n", "\n"}};
    WriteFile(file, old);
    fs::permissions(file, fs::perms(06755));
    if (before != "none") WriteFile(copy, before);
    const auto descriptors = OpenDescriptors();
    std::vector<Problem> problems;
    FailingServices services(n, variant >= 6);
    const unsigned int applied =
        ApplyPendingChanges(services, Found(file), changes, "bak", problems);

    EXPECT_LE(problems.size(), services.left <= 0 ? 1U : 0U);
    const int kind = problems.empty() ? -1 : static_cast<int>(problems[0].kind);
    const bool isNew = problems.empty() || kind == RE::RestoreAttributesFailed;
    EXPECT_EQ(isNew ? changes.size() : 0U, applied);
    EXPECT_TRUE(ReadFile(file) == (isNew ? changed : old));
    EXPECT_TRUE(kind == RE::RestoreAttributesFailed ||
                fs::status(file).permissions() == fs::perms(06755));
    // The copy is whole, or as before, or told of.
    const std::string saved = fs::exists(copy) ? ReadFile(copy) : "none";
    EXPECT_TRUE(saved == old || (!isNew && saved == before));
    EXPECT_EQ(fs::exists(copy) ? 2 : 1, std::distance(fs::directory_iterator(scratch.path), {}));
    EXPECT_EQ(descriptors, OpenDescriptors());
    if (services.left > 0) n = 0, ++variant;
  }
  ASSERT_EQ(0, seteuid(user));
}

TEST(Rewriting, KeepsWhatIsNotContent) {
  const ScratchDirectory scratch;
  const std::string file = scratch / "file.txt";
  const auto kept = [](Name name) {
    struct stat status = {};
    EXPECT_EQ(0, stat(name.c_str(), &status));
    char value[64] = "";
    const ssize_t size = getxattr(name.c_str(), "security.capability", value, sizeof value);
    return std::make_tuple(status.st_mode & 07777, status.st_gid, status.st_uid, status.st_ino,
                           status.st_nlink, size, std::string(value, sizeof value));
  };
  WriteFile(file, "one two");
  fs::create_hard_link(file, scratch / "link");
  fs::create_symlink("file.txt", scratch / "symlink.txt");
  std::ignore = chown(file.c_str(), 1234, 4321);
  fs::permissions(file, fs::perms(06751));
  const char capability[20] = {1, 0, 0, 2, 0, 4};  // to bind a port of the system's services
  std::ignore = setxattr(file.c_str(), "security.capability", capability, sizeof capability, 0);
  const auto before = kept(file);

  std::vector<Problem> problems;
  ASSERT_EQ(1U, ApplyPendingChanges(FileServices::System(), Found(scratch / "symlink.txt"),
                                    {{4, "two", "three"}}, "bak", problems));
  EXPECT_TRUE(fs::is_symlink(scratch / "symlink.txt"));
  EXPECT_EQ("one three", ReadFile(scratch / "link"));
  EXPECT_EQ(before, kept(file));
  EXPECT_EQ("a.bak", SavedCopyName("a.d/name", "bak"));
  // The copy is as private as the file, but doesn't run as someone else.
  const auto copy = kept(scratch / "symlink.bak");
  EXPECT_EQ(0751U, std::get<0>(copy));
  EXPECT_EQ(std::get<1>(before), std::get<1>(copy));
}

/// A fault of the real system: what brings it about, in a process of its own whose current
/// directory holds the file, and what comes of it.
struct RealFault {
  void (*provoke)();
  Problem told;
};

void BecomeNobodyWith(int permissions) {
  fs::permissions("file.txt", fs::perms(permissions));
  if (setgid(65534) != 0 || setuid(65534) != 0) _exit(3);
}
/// Makes the file system full but for `rest` bytes.
void Fill(std::size_t rest) {
  std::ofstream("filler") << std::string(1 << 20, 'f') << std::flush;
  fs::resize_file("filler", fs::file_size("filler") - rest);
}
void LimitFileSize() {
  const rlimit limit = {40100, 40100};
  signal(SIGXFSZ, SIG_IGN);
  setrlimit(RLIMIT_FSIZE, &limit);
}
/// Locks the file to the end of the process.
void Lock(int lock) { flock(open("file.txt", O_RDONLY), lock); }

const std::string kOld = std::string(40000, 'o') + "match" + std::string(5000, 'p');
const std::string kNew =
    std::string(80000, 'n').replace(0, 40000, 40000, 'o') + std::string(5000, 'p');
const PendingChanges kChanges = {{40000, "match", std::string(40000, 'n')}};

const RealFault kFaults[] = {
    {[] { BecomeNobodyWith(0600); }, {"file.txt", RE::OpenFileFailed, 0, "", EACCES}},
    {[] { Lock(LOCK_EX); }, {"file.txt", RE::OpenFileFailed, 0, "", EWOULDBLOCK}},
    {[] { EXPECT_EQ(0, chroot(".")); }, {"NoName", RE::CreateTemporaryFailed, 0, "", ENOENT}},
    {[] { fs::resize_file("file.txt", 40002); }, {"file.txt", RE::ReadFileFailed, 40002, "", 0}},
    {LimitFileSize, {"/tmp/Regex", RE::WriteTemporaryFailed, 40100, "", EFBIG}},
    {[] { std::fstream("file.txt").seekp(40001) << "edit"; },
     {"file.txt", RE::TextChanged, 40000, "match", 0}},
    {[] { fs::create_directory("file.bak"); }, {"file.bak", RE::SaveCopyFailed, 0, "", EISDIR}},
    {[] { fs::create_hard_link("file.txt", "file.bak"); },
     {"file.bak", RE::SaveCopyFailed, 0, "", EEXIST}},
    {[] { Fill(20000); }, {"file.bak", RE::SaveCopyFailed, 0, "", ENOSPC}},
    {[] { Fill(60000); }, {"file.txt", RE::ReplaceFileFailed, 0, "", ENOSPC}},
    {[] { Lock(LOCK_SH); }, {"file.txt", RE::OpenFileFailed, 0, "", EWOULDBLOCK}},
    {[] { BecomeNobodyWith(0644); }, {"file.txt", RE::ReplaceFileFailed, 0, "", EACCES}},
    {[] { BecomeNobodyWith(06777); }, {"file.txt", RE::RestoreAttributesFailed, 0, "", EPERM}},
};

std::string Line(const Problem& p) {  // of the name only what isn't random
  return p.file.substr(0, 10) + " kind " + std::to_string(p.kind) + " at " +
         std::to_string(p.position) + ' ' + p.text + " error " + std::to_string(p.lastError) + '\n';
}

/// Ends the process with the number of changes, and the problems on the error output.
[[noreturn]] void ApplyUnder(const RealFault& fault, const std::string& directory) {
  fs::current_path(directory);
  const FoundFile found = Found("file.txt");
  fault.provoke();
  std::vector<Problem> problems;
  const unsigned int applied =
      ApplyPendingChanges(FileServices::System(), found, kChanges, "bak", problems);
  for (const Problem& problem : problems) std::cerr << Line(problem);
  _exit(static_cast<int>(applied));
}

TEST(Rewriting, TellsOfRealFaults) {
  for (const RealFault& fault : kFaults) {
    SCOPED_TRACE(Line(fault.told));
    const ScratchDirectory scratch;
    if (mount("tmpfs", scratch.path.c_str(), "tmpfs", 0, "size=192k,mode=0777") != 0) {
      GTEST_SKIP() << "needs root, to take permissions away and to mount a file system";
    }
    WriteFile(scratch / "file.txt", kOld);
    const bool isNew = fault.told.kind == RE::RestoreAttributesFailed;
    EXPECT_EXIT(ApplyUnder(fault, scratch.path), testing::ExitedWithCode(isNew ? 1 : 0),
                testing::Eq(Line(fault.told)));
    EXPECT_TRUE(fault.told.position != 0 ||
                ReadFile(scratch / "file.txt") == (isNew ? kNew : kOld));
    const bool saved = fault.told.kind >= RE::ReplaceFileFailed || fault.told.lastError == EEXIST;
    EXPECT_EQ(saved, fs::is_regular_file(scratch / "file.bak"));
    EXPECT_TRUE(!saved || ReadFile(scratch / "file.bak") == kOld);
    umount(scratch.path.c_str());
  }
}

}  // namespace
}  // namespace RegexClass::test
