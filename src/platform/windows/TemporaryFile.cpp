// SPDX-License-Identifier: BSL-1.0
#include "platform/TemporaryFile.hpp"

#include <cstdio>
#include <cstdlib>

#include "platform/windows/OpenFile.hpp"
#include "platform/windows/Path.hpp"

namespace RegexClass::platform {
namespace {

/// Makes a file of that name, which may be there already. It lets no one in, and ends with its
/// handle.
Error CreateAs(const std::string& name, DWORD disposition, TemporaryFile& temporary) {
  temporary.name = name;
  if (name.empty()) return LastError();
  const std::wstring path = FullPath(CurrentPath(), name);
  auto file = std::make_unique<File>();
  const Error error =
      file->ForPlatform().Open(path, GENERIC_READ | GENERIC_WRITE, 0, disposition,
                               FILE_ATTRIBUTE_TEMPORARY | FILE_FLAG_DELETE_ON_CLOSE);
  if (error == 0) temporary.file = std::move(file);
  if (error != 0 && disposition == OPEN_EXISTING) DeleteFileW(path.c_str());
  return error;
}

Error NamedByStandard(TemporaryFile& temporary) {
  char name[L_tmpnam] = "";
  return CreateAs(std::tmpnam(name) != nullptr ? name : "", CREATE_NEW, temporary);
}

Error NamedByEnvironment(TemporaryFile& temporary) {
  const std::unique_ptr<char, decltype(&std::free)> name(_tempnam(nullptr, "Regex"), &std::free);
  return CreateAs(name != nullptr ? name.get() : "", CREATE_NEW, temporary);
}

/// The system makes the file, too.
Error NamedBySystem(TemporaryFile& temporary) {
  char directory[MAX_PATH] = "";
  char name[MAX_PATH] = "";
  const DWORD size = GetTempPathA(MAX_PATH, directory);
  const bool made = size != 0 && size < MAX_PATH && GetTempFileNameA(directory, "Regex", 0, name);
  return CreateAs(made ? name : "", OPEN_EXISTING, temporary);
}

}  // namespace

const std::array<TemporaryFile::Way, 3> TemporaryFile::kWays = {NamedByStandard, NamedByEnvironment,
                                                                NamedBySystem};

}  // namespace RegexClass::platform
