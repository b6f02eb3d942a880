#include "platform/FileReader.hpp"

#include <algorithm>
#include <cerrno>
#include <fcntl.h>
#include <sys/stat.h>
#include <unistd.h>

#include "platform/Descriptor.hpp"
#include "platform/Uninterrupted.hpp"

namespace RegexClass::platform {
namespace {

/// Whether the number says that the name leads nowhere: nothing there, a link to nothing or to
/// itself, or a path through something that is no directory.
bool LeadsNowhere(int error) { return error == ENOENT || error == ENOTDIR || error == ELOOP; }

}  // namespace

FileReader::Outcome FileReader::Failed(Outcome outcome) {
  error_ = errno;
  return outcome;
}

FileReader::Outcome FileReader::Read(const char* name) {
  // Opening alone can do something to a pipe or a device, so that the type is asked for first; and
  // again below, of the file that was opened.
  struct stat status = {};
  if (::stat(name, &status) != 0) {
    return LeadsNowhere(errno) ? Outcome::kNotAFile : Failed(Outcome::kNotOpened);
  }
  if (!S_ISREG(status.st_mode)) return Outcome::kNotAFile;

  const Descriptor file(
      Uninterrupted([&] { return ::open(name, O_RDONLY | O_NONBLOCK | O_CLOEXEC | O_NOCTTY); }));
  if (file.Number() < 0) {
    return LeadsNowhere(errno) ? Outcome::kNotAFile : Failed(Outcome::kNotOpened);
  }
  if (::fstat(file.Number(), &status) != 0) return Failed(Outcome::kNotOpened);
  if (!S_ISREG(status.st_mode)) return Outcome::kNotAFile;
  identity_ = {status.st_dev, status.st_ino};

  // The size is a hint: it is 0 for files that the system makes up, and it may change.
  const auto told = static_cast<std::size_t>(status.st_size);
  if (told > largest_) return Outcome::kTooLarge;
  static constexpr std::size_t kAtLeast = 65536;
  std::size_t size = 0;
  for (;;) {
    if (size == buffer_.size() || buffer_.size() <= told) {
      const std::size_t wanted = std::max({kAtLeast, told + 1, size + size / 2});
      buffer_.resize(std::max(buffer_.size(), std::min(wanted, largest_ + 1)));
    }
    const ssize_t count = Uninterrupted(
        [&] { return ::read(file.Number(), buffer_.data() + size, buffer_.size() - size); });
    if (count < 0) return Failed(Outcome::kNotRead);
    if (count == 0) break;
    size += static_cast<std::size_t>(count);
    if (size > largest_) return Outcome::kTooLarge;
  }
  size_ = size;
  return Outcome::kRead;
}

}  // namespace RegexClass::platform
