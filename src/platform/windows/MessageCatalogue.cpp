// SPDX-License-Identifier: BSL-1.0
#include "platform/MessageCatalogue.hpp"

#include <vector>
#include <windows.h>

#include "platform/FileName.hpp"
#include "platform/windows/Path.hpp"

namespace RegexClass::platform {
namespace {

constexpr int kBlock = 16;  // a resource holds as many strings

/// A file of resources, of which no code is run.
class ResourceFile {
 public:
  explicit ResourceFile(const std::wstring& path)
      : module_(LoadLibraryExW(path.c_str(), nullptr,
                               LOAD_LIBRARY_AS_DATAFILE | LOAD_LIBRARY_AS_IMAGE_RESOURCE)) {}
  ResourceFile(const ResourceFile&) = delete;
  ~ResourceFile() {
    if (module_ != nullptr) FreeLibrary(module_);
  }
  HMODULE Module() const { return module_; }

 private:
  const HMODULE module_;
};

/// Where a catalogue of that name lies: a bare name in the application's own directory. From the
/// root, or the system would look for it in one directory after the other.
std::wstring PathOf(const std::string& name) {
  const std::wstring wide = Wide(name);
  if (RootLength(name) != 0 || name.find_first_of(Separators()) != std::string::npos) {
    return TextFrom([&](wchar_t* text, DWORD size) {
      return GetFullPathNameW(wide.c_str(), size, text, nullptr);
    });
  }
  std::wstring path(32768, L'\0');
  path.resize(GetModuleFileNameW(nullptr, path.data(), static_cast<DWORD>(path.size())));
  return path.substr(0, path.find_last_of(L'\\') + 1) + wide;
}

BOOL CALLBACK AddBlock(HMODULE, LPCSTR, LPSTR name, LONG_PTR blocks) {
  if (IS_INTRESOURCE(name)) {
    reinterpret_cast<std::vector<int>*>(blocks)->push_back(
        static_cast<int>(reinterpret_cast<ULONG_PTR>(name)));
  }
  return TRUE;
}

}  // namespace

MessageCatalogue::MessageCatalogue(const std::string& name) { Open(name); }

bool MessageCatalogue::Open(const std::string& path) {
  const ResourceFile file(PathOf(path));
  open_ = file.Module() != nullptr;
  std::vector<int> blocks;
  if (open_) {
    EnumResourceNamesA(file.Module(), reinterpret_cast<LPCSTR>(RT_STRING), &AddBlock,
                       reinterpret_cast<LONG_PTR>(&blocks));
  }
  for (const int block : blocks) {
    for (int number = (block - 1) * kBlock; number < block * kBlock; ++number) {
      char text[kLongestText + 1];
      const int size = LoadStringA(file.Module(), static_cast<UINT>(number), text, sizeof text);
      if (size > 0) texts_.emplace(number, std::string(text, static_cast<std::size_t>(size)));
    }
  }
  return open_;
}

std::string MessageCatalogue::Text(int number) const {
  const auto found = texts_.find(static_cast<std::uint32_t>(number));
  return found != texts_.end() ? found->second : std::string();
}

}  // namespace RegexClass::platform
