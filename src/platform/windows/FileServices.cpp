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

  Error Sync() override { return Outcome(FlushFileBuffers(handle_.Value())); }
  bool HasHoles() override { return false; }  // doesn't look
  void LeaveHoles() override {}
  void DigHolesOf(File&) override {}

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
  const std::wstring path_;
  std::wstring name_;  // of chance, while the file has it
  WindowsFile file_;
};

/// Copies what one file has beside its content under a name of its own (a stream) to another file.
Error CopyStream(const std::wstring& from, const std::wstring& to) {
  WindowsFile source;
  WindowsFile target;
  constexpr DWORD kShare = FILE_SHARE_READ | FILE_SHARE_WRITE | FILE_SHARE_DELETE;
  if (const Error error = source.Open(from, GENERIC_READ, kShare, OPEN_EXISTING, 0)) return error;
  if (const Error error = target.Open(to, GENERIC_WRITE, 0, CREATE_ALWAYS, 0)) return error;
  std::vector<char> block(65536);
  for (;;) {
    std::size_t count = 0;
    if (const Error error = source.Read(block.data(), block.size(), count)) return error;
    if (count == 0) return 0;
    if (const Error error = target.Write(block.data(), count)) return error;
  }
}

class SavedCopy final : public WindowsNewFile {
 public:
  SavedCopy(std::wstring path, Present present)
      : WindowsNewFile(std::move(path)), present_(present) {}

  /// Makes the file with the attributes and the other streams of `original`, too. The handle keeps
  /// its name from being given to anything else until the file is published.
  Error CreateAs(const std::wstring& original, DWORD attributes) {
    Error error = Create(original);
    if (error == 0) error = CopyStreams(original);
    if (error != 0 || attributes == 0) return error;
    FILE_BASIC_INFO basic = {};  // a time of 0 is left as it is
    basic.FileAttributes = attributes;
    return Outcome(SetFileInformationByHandle(file_.Value(), FileBasicInfo, &basic, sizeof basic));
  }

  Error Publish() override {
    const DWORD flags = present_ == Present::kReplaced ? MOVEFILE_REPLACE_EXISTING : 0;
    Error error = file_.Close();
    if (error == 0) error = Outcome(MoveFileExW(name_.c_str(), path_.c_str(), flags));
    if (error == 0) name_.clear();
    return error;
  }

 private:
  /// A file system without streams tells of none.
  Error CopyStreams(const std::wstring& original) {
    WIN32_FIND_STREAM_DATA stream = {};
    const HANDLE found = FindFirstStreamW(original.c_str(), FindStreamInfoStandard, &stream, 0);
    if (found == INVALID_HANDLE_VALUE) return 0;
    Error error = 0;
    do {
      const std::wstring name = stream.cStreamName;
      if (name != L"::$DATA") error = CopyStream(original + name, name_ + name);
    } while (error == 0 && FindNextStreamW(found, &stream));
    FindClose(found);
    return error;
  }

  const Present present_;
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

  /// Others who write have been kept out since it was opened.
  Error CheckUnchanged() override {
    Status now = {};
    if (!GetFileInformationByHandle(content_.Value(), &now)) return LastError();
    return SameContent(status_, now) ? 0 : kErrorChanged;
  }
  bool HasOtherNames() override { return status_.nNumberOfLinks > 1; }

  Error OpenSource(const FoundFile& source, std::unique_ptr<File>& content) override {
    Directory::System& directory = source.directory->ForPlatform();
    Handle opened;
    if (const Error error = directory.Open(opened)) return error;
    const std::wstring path = directory.PathOf(source.Entry());
    auto file = std::make_unique<WindowsFile>();
    const Error error = file->Open(path, GENERIC_READ, FILE_SHARE_READ | FILE_SHARE_DELETE,
                                   OPEN_EXISTING, FILE_FLAG_OPEN_REPARSE_POINT);
    if (error != 0) return error;
    Status status = {};
    if (!GetFileInformationByHandle(file->Value(), &status)) return LastError();
    if (IsLink(file->Value(), status)) return ERROR_CANT_ACCESS_FILE;
    if (GetFileType(file->Value()) != FILE_TYPE_DISK) return ERROR_FILE_INVALID;
    if (IdentityOf(status) == IdentityOf(status_)) return ERROR_ALREADY_EXISTS;
    content = std::move(file);
    return 0;
  }

  Error CreateReplacement(std::unique_ptr<NewFile>& file) override {
    if (HasOtherNames()) return kErrorManyNames;
    if (const Error error = CheckName()) return error;
    auto created = std::make_unique<Replacement>(*this);
    const Error error = created->Create(path_);
    if (error == 0) file = std::move(created);
    return error;
  }

  /// The copy has the other streams of the file, too.
  Error CreateCopy(const std::string& name, Present present,
                   std::unique_ptr<NewFile>& file) override {
    const std::size_t last = name.find_last_of(Separators()) + 1;  // 0 without one
    const DirectoryPointer above = found_.directory->Above(std::max(last, RootLength(name)));
    if (above == nullptr) return ERROR_BAD_PATHNAME;
    Handle opened;
    if (const Error error = above->ForPlatform().Open(opened)) return error;
    const std::wstring path = above->ForPlatform().PathOf(name.substr(above->PathLength()));
    if (path.empty()) return ERROR_INVALID_NAME;
    if (const auto other = StatusOf(path)) {
      if (present == Present::kKept || IdentityOf(*other) == IdentityOf(status_)) {
        return ERROR_ALREADY_EXISTS;
      }
      if ((other->dwFileAttributes & FILE_ATTRIBUTE_DIRECTORY) != 0) return ERROR_ACCESS_DENIED;
    }
    auto created = std::make_unique<SavedCopy>(path, present);
    const Error error = created->CreateAs(path_, Attributes());
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
      if (IdentityOf(before) != IdentityOf(now)) return kErrorStale;
      return SameContent(before, now) ? 0 : kErrorChanged;
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
      Error error = file_.Close();
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
  Error Look(const FoundFile& file, FileToRewrite& told) override {
    DirectoryPointer directory = file.directory;
    std::string entry = file.Entry();
    if (file.links == Links::kMeant) {
      if (const Error error = file.directory->Resolve(directory, entry)) return error;
    }
    Handle opened;
    if (const Error error = directory->ForPlatform().Open(opened)) return error;
    if (!directory->IsReachedAsMeant()) return ERROR_CANT_ACCESS_FILE;
    const auto status = StatusOf(directory->ForPlatform().PathOf(entry));
    if (!status) return LastError();
    told.identity = IdentityOf(*status);
    told.writable = (status->dwFileAttributes & FILE_ATTRIBUTE_READONLY) == 0;
    return 0;
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

  // There is no such call for who doesn't administer the system.
  std::vector<Error> SyncTogether(const std::vector<File*>& files) override {
    std::vector<Error> errors;
    for (File* const file : files) errors.push_back(file->Sync());
    return errors;
  }
  std::size_t MostTogether() override { return 1; }
};

}  // namespace

FileServices& FileServices::System() {
  static WindowsFileServices services;
  return services;
}

}  // namespace RegexClass::platform
