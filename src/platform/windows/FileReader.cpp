// SPDX-License-Identifier: BSL-1.0
#include "platform/FileReader.hpp"

#include <algorithm>

#include "platform/windows/OpenDirectory.hpp"

namespace RegexClass::platform {
FileReader::Outcome FileReader::Read(const FoundFile& found) {
  Directory::System& system = found.directory->ForPlatform();
  const std::wstring path = system.PathOf(found.Entry());
  if (path.empty()) return Outcome::kNotAFile;
  Handle directory;
  if (const platform::Error error = system.Open(directory)) {
    return Failed(Outcome::kNotOpened, error);
  }
  if (!found.isFile) {
    const DWORD attributes = GetFileAttributesW(path.c_str());
    if (attributes == INVALID_FILE_ATTRIBUTES) return Failed(Outcome::kNotOpened, LastError());
    if ((attributes & FILE_ATTRIBUTE_DIRECTORY) != 0) return Outcome::kNotAFile;
  }

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
