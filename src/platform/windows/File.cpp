// SPDX-License-Identifier: BSL-1.0
#include "platform/File.hpp"

#include <algorithm>
#include <utility>

#include "platform/windows/OpenFile.hpp"

namespace RegexClass::platform {
namespace {

/// Repeats `step`, which transfers bytes from or to an offset of the buffer, until `size` bytes
/// are done, none come any more or it fails.
template <class Step>
Error Transfer(std::size_t size, std::size_t& done, Step step) {
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

}  // namespace

File::File() : system_(std::make_unique<System>()) {}
File::~File() = default;

Error File::System::Open(const std::wstring& path, DWORD access, DWORD share, DWORD disposition,
                         DWORD flags, SECURITY_ATTRIBUTES* security) {
  handle = Handle(CreateFileW(path.c_str(), access, share, security, disposition, flags, nullptr));
  return handle.IsOpen() ? 0 : LastError();
}

Error File::System::OpenToRead(const std::wstring& path) {
  toWrite = path;
  return Open(path, GENERIC_READ, FILE_SHARE_READ | FILE_SHARE_DELETE, OPEN_EXISTING,
              FILE_ATTRIBUTE_NORMAL);
}

Error File::System::OpenToWrite() {
  if (toWrite.empty()) return 0;
  const std::wstring path = std::exchange(toWrite, std::wstring());
  Status before = {};
  Status now = {};
  if (!GetFileInformationByHandle(Value(), &before)) return LastError();
  Close();
  if (const Error error = Open(path, GENERIC_READ | GENERIC_WRITE, FILE_SHARE_READ, OPEN_EXISTING,
                               FILE_ATTRIBUTE_NORMAL)) {
    return error;
  }
  if (!GetFileInformationByHandle(Value(), &now)) return LastError();
  if (IdentityOf(before) != IdentityOf(now)) return kErrorStale;
  return SameContent(before, now) ? 0 : kErrorChanged;
}

Error File::System::MoveTo(std::uint64_t offset) const {
  LARGE_INTEGER distance = {};
  distance.QuadPart = static_cast<LONGLONG>(offset);
  return Outcome(SetFilePointerEx(Value(), distance, nullptr, FILE_BEGIN));
}

Error File::System::Close() {
  const HANDLE closed = handle.Release();
  return closed == INVALID_HANDLE_VALUE ? 0 : Outcome(CloseHandle(closed));
}

Error File::Read(char* buffer, std::size_t size, std::size_t& count) {
  return Transfer(size, count, [&](std::size_t offset, DWORD rest, DWORD& done) {
    return ReadFile(system_->Value(), buffer + offset, rest, &done, nullptr);
  });
}

Error File::Write(const char* buffer, std::size_t size) {
  std::size_t count = 0;
  const Error error = Transfer(size, count, [&](std::size_t offset, DWORD rest, DWORD& done) {
    return WriteFile(system_->Value(), buffer + offset, rest, &done, nullptr);
  });
  return error == 0 && count < size ? ERROR_DISK_FULL : error;
}

std::uint64_t File::Offset() {
  LARGE_INTEGER offset = {};
  return SetFilePointerEx(system_->Value(), {}, &offset, FILE_CURRENT)
             ? static_cast<std::uint64_t>(offset.QuadPart)
             : 0;
}

Error File::Rewind() { return system_->MoveTo(0); }

Error File::Size(std::uint64_t& size) {
  LARGE_INTEGER told = {};
  const Error error = Outcome(GetFileSizeEx(system_->Value(), &told));
  size = static_cast<std::uint64_t>(told.QuadPart);
  return error;
}

Error File::Reserve(std::uint64_t size) {
  if (const Error error = system_->OpenToWrite()) return error;
  std::uint64_t present = 0;
  if (const Error error = Size(present)) return error;
  if (size <= present) return 0;
  FILE_ALLOCATION_INFO space = {};
  space.AllocationSize.QuadPart = static_cast<LONGLONG>(size);
  const Error error = Outcome(
      SetFileInformationByHandle(system_->Value(), FileAllocationInfo, &space, sizeof space));
  return IsOutOfSpace(error) ? error : 0;  // others are of systems that can't promise
}

Error File::Truncate(std::uint64_t size) {
  const std::uint64_t offset = Offset();
  Error error = system_->MoveTo(size);
  if (error == 0) error = Outcome(SetEndOfFile(system_->Value()));
  system_->MoveTo(std::min(offset, size));
  return error;
}

Error File::Sync() { return Outcome(FlushFileBuffers(system_->Value())); }
bool File::HasHoles() { return false; }  // doesn't look
void File::LeaveHoles() {}
void File::DigHolesOf(File&) {}

// There is no such call for who doesn't administer the system.
std::vector<Error> File::SyncTogether(const std::vector<File*>& files) {
  std::vector<Error> errors;
  for (File* const file : files) errors.push_back(file->Sync());
  return errors;
}
std::size_t File::MostTogether() { return 1; }

}  // namespace RegexClass::platform
