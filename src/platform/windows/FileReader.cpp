// SPDX-License-Identifier: BSL-1.0
#include "platform/FileReader.hpp"

#include <algorithm>

#include "platform/windows/OpenDirectory.hpp"

namespace RegexClass::platform {
namespace {

/// Holds the directory, returns the path of the file in it, and tells whether that is no
/// directory's. Without a path there is no such file.
Error FindPath(const FoundFile& found, Handle& directory, std::wstring& path) {
  Directory::System& system = found.directory->ForPlatform();
  path = system.PathOf(found.Entry());
  if (path.empty()) return 0;
  if (const Error error = system.Open(directory)) return error;
  if (found.isFile) return 0;
  const DWORD attributes = GetFileAttributesW(path.c_str());
  if (attributes == INVALID_FILE_ATTRIBUTES) return LastError();
  if ((attributes & FILE_ATTRIBUTE_DIRECTORY) != 0) path.clear();
  return 0;
}

}  // namespace

FileReader::Outcome FileReader::Look(const FoundFile& found) {
  Handle directory;
  std::wstring path;
  if (const platform::Error error = FindPath(found, directory, path)) {
    return Failed(Outcome::kNotOpened, error);
  }
  if (path.empty()) return Outcome::kNotAFile;
  if (found.isFile) return Outcome::kRead;
  // What is no name after all, such as one with a dot at its end, only opening tells.
  const Handle file(CreateFileW(path.c_str(), FILE_READ_ATTRIBUTES,
                                FILE_SHARE_READ | FILE_SHARE_WRITE | FILE_SHARE_DELETE, nullptr,
                                OPEN_EXISTING, 0, nullptr));
  if (!file.IsOpen()) return Failed(Outcome::kNotOpened, LastError());
  return GetFileType(file.Value()) == FILE_TYPE_DISK ? Outcome::kRead : Outcome::kNotAFile;
}

FileReader::Outcome FileReader::Read(const FoundFile& found) {
  Handle directory;
  std::wstring path;
  if (const platform::Error error = FindPath(found, directory, path)) {
    return Failed(Outcome::kNotOpened, error);
  }
  if (path.empty()) return Outcome::kNotAFile;
  const Handle file(CreateFileW(path.c_str(), GENERIC_READ,
                                FILE_SHARE_READ | FILE_SHARE_WRITE | FILE_SHARE_DELETE, nullptr,
                                OPEN_EXISTING, FILE_FLAG_SEQUENTIAL_SCAN, nullptr));
  if (!file.IsOpen()) return Failed(Outcome::kNotOpened, LastError());
  if (GetFileType(file.Value()) != FILE_TYPE_DISK) return Outcome::kNotAFile;
  BY_HANDLE_FILE_INFORMATION status = {};
  if (!GetFileInformationByHandle(file.Value(), &status)) {
    return Failed(Outcome::kNotOpened, LastError());
  }
  identity_ = IdentityOf(status);
  return ReadToEnd(std::uint64_t{status.nFileSizeHigh} << 32 | status.nFileSizeLow,
                   [&](char* buffer, std::size_t size, std::size_t& count) -> platform::Error {
                     static constexpr std::size_t kAtOnce = std::size_t{1} << 30;
                     DWORD done = 0;
                     const auto rest = static_cast<DWORD>(std::min(size, kAtOnce));
                     if (!ReadFile(file.Value(), buffer, rest, &done, nullptr)) return LastError();
                     count = done;
                     return 0;
                   });
}

}  // namespace RegexClass::platform
