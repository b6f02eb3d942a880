// SPDX-License-Identifier: BSL-1.0
#include "platform/windows/Attributes.hpp"

#include "platform/windows/OpenFile.hpp"

namespace RegexClass::platform {
namespace {

Error CopyStream(const std::wstring& from, const std::wstring& to) {
  File source;
  File target;
  constexpr DWORD kShare = FILE_SHARE_READ | FILE_SHARE_WRITE | FILE_SHARE_DELETE;
  if (const Error error = source.ForPlatform().Open(from, GENERIC_READ, kShare, OPEN_EXISTING, 0))
    return error;
  if (const Error error = target.ForPlatform().Open(to, GENERIC_WRITE, 0, CREATE_ALWAYS, 0))
    return error;
  std::vector<char> block(65536);
  for (;;) {
    std::size_t count = 0;
    if (const Error error = source.Read(block.data(), block.size(), count)) return error;
    if (count == 0) return 0;
    if (const Error error = target.Write(block.data(), count)) return error;
  }
}

}  // namespace

AccessList::AccessList(const std::wstring& path) {
  DWORD size = 0;
  GetFileSecurityW(path.c_str(), DACL_SECURITY_INFORMATION, nullptr, 0, &size);
  list_.resize(size);
  DWORD same = 0;
  if (!GetFileSecurityW(path.c_str(), DACL_SECURITY_INFORMATION, list_.data(), size, &same)) {
    list_.clear();
  }
  attributes_.lpSecurityDescriptor = list_.data();
}

Error CopyStreams(const std::wstring& from, const std::wstring& to) {
  WIN32_FIND_STREAM_DATA stream = {};
  const HANDLE found = FindFirstStreamW(from.c_str(), FindStreamInfoStandard, &stream, 0);
  if (found == INVALID_HANDLE_VALUE) return 0;  // also on a file system without streams
  Error error = 0;
  do {
    const std::wstring name = stream.cStreamName;
    if (name != L"::$DATA") error = CopyStream(from + name, to + name);
  } while (error == 0 && FindNextStreamW(found, &stream));
  FindClose(found);
  return error;
}

}  // namespace RegexClass::platform
