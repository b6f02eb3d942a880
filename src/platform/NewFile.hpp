// SPDX-License-Identifier: BSL-1.0
#ifndef REGEXCLASS_PLATFORM_NEWFILE_HPP
#define REGEXCLASS_PLATFORM_NEWFILE_HPP

#include <memory>

#include "platform/File.hpp"

namespace RegexClass::platform {

/// A new file beside another, which appears under its name only when it is whole: until then its
/// name is one of chance, and nobody else may open it. An object that ends before takes the file
/// with it.
class NewFile {
 public:
  struct System;  // of the platform

  explicit NewFile(std::unique_ptr<System> system);
  NewFile(const NewFile&) = delete;
  ~NewFile();

  File& Content();
  /// Sets the file's owner, permissions, access list and attributes, and renames it over
  /// whatever has its name; a link of that name is replaced and not followed.
  Error Publish();

 private:
  const std::unique_ptr<System> system_;
};

}  // namespace RegexClass::platform

#endif  // REGEXCLASS_PLATFORM_NEWFILE_HPP
