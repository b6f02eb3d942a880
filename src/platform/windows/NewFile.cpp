// SPDX-License-Identifier: BSL-1.0
#include "platform/NewFile.hpp"

#include <random>
#include <utility>

#include "platform/windows/Attributes.hpp"
#include "platform/windows/OpenFile.hpp"

namespace RegexClass::platform {

NewFile::NewFile(std::unique_ptr<System> system) : system_(std::move(system)) {}
NewFile::~NewFile() = default;

File& NewFile::Content() { return system_->file; }

Error NewFile::Publish() {
  System& s = *system_;
  Error error = s.file.ForPlatform().Close();
  if (error != 0) return error;
  if (s.kind == System::Kind::kReplacement) {
    error = s.PublishReplacement();
  } else {
    const DWORD flags = s.kind == System::Kind::kCopy ? MOVEFILE_REPLACE_EXISTING : 0;
    error = Outcome(MoveFileExW(s.temporaryName.c_str(), s.path.c_str(), flags));
  }
  if (error == 0) s.temporaryName.clear();
  return error;
}

NewFile::System::~System() {
  file.ForPlatform().Close();
  if (!temporaryName.empty()) DeleteFileW(temporaryName.c_str());
}

Error NewFile::System::Create() {
  AccessList list(target.path);
  std::random_device chance;
  const std::size_t last = path.rfind(L'\\') + 1;
  Error error = ERROR_FILE_EXISTS;
  for (int attempt = 0; attempt < 100 && error == ERROR_FILE_EXISTS; ++attempt) {
    const std::wstring name = path.substr(0, last) + L".Regex" + std::to_wstring(chance());
    error = file.ForPlatform().Open(name, GENERIC_READ | GENERIC_WRITE, 0, CREATE_NEW,
                                    FILE_ATTRIBUTE_NORMAL, list.ForNewFile());
    if (error == 0) temporaryName = name;
  }
  if (error != 0 || kind == Kind::kReplacement) return error;
  if ((error = CopyStreams(target.path, temporaryName)) != 0) return error;
  FILE_BASIC_INFO basic = {};  // a time of 0 is left as it is
  basic.FileAttributes = target.status.dwFileAttributes & kSettable;
  if (basic.FileAttributes == 0) return 0;
  return Outcome(
      SetFileInformationByHandle(file.ForPlatform().Value(), FileBasicInfo, &basic, sizeof basic));
}

/// The system itself gives it what belongs to the file that it takes the place of: access list,
/// times of creation, streams.
Error NewFile::System::PublishReplacement() {
  Error error = Outcome(
      SetFileAttributesW(temporaryName.c_str(), target.status.dwFileAttributes & kSettable));
  if (error == 0) error = target.CheckName();
  if (error != 0) return error;
  // The old file goes aside and is deleted under a name of its own: who still has it open keeps
  // it to the end, and doesn't hold up the new one.
  const std::wstring old = temporaryName + L".old";
  error =
      Outcome(ReplaceFileW(path.c_str(), temporaryName.c_str(), old.c_str(), 0, nullptr, nullptr));
  if (error != 0) MoveFileW(old.c_str(), path.c_str());  // if it has gone aside already
  if (error != 0) return error;
  DeleteFileW(old.c_str());
  return 0;
}

}  // namespace RegexClass::platform
