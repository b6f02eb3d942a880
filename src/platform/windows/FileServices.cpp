// SPDX-License-Identifier: BSL-1.0
#include "platform/FileServices.hpp"

#include <algorithm>
#include <cstdio>
#include <cstdlib>
#include <optional>
#include <random>
#include <utility>
#include <vector>

#include "platform/FileName.hpp"
#include "platform/windows/OpenDirectory.hpp"
#include "platform/windows/Path.hpp"

namespace RegexClass::platform {
namespace {

/// The error of a call that gives zero when it fails.
Error Outcome(BOOL result) { return result ? 0 : LastError(); }

class WindowsFile : public File {
 public:
  Error Open(const std::wstring& path, DWORD access, DWORD share, DWORD disposition, DWORD flags,
             SECURITY_ATTRIBUTES* security = nullptr) {
    handle_ =
        Handle(CreateFileW(path.c_str(), access, share, security, disposition, flags, nullptr));
    return handle_.IsOpen() ? 0 : LastError();
  }

  Error Read(char* buffer, std::size_t size, std::size_t& count) override {
    return Transfer(size, count, [&](std::size_t offset, DWORD rest, DWORD& done) {
      return ReadFile(handle_.Value(), buffer + offset, rest, &done, nullptr);
    });
  }

  Error Write(const char* buffer, std::size_t size) override {
    std::size_t count = 0;
    const Error error = Transfer(size, count, [&](std::size_t offset, DWORD rest, DWORD& done) {
      return WriteFile(handle_.Value(), buffer + offset, rest, &done, nullptr);
    });
    return error == 0 && count < size ? ERROR_DISK_FULL : error;
  }

  std::uint64_t Offset() override {
    LARGE_INTEGER offset = {};
    return SetFilePointerEx(handle_.Value(), {}, &offset, FILE_CURRENT)
               ? static_cast<std::uint64_t>(offset.QuadPart)
               : 0;
  }

  Error Rewind() override { return MoveTo(0); }

  Error Size(std::uint64_t& size) override {
    LARGE_INTEGER told = {};
    const Error error = Outcome(GetFileSizeEx(handle_.Value(), &told));
    size = static_cast<std::uint64_t>(told.QuadPart);
    return error;
  }

  Error Reserve(std::uint64_t size) override {
    std::uint64_t present = 0;
    if (const Error error = Size(present)) return error;
    if (size <= present) return 0;
    FILE_ALLOCATION_INFO space = {};
    space.AllocationSize.QuadPart = static_cast<LONGLONG>(size);
    const Error error = Outcome(
        SetFileInformationByHandle(handle_.Value(), FileAllocationInfo, &space, sizeof space));
    return IsOutOfSpace(error) ? error : 0;  // others are of systems that can't promise
  }

  Error Truncate(std::uint64_t size) override {
    const std::uint64_t offset = Offset();
    Error error = MoveTo(size);
    if (error == 0) error = Outcome(SetEndOfFile(handle_.Value()));
    MoveTo(std::min(offset, size));
    return error;
  }

  Error Close() override {
    const HANDLE handle = handle_.Release();
    return handle == INVALID_HANDLE_VALUE ? 0 : Outcome(CloseHandle(handle));
  }

  HANDLE Value() const { return handle_.Value(); }

 private:
  /// Repeats `step`, which transfers bytes from or to an offset of the buffer, until `size` bytes
  /// are done, none come any more or it fails.
  template <class Step>
  static Error Transfer(std::size_t size, std::size_t& done, Step step) {
    static constexpr std::size_t kAtOnce = std::size_t{1} << 30;
    for (done = 0; done < size;) {
      DWORD count = 0;
      if (!step(done, static_cast<DWORD>(std::min(size - done, kAtOnce)), count)) {
        return LastError();
      }
      if (count == 0) break;
      done += count;
    }
    return 0;
  }

  Error MoveTo(std::uint64_t offset) {
    LARGE_INTEGER distance = {};
    distance.QuadPart = static_cast<LONGLONG>(offset);
    return Outcome(SetFilePointerEx(handle_.Value(), distance, nullptr, FILE_BEGIN));
  }

  Handle handle_;
};

using Status = BY_HANDLE_FILE_INFORMATION;

/// The attributes that a program may set.
constexpr DWORD kSettable = FILE_ATTRIBUTE_ARCHIVE | FILE_ATTRIBUTE_HIDDEN |
                            FILE_ATTRIBUTE_NOT_CONTENT_INDEXED | FILE_ATTRIBUTE_SYSTEM;

/// What tells whether a file has been written to.
bool SameContent(const Status& a, const Status& b) {
  return IdentityOf(a) == IdentityOf(b) && a.nFileSizeHigh == b.nFileSizeHigh &&
         a.nFileSizeLow == b.nFileSizeLow &&
         CompareFileTime(&a.ftLastWriteTime, &b.ftLastWriteTime) == 0;
}

/// The status of what has a name, no link being followed; nothing when nothing has it.
std::optional<Status> StatusOf(const std::wstring& path) {
  const Handle file(CreateFileW(
      path.c_str(), FILE_READ_ATTRIBUTES, FILE_SHARE_READ | FILE_SHARE_WRITE | FILE_SHARE_DELETE,
      nullptr, OPEN_EXISTING, FILE_FLAG_OPEN_REPARSE_POINT | FILE_FLAG_BACKUP_SEMANTICS, nullptr));
  Status status = {};
  if (!file.IsOpen() || !GetFileInformationByHandle(file.Value(), &status)) return std::nullopt;
  return status;
}

/// The access list of a file, where the file system has such.
class AccessList {
 public:
  explicit AccessList(const std::wstring& path) {
    DWORD size = 0;
    GetFileSecurityW(path.c_str(), DACL_SECURITY_INFORMATION, nullptr, 0, &size);
    list_.resize(size);
    DWORD same = 0;
    if (!GetFileSecurityW(path.c_str(), DACL_SECURITY_INFORMATION, list_.data(), size, &same)) {
      list_.clear();
    }
    attributes_.lpSecurityDescriptor = list_.data();
  }
  AccessList(const AccessList&) = delete;

  /// For the making of a file; null for the list that the directory gives.
  SECURITY_ATTRIBUTES* ForNewFile() { return list_.empty() ? nullptr : &attributes_; }

 private:
  std::vector<char> list_;
  SECURITY_ATTRIBUTES attributes_ = {sizeof(SECURITY_ATTRIBUTES), nullptr, FALSE};
};

/// A new file whose content comes through one handle, which lets no one else in.
class WindowsNewFile : public NewFile {
 public:
  explicit WindowsNewFile(std::wstring path) : path_(std::move(path)) {}
  ~WindowsNewFile() override {
    file_.Close();
    if (!name_.empty()) DeleteFileW(name_.c_str());
  }

  /// Makes the file beside the place that it is for, with the access list of `original` from its
  /// first moment.
  Error Create(const std::wstring& original) {
    AccessList list(original);
    std::random_device chance;
    const std::size_t last = path_.rfind(L'\\') + 1;
    for (int attempt = 0; attempt < 100; ++attempt) {
      const std::wstring name = path_.substr(0, last) + L".Regex" + std::to_wstring(chance());
      const Error error = file_.Open(name, GENERIC_READ | GENERIC_WRITE, 0, CREATE_NEW,
                                     FILE_ATTRIBUTE_NORMAL, list.ForNewFile());
      if (error == ERROR_FILE_EXISTS) continue;
      if (error == 0) name_ = name;
      return error;
    }
    return ERROR_FILE_EXISTS;
  }

  File& Content() override { return file_; }

 protected:
  Error Finish() {
    const Error error = Outcome(FlushFileBuffers(file_.Value()));
    const Error closed = file_.Close();
    return error != 0 ? error : closed;
  }

  const std::wstring path_;
  std::wstring name_;  // of chance, while the file has it
  WindowsFile file_;
};

class SavedCopy final : public WindowsNewFile {
 public:
  using WindowsNewFile::WindowsNewFile;

  /// Makes the file with the attributes and the other streams of `original`, too.
  Error CreateAs(const std::wstring& original) {
    Error error = Create(original);
    if (error == 0) error = file_.Close();
    if (error == 0) error = Outcome(CopyFileW(original.c_str(), name_.c_str(), FALSE));
    // Somebody who looks at every new file may be doing so.
    if (error != 0) return error;
    return file_.Open(name_, GENERIC_READ | GENERIC_WRITE, FILE_SHARE_READ | FILE_SHARE_DELETE,
                      OPEN_EXISTING, 0);
  }

  Error Publish() override {
    Error error = Finish();
    if (error == 0) {
      error = Outcome(MoveFileExW(name_.c_str(), path_.c_str(), MOVEFILE_REPLACE_EXISTING));
    }
    if (error == 0) name_.clear();
    return error;
  }
};

class WindowsTarget final : public Target {
 public:
  Error Open(const FoundFile& file) {
    DirectoryPointer directory = file.directory;
    std::string entry = file.Entry();
    if (file.links == Links::kMeant) {
      if (const Error error = file.directory->Resolve(directory, entry)) return error;
    }
    found_ = file;
    if (const Error error = directory->ForPlatform().Open(directory_)) return error;
    if (!directory->IsReachedAsMeant()) return ERROR_CANT_ACCESS_FILE;
    path_ = directory->ForPlatform().PathOf(entry);
    // Lets readers in and keeps writers out; the name may be given to a new file meanwhile.
    if (const Error error = content_.OpenToRead(path_)) return error;
    if (!GetFileInformationByHandle(content_.Value(), &status_)) return LastError();
    return IdentityOf(status_) == file.identity ? CheckName() : kErrorStale;
  }

  File& Content() override { return content_; }
  Error Unwritable() override {
    return (status_.dwFileAttributes & FILE_ATTRIBUTE_READONLY) != 0 ? ERROR_ACCESS_DENIED : 0;
  }

  Error CreateReplacement(std::unique_ptr<NewFile>& file) override {
    if (status_.nNumberOfLinks > 1) return ERROR_TOO_MANY_LINKS;
    if (const Error error = CheckName()) return error;
    auto created = std::make_unique<Replacement>(*this);
    const Error error = created->Create(path_);
    if (error == 0) file = std::move(created);
    return error;
  }

  /// The copy has the other streams of the file, too.
  Error CreateCopy(const std::string& name, std::unique_ptr<NewFile>& file) override {
    const std::size_t last = name.find_last_of(Separators()) + 1;  // 0 without one
    const DirectoryPointer above = found_.directory->Above(std::max(last, RootLength(name)));
    if (above == nullptr) return ERROR_BAD_PATHNAME;
    Handle opened;
    if (const Error error = above->ForPlatform().Open(opened)) return error;
    const std::wstring path = above->ForPlatform().PathOf(name.substr(above->PathLength()));
    if (path.empty()) return ERROR_INVALID_NAME;
    if (const auto present = StatusOf(path)) {
      if (IdentityOf(*present) == IdentityOf(status_)) return ERROR_ALREADY_EXISTS;
      if ((present->dwFileAttributes & FILE_ATTRIBUTE_DIRECTORY) != 0) return ERROR_ACCESS_DENIED;
    }
    auto created = std::make_unique<SavedCopy>(path);
    const Error error = created->CreateAs(path_);
    if (error == 0) file = std::move(created);
    return error;
  }

  Error RestoreAttributes() override {
    const DWORD present = GetFileAttributesW(path_.c_str());
    return (present & kSettable) == Attributes()
               ? 0
               : Outcome(SetFileAttributesW(path_.c_str(), Attributes()));
  }

 private:
  /// The file itself. It is opened for writing when it is first written to, and must not have been
  /// written to by anyone else since it was opened for reading.
  class ContentFile final : public WindowsFile {
   public:
    Error OpenToRead(const std::wstring& path) {
      path_ = path;
      return OpenFor(GENERIC_READ, FILE_SHARE_READ | FILE_SHARE_DELETE);
    }
    Error Reserve(std::uint64_t size) override {
      const Error error = OpenToWrite();
      return error == 0 ? WindowsFile::Reserve(size) : error;
    }

   private:
    Error OpenFor(DWORD access, DWORD share) {
      return Open(path_, access, share, OPEN_EXISTING, FILE_ATTRIBUTE_NORMAL);
    }
    Error OpenToWrite() {
      if (std::exchange(isWritten_, true)) return 0;
      Status before = {};
      Status now = {};
      if (!GetFileInformationByHandle(Value(), &before)) return LastError();
      Close();
      if (const Error error = OpenFor(GENERIC_READ | GENERIC_WRITE, FILE_SHARE_READ)) return error;
      if (!GetFileInformationByHandle(Value(), &now)) return LastError();
      return SameContent(before, now) ? 0 : kErrorStale;
    }

    std::wstring path_;
    bool isWritten_ = false;
  };

  /// The system itself gives it what belongs to the file that it takes the place of: access list,
  /// times of creation, streams.
  class Replacement final : public WindowsNewFile {
   public:
    explicit Replacement(WindowsTarget& target) : WindowsNewFile(target.path_), target_(target) {}

    Error Publish() override {
      Error error = Finish();
      if (error == 0) error = Outcome(SetFileAttributesW(name_.c_str(), target_.Attributes()));
      if (error == 0) error = target_.CheckName();
      if (error != 0) return error;
      // The old file goes aside and is deleted under a name of its own: who still has it open keeps
      // it to the end, and doesn't hold up the new one.
      const std::wstring old = name_ + L".old";
      error = Outcome(ReplaceFileW(path_.c_str(), name_.c_str(), old.c_str(), 0, nullptr, nullptr));
      if (error != 0) MoveFileW(old.c_str(), path_.c_str());  // if it has gone aside already
      if (error != 0) return error;
      DeleteFileW(old.c_str());
      name_.clear();
      return 0;
    }

   private:
    WindowsTarget& target_;  // which outlasts this object
  };

  DWORD Attributes() const { return status_.dwFileAttributes & kSettable; }

  /// Whether the name still is the file's.
  Error CheckName() const {
    const auto present = StatusOf(path_);
    return present && IdentityOf(*present) == IdentityOf(status_) ? 0 : kErrorStale;
  }

  FoundFile found_;
  Handle directory_;  // keeps the path as it is
  std::wstring path_;
  ContentFile content_;
  Status status_ = {};
};

/// A name for a temporary file, by the given way; empty when it has none. The third way makes the
/// file, too.
std::string TemporaryName(TemporaryNaming naming) {
  if (naming == TemporaryNaming::kFirst) {
    char name[L_tmpnam] = "";
    return std::tmpnam(name) != nullptr ? name : "";
  }
  if (naming == TemporaryNaming::kSecond) {
    const std::unique_ptr<char, decltype(&std::free)> name(_tempnam(nullptr, "Regex"), &std::free);
    return name != nullptr ? name.get() : "";
  }
  char directory[MAX_PATH] = "";
  char name[MAX_PATH] = "";
  const DWORD size = GetTempPathA(MAX_PATH, directory);
  if (size == 0 || size >= MAX_PATH || GetTempFileNameA(directory, "Regex", 0, name) == 0)
    return "";
  return name;
}

class WindowsFileServices final : public FileServices {
 public:
  bool MayRewrite(const FoundFile& file) override {
    DirectoryPointer directory = file.directory;
    std::string entry = file.Entry();
    if (file.links == Links::kMeant && file.directory->Resolve(directory, entry) != 0) return false;
    if (!directory->IsReachedAsMeant()) return false;
    const auto status = StatusOf(directory->ForPlatform().PathOf(entry));
    constexpr DWORD kNot = FILE_ATTRIBUTE_READONLY | FILE_ATTRIBUTE_DIRECTORY;
    return status && (status->dwFileAttributes & kNot) == 0;
  }

  Error Open(const FoundFile& file, std::unique_ptr<Target>& target) override {
    auto opened = std::make_unique<WindowsTarget>();
    const Error error = opened->Open(file);
    if (error == 0) target = std::move(opened);
    return error;
  }

  Error CreateTemporary(TemporaryNaming naming, TemporaryFile& temporary) override {
    temporary.name = TemporaryName(naming);
    if (temporary.name.empty()) return LastError();
    const std::wstring path = FullPath(CurrentPath(), temporary.name);
    const bool exists = naming == TemporaryNaming::kThird;
    auto file = std::make_unique<WindowsFile>();
    // Lets no one in, and ends with its handle.
    const Error error =
        file->Open(path, GENERIC_READ | GENERIC_WRITE, 0, exists ? OPEN_EXISTING : CREATE_NEW,
                   FILE_ATTRIBUTE_TEMPORARY | FILE_FLAG_DELETE_ON_CLOSE);
    if (error == 0) temporary.file = std::move(file);
    if (error != 0 && exists) DeleteFileW(path.c_str());
    return error;
  }
};

}  // namespace

FileServices& FileServices::System() {
  static WindowsFileServices services;
  return services;
}

}  // namespace RegexClass::platform
