#include "FilePatterns.hpp"

#include <cerrno>
#include <filesystem>
#include <system_error>

namespace tool {

namespace {

const char* const kSpecial = "\\;*?[]";

std::string Escaped(const std::string& name) {
  std::string escaped;
  for (const char c : name) {
    if (std::string(kSpecial).find(c) != std::string::npos) escaped += '\\';
    escaped += c;
  }
  return escaped;
}

}  // namespace

std::string PatternOf(const std::vector<std::string>& arguments, bool recursive,
                      Problems& problems) {
  std::string pattern;
  for (const std::string& argument : arguments) {
    std::error_code error;
    const std::filesystem::file_status status = std::filesystem::status(argument, error);
    std::string part = argument;
    if (std::filesystem::is_directory(status)) {
      part = Escaped(argument) + "/*";
    } else if (std::filesystem::exists(status)) {
      part = Escaped(argument);
    } else if (!recursive && argument.find_first_of(kSpecial) == std::string::npos) {
      problems.Tell(argument, SystemWords(error ? error.value() : ENOENT));
      continue;
    }
    pattern += pattern.empty() ? part : ';' + part;
  }
  return pattern;
}

}  // namespace tool
