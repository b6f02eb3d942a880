// SPDX-License-Identifier: BSL-1.0
// Message catalogues: files of numbered texts in the user's language.
#ifndef REGEXCLASS_PLATFORM_MESSAGECATALOGUE_HPP
#define REGEXCLASS_PLATFORM_MESSAGECATALOGUE_HPP

#include <cstddef>
#include <cstdint>
#include <map>
#include <string>

namespace RegexClass::platform {

/// The texts of an open catalogue, as gencat makes them.
///
/// The file is read whole when it is opened, and by code of our own: the system's functions trust
/// the numbers in a file, and end the process over a damaged one.
class MessageCatalogue {
 public:
  /// Texts are cut to this many bytes.
  static constexpr std::size_t kLongestText = 254;

  MessageCatalogue() = default;
  /// Opens the catalogue of that name. A name with a slash is a path. Any other is looked for in
  /// the current directory, then in the places where the system keeps catalogues, NLSPATH first.
  /// Whether it has worked, operator bool() tells; of a damaged file it may have, and the texts
  /// that can't be made out are missing.
  explicit MessageCatalogue(const std::string& name);

  explicit operator bool() const { return open_; }

  /// The text of that number in set 1, cut to kLongestText bytes; empty when there is none.
  std::string Text(int number) const;

 private:
  bool Open(const std::string& path);

  bool open_ = false;
  std::map<std::uint32_t, std::string> texts_;
};

}  // namespace RegexClass::platform

#endif  // REGEXCLASS_PLATFORM_MESSAGECATALOGUE_HPP
