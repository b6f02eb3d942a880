// SPDX-License-Identifier: BSL-1.0
// What the tests of operations on files share, and what they call otherwise on each system.
#ifndef REGEXCLASS_TESTS_FILETESTHELPERS_HPP
#define REGEXCLASS_TESTS_FILETESTHELPERS_HPP

#include <cerrno>
#include <cstdint>
#include <cstdlib>
#include <filesystem>
#include <fstream>
#include <iterator>
#include <map>
#include <random>
#include <stdexcept>
#include <string>

#ifdef _WIN32
#include <windows.h>
#else
#include <unistd.h>
#endif

namespace RegexClass::test {

namespace fs = std::filesystem;

#ifdef _WIN32
/// The system's numbers for what goes wrong.
constexpr int kBroken = ERROR_IO_DEVICE, kStale = ERROR_FILE_INVALID,
              kExists = ERROR_ALREADY_EXISTS, kIsDirectory = ERROR_ACCESS_DENIED,
              kTooLarge = ERROR_FILE_TOO_LARGE;
/// Whether anybody can make symbolic links, and give a file away.
constexpr bool kIsPosix = false;

inline void SetVariable(const char* name, const std::string& value) {
  _putenv_s(name, value.c_str());
}
/// The files that this process has open, and what else it has of the system: how many of the first
/// handles there may be are some. GetProcessHandleCount gives 0 under Wine, and to ask for all
/// handles of the system can end it.
inline std::ptrdiff_t OpenFiles() {
  std::ptrdiff_t count = 0;
  for (std::uintptr_t handle = 4; handle <= 4 * 256; handle += 4) {
    DWORD flags = 0;
    if (GetHandleInformation(reinterpret_cast<HANDLE>(handle), &flags)) ++count;
  }
  return count;
}
/// Gives a file an attribute that a new one hasn't, and which writing may cost it.
inline void Mark(const std::string& file) {
  SetFileAttributesA(file.c_str(), FILE_ATTRIBUTE_HIDDEN);
}
inline bool IsMarked(const std::string& file) {
  return (GetFileAttributesA(file.c_str()) & FILE_ATTRIBUTE_HIDDEN) != 0;
}
/// Lets root have the rights of an ordinary user, and files of his in the current directory.
struct AsOrdinaryUser {
  AsOrdinaryUser() {}  // has no need of it
};
#else
constexpr int kBroken = EIO, kStale = ESTALE, kExists = EEXIST, kIsDirectory = EISDIR,
              kTooLarge = EFBIG;
constexpr bool kIsPosix = true;

inline void SetVariable(const char* name, const std::string& value) {
  setenv(name, value.c_str(), 1);
}
inline std::ptrdiff_t OpenFiles() {
  return std::distance(fs::directory_iterator("/proc/self/fd"), {});
}
inline void Mark(const std::string& file) { fs::permissions(file, fs::perms(04755)); }
inline bool IsMarked(const std::string& file) {
  return fs::status(file).permissions() == fs::perms(04755);
}
struct AsOrdinaryUser {
  AsOrdinaryUser() {
    bool given = true;
    for (const auto& entry : fs::recursive_directory_iterator(".")) {
      given = given && (user != 0 || chown(entry.path().c_str(), 65534, getegid()) == 0);
    }
    if (!given || (user == 0 && seteuid(65534) != 0)) throw std::runtime_error("can't be another");
  }
  AsOrdinaryUser(const AsOrdinaryUser&) = delete;
  ~AsOrdinaryUser() {
    if (seteuid(user) != 0) std::abort();
  }
  const uid_t user = geteuid();
};
#endif

/// The content; empty when there is no file of that name.
inline std::string ReadFile(const std::string& name) {
  if (fs::is_directory(name)) return "";
  std::ifstream in(name, std::ios::binary);
  return {std::istreambuf_iterator<char>(in), {}};
}

/// Makes the directories that it lies in, too.
inline void WriteFile(const std::string& name, const std::string& content) {
  fs::create_directories(fs::absolute(name).parent_path());
  std::ofstream(name, std::ios::binary) << content;
}

/// A fresh directory with nothing beside it, which is the current one meanwhile and is removed with
/// all that is in it; in memory if the system has that.
struct Scratch {
  Scratch() {
    std::error_code none;  // a test may have had a temporary directory of its own
    for (const auto& parent :
         {fs::path("/dev/shm"), fs::path("/tmp"), fs::temp_directory_path(none)}) {
      path = (parent / ("regexclass-test-" + std::to_string(std::random_device()()))).string();
      std::error_code error;
      if (!fs::create_directory(path, error)) continue;
      fs::permissions(path, fs::perms(0755));
      fs::create_directory(path + "/here");
      fs::permissions(path + "/here", fs::perms(0777));
      fs::current_path(path + "/here");
      return;
    }
    throw std::runtime_error("no directory for the test");
  }
  Scratch(Scratch&&) = delete;
  ~Scratch() {
    fs::current_path("/");
    fs::remove_all(path);
  }

  std::string path;
};

/// The files below the current directory with their contents, by their names in there.
inline std::map<std::string, std::string> Contents() {
  std::map<std::string, std::string> contents;
  for (const auto& entry : fs::recursive_directory_iterator(".")) {
    if (entry.is_regular_file())
      contents[entry.path().generic_string().substr(2)] = ReadFile(entry.path().string());
  }
  return contents;
}

}  // namespace RegexClass::test

#endif  // REGEXCLASS_TESTS_FILETESTHELPERS_HPP
