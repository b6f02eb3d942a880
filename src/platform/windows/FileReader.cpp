// SPDX-License-Identifier: BSL-1.0
#include "platform/FileReader.hpp"

#include <algorithm>

#include "platform/windows/OpenDirectory.hpp"

namespace RegexClass::platform {
namespace {

/// Whether the name is a device's in every directory, whatever extension it has.
bool IsDevice(const std::string& name) {
  std::string base = name.substr(0, name.find_first_of(".:"));
  base.resize(base.find_last_not_of(' ') + 1);
  CharUpperA(base.data());
  for (const char* const device : {"CON", "PRN", "AUX", "NUL", "CONIN$", "CONOUT$"}) {
    if (base == device) return true;
  }
  return base.size() == 4 && (base.rfind("COM", 0) == 0 || base.rfind("LPT", 0) == 0) &&
         base[3] >= '1' && base[3] <= '9';
}

}  // namespace

FileReader::Outcome FileReader::Failed(Outcome outcome, platform::Error error) {
  error_ = error;
  const bool nowhere = outcome == Outcome::kNotOpened && LeadsNowhere(error);
  return nowhere ? Outcome::kNotAFile : outcome;
}

FileReader::Outcome FileReader::Read(const FoundFile& found) {
  const std::string entry = found.Entry();
  const std::string path = found.directory->ForPlatform().PathOf(entry);
  if (IsDevice(entry) || path.rfind(R"(\\.\)", 0) == 0) return Outcome::kNotAFile;
  Handle directory;
  if (const platform::Error error = found.directory->ForPlatform().Open(directory)) {
    return Failed(Outcome::kNotOpened, error);
  }
  const DWORD attributes = GetFileAttributesA(path.c_str());
  if (attributes == INVALID_FILE_ATTRIBUTES) return Failed(Outcome::kNotOpened, LastError());
  if ((attributes & FILE_ATTRIBUTE_DIRECTORY) != 0) return Outcome::kNotAFile;

  const Handle file(CreateFileA(path.c_str(), GENERIC_READ,
                                FILE_SHARE_READ | FILE_SHARE_WRITE | FILE_SHARE_DELETE, nullptr,
                                OPEN_EXISTING, FILE_FLAG_SEQUENTIAL_SCAN, nullptr));
  if (!file.IsOpen()) return Failed(Outcome::kNotOpened, LastError());
  if (GetFileType(file.Value()) != FILE_TYPE_DISK) return Outcome::kNotAFile;
  BY_HANDLE_FILE_INFORMATION status = {};
  if (!GetFileInformationByHandle(file.Value(), &status)) {
    return Failed(Outcome::kNotOpened, LastError());
  }
  identity_ = IdentityOf(status);

  // The size is a hint: the file may change.
  const std::uint64_t told = std::uint64_t{status.nFileSizeHigh} << 32 | status.nFileSizeLow;
  if (told > largest_) return Outcome::kTooLarge;
  static constexpr std::size_t kAtLeast = 65536;
  std::size_t size = 0;
  for (;;) {
    if (size == buffer_.size() || buffer_.size() <= told) {
      const std::size_t wanted =
          std::max({kAtLeast, static_cast<std::size_t>(told) + 1, size + size / 2});
      buffer_.resize(std::max(buffer_.size(), std::min(wanted, largest_ + 1)));
    }
    static constexpr std::size_t kAtOnce = std::size_t{1} << 30;
    const auto rest = static_cast<DWORD>(std::min(buffer_.size() - size, kAtOnce));
    DWORD count = 0;
    if (!ReadFile(file.Value(), buffer_.data() + size, rest, &count, nullptr)) {
      return Failed(Outcome::kNotRead, LastError());
    }
    if (count == 0) break;
    size += count;
    if (size > largest_) return Outcome::kTooLarge;
  }
  size_ = size;
  return Outcome::kRead;
}

}  // namespace RegexClass::platform
