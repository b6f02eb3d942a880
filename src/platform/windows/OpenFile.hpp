// SPDX-License-Identifier: BSL-1.0
// For the implementation of this folder alone: files by their handles.
#ifndef REGEXCLASS_PLATFORM_WINDOWS_OPENFILE_HPP
#define REGEXCLASS_PLATFORM_WINDOWS_OPENFILE_HPP

#include <memory>
#include <string>
#include <utility>

#include "platform/NewFile.hpp"
#include "platform/RewriteTarget.hpp"
#include "platform/windows/Handle.hpp"

namespace RegexClass::platform {

using Status = BY_HANDLE_FILE_INFORMATION;

/// The error of a call that returns zero when it fails.
inline Error Outcome(BOOL result) { return result ? 0 : LastError(); }

/// What tells whether a file has been written to.
inline bool SameContent(const Status& a, const Status& b) {
  return IdentityOf(a) == IdentityOf(b) && a.nFileSizeHigh == b.nFileSizeHigh &&
         a.nFileSizeLow == b.nFileSizeLow &&
         CompareFileTime(&a.ftLastWriteTime, &b.ftLastWriteTime) == 0;
}

struct File::System {
  Error Open(const std::wstring& path, DWORD access, DWORD share, DWORD disposition, DWORD flags,
             SECURITY_ATTRIBUTES* security = nullptr);
  /// Opens for reading a file that is opened for writing when space is reserved in it, which comes
  /// before its first writing. It must not have been written to by anyone else meanwhile.
  Error OpenToRead(const std::wstring& path);
  Error OpenToWrite();
  Error MoveTo(std::uint64_t offset) const;
  Error Close();
  HANDLE Value() const { return handle.Value(); }

  Handle handle;
  std::wstring toWrite;  // the path of a file that has yet to be opened for writing
};

struct NewFile::System {
  enum class Kind { kReplacement, kCopy, kCopyThatReplacesNothing };

  System(Kind ofFile, std::wstring name, const RewriteTarget::System& of)
      : kind(ofFile), path(std::move(name)), target(of) {}
  System(const System&) = delete;
  ~System();

  /// Makes the file beside the place that it is for, with the access list of the target from its
  /// first moment; a copy with its streams and attributes, too. Its handle lets no one else in, and
  /// keeps its name from being given to anything else until the file is published.
  Error Create();
  Error PublishReplacement();

  const Kind kind;
  const std::wstring path;
  const RewriteTarget::System& target;  // which outlasts this object
  std::wstring temporaryName;           // of chance, while the file has it
  File file;
};

struct RewriteTarget::System {
  /// Whether the name still is the file's.
  Error CheckName() const;
  Error Create(NewFile::System::Kind kind, const std::wstring& ofFile,
               std::unique_ptr<NewFile>& created) const;

  FoundFile found;
  Handle directory;  // keeps the path as it is
  std::wstring path;
  File file;
  Status status = {};
};

}  // namespace RegexClass::platform

#endif  // REGEXCLASS_PLATFORM_WINDOWS_OPENFILE_HPP
