// SPDX-License-Identifier: BSL-1.0
#include "platform/File.hpp"

#include <algorithm>
#include <cerrno>
#include <cstring>
#include <map>
#include <sys/resource.h>
#include <sys/stat.h>
#include <unistd.h>

#include "platform/posix/Extensions.hpp"
#include "platform/posix/OpenFile.hpp"

namespace RegexClass::platform {
namespace {

constexpr std::size_t kHole = 4096;  // file systems have no smaller ones

/// Repeats `step`, which transfers up to the given number of bytes at the given offset of the
/// buffer, until `size` bytes are done, none come any more or it fails.
template <class Step>
Error Transfer(std::size_t size, std::size_t& done, Step step) {
  for (done = 0; done < size;) {
    const ssize_t count = Uninterrupted([&] { return step(done, size - done); });
    if (count == -1) return errno;
    if (count == 0) break;
    done += static_cast<std::size_t>(count);
  }
  return 0;
}

bool IsZeros(const char* bytes, std::size_t size) {
  return size == 0 || (*bytes == 0 && std::memcmp(bytes, bytes + 1, size - 1) == 0);
}

}  // namespace

File::File() : system_(std::make_unique<System>()) {}
File::~File() = default;

Error File::System::WriteAll(const char* buffer, std::size_t size) {
  std::size_t count = 0;
  const Error error = Transfer(size, count, [&](std::size_t offset, std::size_t rest) {
    return WithinSizeLimit([&] { return write(Number(), buffer + offset, rest); });
  });
  return error == 0 && count < size ? EIO : error;
}

Error File::Read(char* buffer, std::size_t size, std::size_t& count) {
  return Transfer(size, count, [&](std::size_t offset, std::size_t rest) {
    return read(system_->Number(), buffer + offset, rest);
  });
}

Error File::Write(const char* buffer, std::size_t size) {
  if (!system_->leavesHoles) return system_->WriteAll(buffer, size);
  off_t offset = lseek(system_->Number(), 0, SEEK_CUR);
  bool skipped = false;
  for (std::size_t at = 0; at < size;) {
    std::size_t end = at;
    do {  // as many pieces, each of a block, as have zeros alone, or as have not
      const auto position = static_cast<std::size_t>(offset) + (end - at);
      const std::size_t piece = std::min(size - end, kHole - position % kHole);
      const bool zeros = IsZeros(buffer + end, piece);
      if (end != at && zeros != skipped) break;
      skipped = zeros;
      end += piece;
    } while (end < size);
    offset += static_cast<off_t>(end - at);
    if (skipped && lseek(system_->Number(), offset, SEEK_SET) == -1) return errno;
    if (!skipped) {
      if (const Error error = system_->WriteAll(buffer + at, end - at)) return error;
    }
    at = end;
  }
  return skipped ? Truncate(static_cast<std::uint64_t>(offset)) : 0;
}

std::uint64_t File::Offset() {
  const off_t offset = lseek(system_->Number(), 0, SEEK_CUR);
  return offset == -1 ? 0 : static_cast<std::uint64_t>(offset);
}

Error File::Rewind() { return lseek(system_->Number(), 0, SEEK_SET) == -1 ? errno : 0; }

Error File::Size(std::uint64_t& size) {
  struct stat status = {};
  const Error error = Outcome(fstat(system_->Number(), &status));
  size = static_cast<std::uint64_t>(status.st_size);
  return error;
}

Error File::Reserve(std::uint64_t size) {
  return ReserveSpace(system_->Number(), static_cast<off_t>(size));
}

Error File::Truncate(std::uint64_t size) {
  return Outcome(Uninterrupted([&] {
    return WithinSizeLimit([&] { return ftruncate(system_->Number(), static_cast<off_t>(size)); });
  }));
}

Error File::Sync() {
  const Error error = Outcome(Uninterrupted([&] { return fdatasync(system_->Number()); }));
  return error == EINVAL || error == ENOSYS ? 0 : error;  // nothing to bring it to
}

bool File::HasHoles() {
  struct stat status = {};
  static constexpr off_t kUnit = 512;  // of the number of blocks, whatever the file system's
  return fstat(system_->Number(), &status) == 0 && status.st_blocks * kUnit < status.st_size;
}

void File::LeaveHoles() { system_->leavesHoles = true; }
void File::DigHolesOf(File& model) {
  platform::DigHolesOf(system_->Number(), model.system_->Number());
}

std::vector<Error> File::SyncTogether(const std::vector<File*>& files) {
  std::map<dev_t, Error> devices;
  std::vector<Error> errors;
  for (File* const file : files) {
    const int descriptor = file->system_->Number();
    struct stat status = {};
    Error error = Outcome(fstat(descriptor, &status));
    if (error == 0) {
      const auto [device, isNew] = devices.emplace(status.st_dev, 0);
      if (isNew) device->second = SyncDevice(descriptor);
      error = device->second;
    }
    // What the whole device has failed at may have been someone else's.
    errors.push_back(error == 0 ? 0 : file->Sync());
  }
  return errors;
}

std::size_t File::MostTogether() {
  // Each takes up to five descriptors, and there are others who need some.
  static constexpr rlim_t kMost = 64;
  static constexpr rlim_t kShare = 16;
  rlimit limit = {};
  if (getrlimit(RLIMIT_NOFILE, &limit) != 0) return 1;
  return static_cast<std::size_t>(std::clamp<rlim_t>(limit.rlim_cur / kShare, 1, kMost));
}

}  // namespace RegexClass::platform
