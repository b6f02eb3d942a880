// What the tests of operations on files share.
#ifndef REGEXCLASS_TESTS_FILETESTHELPERS_HPP
#define REGEXCLASS_TESTS_FILETESTHELPERS_HPP

#include <cstdlib>
#include <filesystem>
#include <fstream>
#include <iterator>
#include <stdexcept>
#include <string>
#include <sys/wait.h>
#include <unistd.h>

namespace RegexClass::test {

/// A fresh directory, in memory if the system has that, removed with all that is in it.
struct ScratchDirectory {
  ScratchDirectory() {
    for (const auto& parent :
         {std::filesystem::path("/dev/shm"), std::filesystem::temp_directory_path()}) {
      path = parent / "regexclass-test-XXXXXX";
      if (mkdtemp(path.data()) != nullptr) return;
    }
    throw std::runtime_error("no directory for the test");
  }
  ScratchDirectory(ScratchDirectory&&) = delete;
  ~ScratchDirectory() { std::filesystem::remove_all(path); }
  std::string operator/(const std::string& name) const { return path + '/' + name; }

  std::string path;
};

inline std::string ReadFile(const std::string& name) {
  std::ifstream in(name, std::ios::binary);
  return {std::istreambuf_iterator<char>(in), {}};
}

/// Makes the directories that it lies in, too.
inline void WriteFile(const std::string& name, const std::string& content) {
  std::filesystem::create_directories(std::filesystem::absolute(name).parent_path());
  std::ofstream(name, std::ios::binary) << content;
}

/// A scratch directory that is the current one meanwhile.
struct CurrentScratch : ScratchDirectory {
  CurrentScratch() { std::filesystem::current_path(path); }
  ~CurrentScratch() { std::filesystem::current_path("/"); }
};

/// The number of files that this process has open.
inline std::ptrdiff_t OpenDescriptors() {
  return std::distance(std::filesystem::directory_iterator("/proc/self/fd"), {});
}

/// What `run` gives as text, in a process of its own that may give up its rights.
template <class Run>
std::string InChild(Run run) {
  int ends[2];
  if (pipe(ends) != 0) throw std::runtime_error("no pipe for the test");
  const pid_t child = fork();
  if (child == 0) {
    const std::string text = run();
    const ssize_t written = write(ends[1], text.data(), text.size());
    _exit(written == static_cast<ssize_t>(text.size()) ? 0 : 1);
  }
  close(ends[1]);
  std::string text(4096, '\0');
  const ssize_t count = read(ends[0], text.data(), text.size());
  text.resize(count < 0 ? 0 : static_cast<std::size_t>(count));
  close(ends[0]);
  waitpid(child, nullptr, 0);
  return text;
}

}  // namespace RegexClass::test

#endif  // REGEXCLASS_TESTS_FILETESTHELPERS_HPP
