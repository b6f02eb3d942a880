// Message catalogues: files of numbered texts in the user's language.
#ifndef REGEXCLASS_PLATFORM_MESSAGECATALOGUE_HPP
#define REGEXCLASS_PLATFORM_MESSAGECATALOGUE_HPP

#include <cstddef>
#include <string>

namespace RegexClass::platform {

/// An open catalogue, as gencat makes them. Closed with the object.
///
/// The texts of one catalogue may be read from several threads at once.
class MessageCatalogue {
 public:
  /// Texts are cut to this many bytes.
  static constexpr std::size_t kLongestText = 254;

  MessageCatalogue() = default;
  /// Opens the catalogue of that name. A name with a slash is a path. Any other is looked for in
  /// the current directory, then in the places where the system keeps catalogues, NLSPATH first.
  /// Whether it has worked, operator bool() tells.
  explicit MessageCatalogue(const std::string& name);
  MessageCatalogue(MessageCatalogue&& source) noexcept;
  MessageCatalogue& operator=(MessageCatalogue&& source) noexcept;
  ~MessageCatalogue();

  explicit operator bool() const { return handle_ != nullptr; }

  /// The text of that number in set 1, cut to kLongestText bytes; empty when there is none.
  std::string Text(int number) const;

 private:
  void* handle_ = nullptr;  // null when nothing is open
};

}  // namespace RegexClass::platform

#endif  // REGEXCLASS_PLATFORM_MESSAGECATALOGUE_HPP
