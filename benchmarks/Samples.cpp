// SPDX-License-Identifier: BSL-1.0
#include "Samples.hpp"

#include <algorithm>
#include <fstream>
#include <iterator>
#include <system_error>

namespace RegexClass::benchmarks {

namespace fs = std::filesystem;

namespace {

/// Copies up to `most` bytes of regular files, and gives how many bytes it copied.
std::uintmax_t Copy(const fs::path& source, const fs::path& target, std::uintmax_t most) {
  std::uintmax_t size = 0;
  const auto options = fs::directory_options::skip_permission_denied;
  for (const fs::directory_entry& entry : fs::recursive_directory_iterator(source, options)) {
    if (size >= most) break;
    if (entry.is_symlink() || !entry.is_regular_file()) continue;
    const fs::path copy = target / entry.path().relative_path();
    fs::create_directories(copy.parent_path());
    std::error_code error;
    if (!fs::copy_file(entry.path(), copy, error)) continue;  // there already, or unreadable
    fs::permissions(copy, fs::perms::owner_write, fs::perm_options::add);
    size += entry.file_size();
  }
  return size;
}

}  // namespace

std::string OnExpression(const std::string& in, std::string expression) {
  for (std::size_t at = 0; (at = expression.find('|', at)) != std::string::npos; at += 2) {
    expression.insert(at, 1, '\\');  // it would end the cell
  }
  return in + ", `" + expression + '`';
}

fs::path Tree(const std::string& name, const std::vector<const char*>& sources, std::uintmax_t size,
              std::uintmax_t most) {
  fs::path tree = fs::path(REGEXCLASS_BENCHMARK_FOLDER) / name;
  if (fs::exists(tree)) return tree;
  const fs::path unfinished = tree.string() + ".unfinished";
  fs::remove_all(unfinished);
  for (const char* const source : sources) {
    if (!fs::exists(source)) continue;
    size -= std::min(size, Copy(source, unfinished, std::min(size, most)));
  }
  fs::rename(unfinished, tree);
  return tree;
}

fs::path HeaderTree() { return Tree("headers", {"/usr/include"}, 160 << 20, 160 << 20); }

std::string Headers(std::size_t size) {
  std::string text;
  for (const fs::directory_entry& entry : fs::recursive_directory_iterator(HeaderTree())) {
    if (text.size() >= size) break;
    if (!entry.is_regular_file()) continue;
    std::ifstream file(entry.path(), std::ios::binary);
    text.append(std::istreambuf_iterator<char>(file), {});
  }
  return text;
}

}  // namespace RegexClass::benchmarks
