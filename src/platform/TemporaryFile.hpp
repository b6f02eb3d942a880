// SPDX-License-Identifier: BSL-1.0
#ifndef REGEXCLASS_PLATFORM_TEMPORARYFILE_HPP
#define REGEXCLASS_PLATFORM_TEMPORARYFILE_HPP

#include <array>
#include <memory>
#include <string>

#include "platform/File.hpp"

namespace RegexClass::platform {

/// A temporary file: empty, open for writing and reading, and for no one else. Nothing of it is
/// left when the object ends, nor when the process is killed.
struct TemporaryFile {
  /// Makes one; it may fail, and the file may lie where there is no space.
  using Way = Error (*)(TemporaryFile& temporary);
  /// The ways that the system has, in the order in which they are to be tried.
  static const std::array<Way, 3> kWays;

  std::unique_ptr<File> file;
  std::string name;
};

}  // namespace RegexClass::platform

#endif  // REGEXCLASS_PLATFORM_TEMPORARYFILE_HPP
