// The rewriting of one file: what comes of it, and what is left when any call of the system fails.

#include "files/FileRewriting.hpp"

#include <cerrno>
#include <csignal>
#include <fcntl.h>
#include <filesystem>
#include <fstream>
#include <functional>
#include <sstream>
#include <sys/file.h>
#include <sys/mount.h>
#include <sys/resource.h>
#include <sys/stat.h>
#include <sys/wait.h>
#include <sys/xattr.h>
#include <unistd.h>

#include <gtest/gtest.h>

#include "FileTestHelpers.hpp"
#include "TestHelpers.hpp"

namespace RegexClass {
namespace {

namespace fs = std::filesystem;
using platform::Attributes;
using platform::Error;
using platform::File;
using platform::FileServices;
using platform::TemporaryFile;
using platform::TemporaryNaming;
using test::RE;
using test::ReadFile;
using test::ScratchDirectory;
using test::WriteFile;
using Problems = std::vector<RE::FileChangeProblem>;

/// What ApplyPendingChanges is to make of `content`, by the simplest means.
std::string Changed(const std::string& content, const PendingChanges& changes) {
  std::string result = content;
  for (auto change = changes.rbegin(); change != changes.rend(); ++change) {
    result.replace(change->position, change->matched.size(), change->replacement);
  }
  return result;
}

/// The system, but that its n-th call from now on fails, a write after half of its bytes.
class FailingServices : public FileServices {
 public:
  explicit FailingServices(int n) : countdown_(n) {}
  bool HasFailed() const { return countdown_ <= 0; }
  std::string temporaryName;
  std::function<void()> onCreateTemporary = [] {};

  Error OpenForReading(const std::string& name, std::unique_ptr<File>& file) override {
    return Fails() ? EIO : Wrap(real_.OpenForReading(name, file), file);
  }
  Error OpenForOverwriting(const std::string& name, std::unique_ptr<File>& file) override {
    return Fails() ? EIO : Wrap(real_.OpenForOverwriting(name, file), file);
  }
  Error OpenForCopyOf(const std::string& original, const std::string& name,
                      std::unique_ptr<File>& file, bool& created) override {
    return Fails() ? EIO : Wrap(real_.OpenForCopyOf(original, name, file, created), file);
  }
  Error CreateTemporary(TemporaryNaming naming, TemporaryFile& temporary) override {
    onCreateTemporary();
    if (Fails()) return EIO;
    const Error error = Wrap(real_.CreateTemporary(naming, temporary), temporary.file);
    temporaryName = temporary.name;
    return error;
  }
  Error Remove(const std::string& name) override { return Fails() ? EIO : real_.Remove(name); }
  bool IsReadOnly(const std::string& name) override { return real_.IsReadOnly(name); }
  Error GetAttributes(const std::string& name, Attributes& attributes) override {
    return Fails() ? EIO : real_.GetAttributes(name, attributes);
  }
  Error SetAttributes(const std::string& name, const Attributes& attributes) override {
    return Fails() ? EIO : real_.SetAttributes(name, attributes);
  }

 private:
  class FailingFile : public File {
   public:
    FailingFile(FailingServices& services, std::unique_ptr<File> real)
        : services_(services), real_(std::move(real)) {}
    Error Read(char* buffer, std::size_t size, std::size_t& count) override {
      return services_.Fails() ? EIO : real_->Read(buffer, size, count);
    }
    Error Write(const char* buffer, std::size_t size) override {
      if (!services_.Fails()) return real_->Write(buffer, size);
      real_->Write(buffer, size / 2);
      return EIO;
    }
    std::uint64_t Offset() override { return real_->Offset(); }
    Error Rewind() override { return services_.Fails() ? EIO : real_->Rewind(); }
    Error Size(std::uint64_t& size) override { return services_.Fails() ? EIO : real_->Size(size); }
    Error Reserve(std::uint64_t size) override {
      return services_.Fails() ? EIO : real_->Reserve(size);
    }
    Error Truncate(std::uint64_t size) override {
      return services_.Fails() ? EIO : real_->Truncate(size);
    }
    Error Close() override { return services_.Fails() ? EIO : real_->Close(); }

   private:
    FailingServices& services_;
    std::unique_ptr<File> real_;
  };

  bool Fails() { return --countdown_ == 0; }
  Error Wrap(Error error, std::unique_ptr<File>& file) {
    if (error == 0) file = std::make_unique<FailingFile>(*this, std::move(file));
    return error;
  }

  FileServices& real_ = FileServices::System();
  int countdown_;
};

constexpr int kNever = 1 << 30;

TEST(Rewriting, ReplacesWhatIsRecordedAndNothingElse) {
  const ScratchDirectory scratch;
  const std::string file = scratch / "file.txt";
  test::Random random(5);
  for (int round = 0; round < 150; ++round) {
    // Stretches around the sizes of the blocks, and empty ones; zero bytes everywhere.
    const std::size_t longest = std::vector<std::size_t>{0, 5, 4097, 70000}[random.Below(4)];
    std::string content;
    PendingChanges changes;
    for (std::size_t i = random.Below(6); i > 0; --i) {
      content += random.Text(std::string("a\0\n", 3), longest);
      const std::string matched = random.Text(std::string("b\0", 2), 4);
      changes.push_back({content.size(), matched, random.Text(std::string("c\0", 2), 9)});
      content += matched;
    }
    if (random.Flip()) content += random.Text("d", longest);
    WriteFile(file, content);
    Problems problems;
    ASSERT_EQ(changes.size(),
              ApplyPendingChanges(FileServices::System(), file, changes, "bak", problems));
    ASSERT_TRUE(problems.empty());
    ASSERT_TRUE(Changed(content, changes) == ReadFile(file)) << "round " << round;
    ASSERT_TRUE(content == ReadFile(scratch / "file.bak")) << "round " << round;
  }
}

TEST(Rewriting, NamesTheSavedCopy) {
  EXPECT_EQ("a/b.c.bak", SavedCopyName("a/b.c.txt", "bak"));
  EXPECT_EQ("name.bak", SavedCopyName("name", "bak"));
  EXPECT_EQ("a.bak", SavedCopyName("a.d/name", "bak"));
}

/// Takes root's right to keep special mode bits away, for the life of the scope.
struct AsOrdinaryUser {
  AsOrdinaryUser() {
    if (user == 0 && (setegid(65534) != 0 || seteuid(65534) != 0)) ADD_FAILURE();
  }
  ~AsOrdinaryUser() {
    if (seteuid(user) != 0 || setegid(group) != 0) abort();
  }
  const uid_t user = geteuid();
  const gid_t group = getegid();
};

TEST(Rewriting, AnyOneFailureLeavesTheOldContentOrTheNew) {
  const AsOrdinaryUser user;
  const std::string old = std::string(100000, 'o') + "match" + std::string(5000, 'p');
  for (const std::size_t length : {0U, 5U, 200000U}) {
    for (const char* const extension : {"", "bak"}) {
      for (const bool copyExists : {false, true}) {
        bool failed = true;
        for (int n = 1; failed; ++n) {
          SCOPED_TRACE(testing::Message() << length << extension << copyExists << " call " << n);
          const ScratchDirectory scratch;
          const std::string file = scratch / "file.txt";
          const std::string copy = scratch / "file.bak";
          WriteFile(file, old);
          fs::permissions(file, fs::perms(06755));
          if (copyExists) WriteFile(copy, "before");
          const PendingChanges changes = {{100000, "match", std::string(length, 'n')}};
          const auto descriptors = test::OpenDescriptors();
          Problems problems;
          FailingServices services(n);
          const unsigned int applied =
              ApplyPendingChanges(services, file, changes, extension, problems);
          failed = services.HasFailed();

          const bool isNew = problems.empty() || problems[0].kind == RE::RestoreAttributesFailed;
          EXPECT_LE(problems.size(), failed ? 1U : 0U);
          EXPECT_EQ(isNew ? 1U : 0U, applied);
          EXPECT_TRUE(ReadFile(file) == (isNew ? Changed(old, changes) : old));
          if (problems.empty() || problems[0].kind != RE::RestoreAttributesFailed) {
            EXPECT_EQ(fs::perms(06755), fs::status(file).permissions());
          }
          // The copy is whole, or as before, or told of.
          const bool copyFailed = !problems.empty() && problems[0].kind == RE::SaveCopyFailed;
          const std::string saved = fs::exists(copy) ? ReadFile(copy) : "none";
          if (isNew && *extension != '\0') {
            EXPECT_TRUE(saved == old);
          } else if (!copyFailed || !copyExists) {
            EXPECT_TRUE(saved == old || saved == (copyExists ? "before" : "none"));
          }
          EXPECT_FALSE(fs::exists(services.temporaryName));
          EXPECT_EQ(descriptors, test::OpenDescriptors());
        }
      }
    }
  }
}

TEST(Rewriting, KeepsWhatIsNotContent) {
  const ScratchDirectory scratch;
  const std::string file = scratch / "file.txt";
  WriteFile(file, "one two");
  fs::create_hard_link(file, scratch / "link");
  fs::create_symlink("file.txt", scratch / "symlink.txt");
  const bool root = geteuid() == 0;
  if (root) {
    ASSERT_EQ(0, chown(file.c_str(), 1234, 4321));
  }
  fs::permissions(file, fs::perms(06751));
  const bool attribute = setxattr(file.c_str(), "user.note", "kept", 4, 0) == 0;
  const std::string capability("\1\0\0\2\0\4\0\0\0\0\0\0\0\0\0\0\0\0\0\0", 20);  // net_bind_service
  const bool capable =
      setxattr(file.c_str(), "security.capability", capability.data(), capability.size(), 0) == 0;
  struct stat before = {};
  ASSERT_EQ(0, stat(file.c_str(), &before));

  Problems problems;
  ASSERT_EQ(1U, ApplyPendingChanges(FileServices::System(), scratch / "symlink.txt",
                                    {{4, "two", "three"}}, "bak", problems));
  struct stat after = {};
  ASSERT_EQ(0, stat(file.c_str(), &after));
  EXPECT_TRUE(fs::is_symlink(scratch / "symlink.txt"));
  EXPECT_EQ("one three", ReadFile(scratch / "link"));
  EXPECT_EQ(std::make_tuple(before.st_ino, before.st_nlink, before.st_mode, before.st_uid),
            std::make_tuple(after.st_ino, after.st_nlink, after.st_mode, after.st_uid));
  EXPECT_EQ(before.st_gid, after.st_gid);
  char value[64];
  if (attribute) {
    EXPECT_EQ(4, getxattr(file.c_str(), "user.note", value, sizeof value));
  }
  if (capable) {
    EXPECT_EQ(20, getxattr(file.c_str(), "security.capability", value, sizeof value));
  }
  // The copy is as private as the file, but doesn't run as someone else.
  ASSERT_EQ(0, stat((scratch / "symlink.bak").c_str(), &after));
  EXPECT_EQ(0751U, after.st_mode & 07777U);
  EXPECT_EQ(before.st_gid, after.st_gid);
}

/// A fault of the real system: what brings it about, in a process of its own whose current
/// directory holds the file, and what comes of it.
struct RealFault {
  const char* name;
  void (*provoke)();
  RE::ChangeProblemKind kind;
  const char* file;  // of the problem; empty for any
  unsigned int position;
  const char* text;
  int error;
  bool isNew;
  bool saved;
};

void PrintTo(const RealFault& fault, std::ostream* out) { *out << fault.name; }

void BecomeNobody() {
  if (setgid(65534) != 0 || setuid(65534) != 0) _exit(3);
}
void Limit(int resource, rlim_t limit) {
  const rlimit both = {limit, limit};
  setrlimit(static_cast<__rlimit_resource>(resource), &both);
}
void LockAndKeep(const std::string& file, int lock) {
  flock(open(file.c_str(), O_RDONLY), lock);  // to the end of the process
}
/// Makes the file system full but for `rest` bytes.
void Fill(std::size_t rest) {
  std::ofstream("filler") << std::string(1 << 20, 'f') << std::flush;
  fs::resize_file("filler", fs::file_size("filler") - rest);
}

const std::string kOld = std::string(40000, 'o') + "match" + std::string(5000, 'p');
const PendingChanges kChanges = {{40000, "match", std::string(40000, 'n')}};

const RealFault kFaults[] = {
    {"Unreadable",
     [] {
       fs::permissions("file.txt", fs::perms(0600));
       BecomeNobody();
     },
     RE::OpenFileFailed, "file.txt", 0, "", EACCES, false, false},
    {"LockedByWriter", [] { LockAndKeep("file.txt", LOCK_EX); }, RE::OpenFileFailed, "file.txt", 0,
     "", EWOULDBLOCK, false, false},
    {"NoTemporaryDirectory",
     [] {
       if (chroot(".") != 0) _exit(3);
     },
     RE::CreateTemporaryFailed, "NoName", 0, "", ENOENT, false, false},
    {"Shortened", [] { fs::resize_file("file.txt", 40002); }, RE::ReadFileFailed, "file.txt", 40002,
     "", 0, false, false},
    {"TemporaryTooLarge",
     [] {
       signal(SIGXFSZ, SIG_IGN);
       Limit(RLIMIT_FSIZE, 40100);
     },
     RE::WriteTemporaryFailed, "", 40100, "", EFBIG, false, false},
    {"Edited", [] { std::fstream("file.txt").seekp(40001) << "edit"; }, RE::TextChanged, "file.txt",
     40000, "match", 0, false, false},
    {"CopyIsDirectory", [] { fs::create_directory("file.bak"); }, RE::SaveCopyFailed, "file.bak", 0,
     "", EISDIR, false, false},
    {"CopyIsTheFile", [] { fs::create_hard_link("file.txt", "file.bak"); }, RE::SaveCopyFailed,
     "file.bak", 0, "", EEXIST, false, true},
    {"NoSpaceForCopy", [] { Fill(20000); }, RE::SaveCopyFailed, "file.bak", 0, "", ENOSPC, false,
     false},
    {"NoSpaceForFile", [] { Fill(60000); }, RE::ReplaceFileFailed, "file.txt", 0, "", ENOSPC, false,
     true},
    {"LockedByReader", [] { LockAndKeep("file.txt", LOCK_SH); }, RE::ReplaceFileFailed, "file.txt",
     0, "", EWOULDBLOCK, false, true},
    {"Unwritable", [] { BecomeNobody(); }, RE::ReplaceFileFailed, "file.txt", 0, "", EACCES, false,
     true},
    {"NotTheOwner",
     [] {
       fs::permissions("file.txt", fs::perms(06777));
       BecomeNobody();
     },
     RE::RestoreAttributesFailed, "file.txt", 0, "", EPERM, true, true},
};

class RewritingFaults : public testing::TestWithParam<RealFault> {};

TEST_P(RewritingFaults, AreTold) {
  if (geteuid() != 0) GTEST_SKIP() << "needs root, to take permissions away and to mount";
  const RealFault& fault = GetParam();
  const ScratchDirectory scratch;
  if (mount("tmpfs", scratch.Path().c_str(), "tmpfs", 0, "size=192k,mode=0777") != 0) {
    GTEST_SKIP() << "no permission to mount a file system";
  }
  WriteFile(scratch / "file.txt", kOld);
  fs::permissions(scratch / "file.txt", fs::perms(0644));
  const std::string outcome = test::InChild([&] {
    fs::current_path(scratch.Path());
    fault.provoke();
    Problems problems;
    const unsigned int applied =
        ApplyPendingChanges(FileServices::System(), "file.txt", kChanges, "bak", problems);
    std::ostringstream out;
    out << applied;
    for (const auto& problem : problems) {
      out << ' ' << problem.kind << ' ' << (*fault.file == '\0' ? "" : problem.file) << ' '
          << problem.position << ' ' << problem.text << ' ' << problem.lastError;
    }
    return out.str();
  });
  std::ostringstream expected;
  expected << (fault.isNew ? 1 : 0) << ' ' << fault.kind << ' ' << fault.file << ' '
           << fault.position << ' ' << fault.text << ' ' << fault.error;
  EXPECT_EQ(expected.str(), outcome);
  const std::string now = ReadFile(scratch / "file.txt");
  if (fault.kind != RE::ReadFileFailed && fault.kind != RE::TextChanged) {
    EXPECT_TRUE(now == (fault.isNew ? Changed(kOld, kChanges) : kOld));
  }
  EXPECT_EQ(fault.saved, fs::is_regular_file(scratch / "file.bak"));
  if (fault.saved) {
    EXPECT_TRUE(ReadFile(scratch / "file.bak") == kOld);
  }
  umount(scratch.Path().c_str());
}

INSTANTIATE_TEST_SUITE_P(Each, RewritingFaults, testing::ValuesIn(kFaults),
                         [](const auto& row) { return std::string(row.param.name); });

TEST(Rewriting, KeepsWritersOutWhileItReads) {
  const ScratchDirectory scratch;
  const std::string file = scratch / "file.txt";
  WriteFile(file, "one two");
  FailingServices services(kNever);
  services.onCreateTemporary = [&] {
    const int other = open(file.c_str(), O_RDWR);
    EXPECT_EQ(-1, flock(other, LOCK_EX | LOCK_NB));
    EXPECT_EQ(0, flock(other, LOCK_SH | LOCK_NB));
    close(other);
  };
  Problems problems;
  EXPECT_EQ(1U, ApplyPendingChanges(services, file, {{0, "one", "1"}}, "", problems));
  EXPECT_EQ("1 two", ReadFile(file));
}

}  // namespace
}  // namespace RegexClass
