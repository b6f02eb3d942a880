// SPDX-License-Identifier: BSL-1.0
#include "platform/TemporaryFile.hpp"

#include <cerrno>
#include <cstdio>
#include <cstdlib>
#include <fcntl.h>
#include <filesystem>
#include <unistd.h>

#include "platform/posix/Extensions.hpp"
#include "platform/posix/OpenFile.hpp"

namespace RegexClass::platform {
namespace {

Error CreateIn(const std::string& directory, TemporaryFile& temporary) {
  if (directory.empty()) return ENOENT;
  std::string name = directory + "/Regex";
  auto file = std::make_unique<File>();
  // A new file, for its owner alone. Without a name nobody else comes to it, and it ends with
  // its descriptor. Not every file system can make one that never had a name.
  const auto openUnnamed = [&] { return OpenUnnamed(directory.c_str()); };
  if (file->ForPlatform().Own(Uninterrupted(openUnnamed)) != 0) {
    name += "XXXXXX";
    if (const Error error = file->ForPlatform().Own(mkostemp(name.data(), O_CLOEXEC))) return error;
    if (unlink(name.c_str()) == -1) return errno;
  }
  temporary.file = std::move(file);
  temporary.name = std::move(name);
  return 0;
}

Error InUsersDirectory(TemporaryFile& temporary) {
  const char* const directory = TrustedVariable("TMPDIR");
  return CreateIn(directory != nullptr && *directory != '\0' ? directory : P_tmpdir, temporary);
}

Error InSystemsDirectory(TemporaryFile& temporary) { return CreateIn(P_tmpdir, temporary); }

/// Where applications are told to put such files.
Error InApplicationsDirectory(TemporaryFile& temporary) {
  std::error_code error;  // and an empty path
  return CreateIn(std::filesystem::temp_directory_path(error).string(), temporary);
}

}  // namespace

const std::array<TemporaryFile::Way, 3> TemporaryFile::kWays = {
    InUsersDirectory, InSystemsDirectory, InApplicationsDirectory};

}  // namespace RegexClass::platform
