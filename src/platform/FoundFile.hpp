// A file that a walk has come to.
#ifndef REGEXCLASS_PLATFORM_FOUNDFILE_HPP
#define REGEXCLASS_PLATFORM_FOUNDFILE_HPP

#include <cstddef>
#include <cstdint>
#include <string>

namespace RegexClass::platform {

/// What makes two names those of one file.
struct FileIdentity {
  std::uint64_t device = 0;
  std::uint64_t number = 0;

  bool operator==(const FileIdentity& other) const {
    return device == other.device && number == other.number;
  }
  bool operator!=(const FileIdentity& other) const { return !(*this == other); }
};

struct FoundFile {
  std::string name;  ///< As the pattern leads to it.
  /// How much of the name the caller has spelled out, from its start, in whole components. Links in
  /// there are meant; behind it anybody may have put them.
  std::size_t named = 0;
  FileIdentity identity;  ///< Of the file that was read by that name.
};

}  // namespace RegexClass::platform

#endif  // REGEXCLASS_PLATFORM_FOUNDFILE_HPP
