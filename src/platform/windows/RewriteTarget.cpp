// SPDX-License-Identifier: BSL-1.0
#include "platform/RewriteTarget.hpp"

#include <algorithm>
#include <optional>
#include <utility>

#include "platform/FileName.hpp"
#include "platform/windows/Attributes.hpp"
#include "platform/windows/OpenDirectory.hpp"
#include "platform/windows/OpenFile.hpp"

namespace RegexClass::platform {
namespace {

/// The status of what has a name, no link being followed; nothing when nothing has it.
std::optional<Status> StatusOf(const std::wstring& path) {
  const Handle file(CreateFileW(
      path.c_str(), FILE_READ_ATTRIBUTES, FILE_SHARE_READ | FILE_SHARE_WRITE | FILE_SHARE_DELETE,
      nullptr, OPEN_EXISTING, FILE_FLAG_OPEN_REPARSE_POINT | FILE_FLAG_BACKUP_SEMANTICS, nullptr));
  Status status = {};
  if (!file.IsOpen() || !GetFileInformationByHandle(file.Value(), &status)) return std::nullopt;
  return status;
}

/// Opens the directory that holds a file which was found, and tells the file's path. A link that
/// wasn't meant isn't followed to it, nor passed on the way.
Error OpenDirectoryOf(const FoundFile& file, Handle& opened, std::wstring& path) {
  DirectoryPointer directory = file.directory;
  std::string entry = file.Entry();
  if (file.links == Links::kMeant) {
    if (const Error error = file.directory->Resolve(directory, entry)) return error;
  }
  if (const Error error = directory->ForPlatform().Open(opened)) return error;
  if (!directory->IsReachedAsMeant()) return ERROR_CANT_ACCESS_FILE;
  path = directory->ForPlatform().PathOf(entry);
  return 0;
}

}  // namespace

RewriteTarget::RewriteTarget() : system_(std::make_unique<System>()) {}
RewriteTarget::~RewriteTarget() = default;

Error RewriteTarget::System::CheckName() const {
  const auto present = StatusOf(path);
  return present && IdentityOf(*present) == IdentityOf(status) ? 0 : kErrorStale;
}

Error RewriteTarget::System::Create(NewFile::System::Kind kind, const std::wstring& ofFile,
                                    std::unique_ptr<NewFile>& created) const {
  auto made = std::make_unique<NewFile::System>(kind, ofFile, *this);
  const Error error = made->Create();
  if (error == 0) created = std::make_unique<NewFile>(std::move(made));
  return error;
}

Error RewriteTarget::Look(const FoundFile& file, FileToRewrite& told) {
  Handle directory;
  std::wstring path;
  if (const Error error = OpenDirectoryOf(file, directory, path)) return error;
  const auto status = StatusOf(path);
  if (!status) return LastError();
  told.identity = IdentityOf(*status);
  told.writable = (status->dwFileAttributes & FILE_ATTRIBUTE_READONLY) == 0;
  return 0;
}

Error RewriteTarget::Open(const FoundFile& file) {
  system_->found = file;
  if (const Error error = OpenDirectoryOf(file, system_->directory, system_->path)) return error;
  // Lets readers in and keeps writers out; the name may be given to a new file meanwhile.
  if (const Error error = system_->file.ForPlatform().OpenToRead(system_->path)) return error;
  if (!GetFileInformationByHandle(system_->file.ForPlatform().Value(), &system_->status))
    return LastError();
  return IdentityOf(system_->status) == file.identity ? system_->CheckName() : kErrorStale;
}

File& RewriteTarget::Content() { return system_->file; }
Error RewriteTarget::Unwritable() {
  return (system_->status.dwFileAttributes & FILE_ATTRIBUTE_READONLY) != 0 ? ERROR_ACCESS_DENIED
                                                                           : 0;
}

/// Others who write have been kept out since it was opened.
Error RewriteTarget::CheckUnchanged() {
  Status now = {};
  if (!GetFileInformationByHandle(system_->file.ForPlatform().Value(), &now)) return LastError();
  return SameContent(system_->status, now) ? 0 : kErrorChanged;
}

bool RewriteTarget::HasOtherNames() { return system_->status.nNumberOfLinks > 1; }

Error RewriteTarget::OpenSource(const FoundFile& source, std::unique_ptr<File>& content) {
  Directory::System& directory = source.directory->ForPlatform();
  Handle opened;
  if (const Error error = directory.Open(opened)) return error;
  const std::wstring path = directory.PathOf(source.Entry());
  auto file = std::make_unique<File>();
  const Error error =
      file->ForPlatform().Open(path, GENERIC_READ, FILE_SHARE_READ | FILE_SHARE_DELETE,
                               OPEN_EXISTING, FILE_FLAG_OPEN_REPARSE_POINT);
  if (error != 0) return error;
  Status status = {};
  if (!GetFileInformationByHandle(file->ForPlatform().Value(), &status)) return LastError();
  if (IsLink(file->ForPlatform().Value(), status)) return ERROR_CANT_ACCESS_FILE;
  if (GetFileType(file->ForPlatform().Value()) != FILE_TYPE_DISK) return ERROR_FILE_INVALID;
  if (IdentityOf(status) == IdentityOf(system_->status)) return ERROR_ALREADY_EXISTS;
  content = std::move(file);
  return 0;
}

Error RewriteTarget::CreateReplacement(std::unique_ptr<NewFile>& file) {
  if (HasOtherNames()) return kErrorManyNames;
  if (const Error error = system_->CheckName()) return error;
  return system_->Create(NewFile::System::Kind::kReplacement, system_->path, file);
}

/// The copy has the other streams of the file, too.
Error RewriteTarget::CreateCopy(const std::string& name, Present present,
                                std::unique_ptr<NewFile>& file) {
  const std::size_t last = name.find_last_of(Separators()) + 1;  // 0 without one
  const DirectoryPointer above = system_->found.directory->Above(std::max(last, RootLength(name)));
  if (above == nullptr) return ERROR_BAD_PATHNAME;
  Handle opened;
  if (const Error error = above->ForPlatform().Open(opened)) return error;
  const std::wstring path = above->ForPlatform().PathOf(name.substr(above->PathLength()));
  if (path.empty()) return ERROR_INVALID_NAME;
  if (const auto other = StatusOf(path)) {
    if (present == Present::kKept || IdentityOf(*other) == IdentityOf(system_->status)) {
      return ERROR_ALREADY_EXISTS;
    }
    if ((other->dwFileAttributes & FILE_ATTRIBUTE_DIRECTORY) != 0) return ERROR_ACCESS_DENIED;
  }
  const auto kind = present == Present::kKept ? NewFile::System::Kind::kCopyThatReplacesNothing
                                              : NewFile::System::Kind::kCopy;
  return system_->Create(kind, path, file);
}

Error RewriteTarget::RestoreAttributes() {
  const DWORD wanted = system_->status.dwFileAttributes & kSettable;
  const wchar_t* const path = system_->path.c_str();
  return (GetFileAttributesW(path) & kSettable) == wanted
             ? 0
             : Outcome(SetFileAttributesW(path, wanted));
}

}  // namespace RegexClass::platform
