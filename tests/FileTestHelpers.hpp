// SPDX-License-Identifier: BSL-1.0
// What the tests of operations on files share.
#ifndef REGEXCLASS_TESTS_FILETESTHELPERS_HPP
#define REGEXCLASS_TESTS_FILETESTHELPERS_HPP

#include <cstdlib>
#include <filesystem>
#include <fstream>
#include <iterator>
#include <map>
#include <random>
#include <stdexcept>
#include <string>

#ifndef _WIN32
#include <sys/mman.h>
#include <sys/wait.h>
#include <unistd.h>
#endif

namespace RegexClass::test {

namespace fs = std::filesystem;

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

#ifndef _WIN32
/// The number of files that this process has open.
inline std::ptrdiff_t OpenDescriptors() {
  return std::distance(fs::directory_iterator("/proc/self/fd"), {});
}

/// What `run` gives as text, in a process of its own that may give up its rights.
template <class Run>
std::string InChild(Run run) {
  const int outcome = memfd_create("outcome", 0);
  const pid_t child = fork();
  if (child == 0) {
    std::string text = "failed";
    try {
      text = run();
    } catch (const std::exception&) {
    }
    _exit(write(outcome, text.data(), text.size()) < 0 ? 1 : 0);
  }
  waitpid(child, nullptr, 0);
  std::string text = ReadFile("/proc/self/fd/" + std::to_string(outcome));
  close(outcome);
  return text;
}
#endif

}  // namespace RegexClass::test

#endif  // REGEXCLASS_TESTS_FILETESTHELPERS_HPP
