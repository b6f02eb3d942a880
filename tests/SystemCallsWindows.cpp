// SPDX-License-Identifier: BSL-1.0
// Modules reach the system's functions through tables of their addresses, in which these stand
// instead: in that of the program, and of the library as a DLL.
#include <windows.h>

#include "SystemCalls.hpp"

namespace RegexClass::test {
namespace {

constexpr std::string_view kNames[] = {
    "CloseHandle",
    "CreateFileW",
    "DeleteFileW",
    "FindFirstFileExW",
    "FindFirstFileW",
    "FindFirstStreamW",
    "FindNextFileW",
    "FlushFileBuffers",
    "GetFileAttributesW",
    "GetFileInformationByHandle",
    "GetFileInformationByHandleEx",
    "GetFileSizeEx",
    "GetFinalPathNameByHandleW",
    "GetTempFileNameA",
    "GetTempPathA",
    "LoadLibraryExW",
    "MoveFileExW",
    "MoveFileW",
    "ReadFile",
    "ReplaceFileW",
    "SetEndOfFile",
    "SetFileAttributesW",
    "SetFileInformationByHandle",
    "SetFilePointerEx",
    "WriteFile",
};

/// None has more arguments, and those that a function doesn't have do it no harm.
using Function = Word (*)(Word, Word, Word, Word, Word, Word, Word);

Function Found(std::string_view name) {
  const FARPROC found = GetProcAddress(GetModuleHandleA("kernel32.dll"), name.data());
  return reinterpret_cast<Function>(reinterpret_cast<void*>(found));
}

template <std::size_t kIndex>
Word Hooked(Word a, Word b, Word c, Word d, Word e, Word f, Word g) {
  return CallSystem(kNames[kIndex], {a, b, c, d, e, f, g});
}

template <class Entry>
Entry* At(HMODULE module, std::size_t offset) {
  return reinterpret_cast<Entry*>(reinterpret_cast<char*>(module) + offset);
}

void Replace(HMODULE module, Function from, Function to) {
  const auto& header = *At<IMAGE_NT_HEADERS>(
      module, static_cast<std::size_t>(At<IMAGE_DOS_HEADER>(module, 0)->e_lfanew));
  const auto& tables = header.OptionalHeader.DataDirectory[IMAGE_DIRECTORY_ENTRY_IMPORT];
  for (auto* table = At<IMAGE_IMPORT_DESCRIPTOR>(module, tables.VirtualAddress); table->Name != 0;
       ++table) {
    for (auto* slot = At<Function>(module, table->FirstThunk); *slot != nullptr; ++slot) {
      DWORD protection = 0;
      if (*slot != from || !VirtualProtect(slot, sizeof *slot, PAGE_READWRITE, &protection)) {
        continue;
      }
      *slot = to;
      VirtualProtect(slot, sizeof *slot, protection, &protection);
    }
  }
}

template <std::size_t... kIndices>
bool ReplaceAll(std::index_sequence<kIndices...>) {
  for (const HMODULE module : {GetModuleHandleA(nullptr), GetModuleHandleA("libregexclass.dll")}) {
    if (module != nullptr) (Replace(module, Found(kNames[kIndices]), &Hooked<kIndices>), ...);
  }
  return true;
}

[[maybe_unused]] const bool replaced = ReplaceAll(std::make_index_sequence<std::size(kNames)>());

}  // namespace

Word CallSystem(std::string_view name, Words w) {
  const int error = AskHook(name, w);
  const bool isMade = IsTransfer(name) || name == "CloseHandle";
  if (error == 0 || isMade) {
    const Word result = Found(name)(w[0], w[1], w[2], w[3], w[4], w[5], w[6]);
    if (error == 0) return result;
  }
  SetLastError(static_cast<DWORD>(error));
  return name == "CreateFileW" || name.substr(0, 9) == "FindFirst" || name == "GetFileAttributesW"
             ? -1
             : 0;
}

}  // namespace RegexClass::test
