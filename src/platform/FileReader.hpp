// SPDX-License-Identifier: BSL-1.0
// Reading files whole.
#ifndef REGEXCLASS_PLATFORM_FILEREADER_HPP
#define REGEXCLASS_PLATFORM_FILEREADER_HPP

#include <cstddef>
#include <cstdint>
#include <cstdlib>
#include <functional>
#include <memory>
#include <string_view>

#include "platform/FoundFile.hpp"

namespace RegexClass::platform {

/// Reads one file after the other into the same memory. Files are read, never mapped: one that
/// changes while it is read is a mixture of its bytes at worst.
class FileReader {
 public:
  enum class Outcome {
    kRead,       // Text() has the file
    kNotAFile,   // there is no regular file of this name; nothing was opened
    kNotOpened,  // Error() says why
    kNotRead,    // Error() says why
    kTooLarge,   // the file has more bytes than the reader takes
  };

  /// A reader of files of up to `largest` bytes.
  explicit FileReader(std::size_t largest) : largest_(largest) {}

  /// Reads the regular file of that name in its directory, or the one that a link of this name
  /// leads to, to its end, whatever size it tells. Anything else of this name is left alone; a pipe
  /// or a device is never opened. The file is closed again when this returns.
  Outcome Read(const FoundFile& found);
  /// Whether there is such a file, as far as that can be told without opening it: kRead, kNotAFile
  /// or kNotOpened.
  Outcome Look(const FoundFile& found);

  /// What the last successful Read() has read; valid until the next one.
  std::string_view Text() const { return {buffer_.get(), size_}; }
  /// Which file that was.
  const FileIdentity& Identity() const { return identity_; }
  /// The system's number for the last failure.
  platform::Error Error() const { return error_; }

 private:
  /// Reads up to that many bytes, and tells in `count` how many came: 0 at the end of the file.
  using Step = std::function<platform::Error(char* buffer, std::size_t size, std::size_t& count)>;

  struct FreeMemory {
    void operator()(char* memory) const { std::free(memory); }
  };

  Outcome Failed(Outcome outcome, platform::Error error);
  /// Reads the file step by step; `told` is the size that it tells, which may be wrong.
  Outcome ReadToEnd(std::uint64_t told, const Step& step);

  const std::size_t largest_;
  // As large as the largest file so far, and not all of it written to.
  std::unique_ptr<char, FreeMemory> buffer_;
  std::size_t capacity_ = 0;
  std::size_t size_ = 0;
  FileIdentity identity_;
  platform::Error error_ = 0;
};

}  // namespace RegexClass::platform

#endif  // REGEXCLASS_PLATFORM_FILEREADER_HPP
