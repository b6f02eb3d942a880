// SPDX-License-Identifier: BSL-1.0
// For the implementation of this folder alone: files by their descriptors.
#ifndef REGEXCLASS_PLATFORM_POSIX_OPENFILE_HPP
#define REGEXCLASS_PLATFORM_POSIX_OPENFILE_HPP

#include <memory>
#include <string>
#include <sys/stat.h>
#include <utility>
#include <vector>

#include "platform/NewFile.hpp"
#include "platform/RewriteTarget.hpp"
#include "platform/posix/Calls.hpp"
#include "platform/posix/Descriptor.hpp"

namespace RegexClass::platform {

inline FileIdentity IdentityOf(const struct stat& status) { return {status.st_dev, status.st_ino}; }

struct File::System {
  /// Takes over the descriptor that a call has just returned, or returns the error of that call.
  /// The object comes before the call, so that nothing can go wrong between the two.
  Error Own(int opened) {
    const Error error = Outcome(opened);
    descriptor = Descriptor(opened);
    return error;
  }
  int Number() const { return descriptor.Number(); }
  Error WriteAll(const char* buffer, std::size_t size);

  Descriptor descriptor;
  bool leavesHoles = false;
};

/// An open file, and what it was like when it was opened.
struct Original {
  /// Fails with kErrorChanged when it isn't like that any more.
  Error CheckUnchanged() const;

  int descriptor = -1;
  struct stat opened = {};
};

struct NewFile::System {
  enum class Kind { kReplacement, kCopy, kCopyThatReplacesNothing };

  System(Kind ofFile, const Original& of, std::shared_ptr<Descriptor> in, std::string name)
      : kind(ofFile), original(of), directory(std::move(in)), entry(std::move(name)) {}
  System(const System&) = delete;
  ~System();

  Error Create();
  /// Whether the name is free for this file.
  Error CheckName() const;
  Error Rename();

  const Kind kind;
  const Original& original;  // of the target, which outlasts this object
  const std::shared_ptr<Descriptor> directory;
  const std::string entry;
  std::string temporaryName;  // of chance, while the file has it
  File file;
};

struct RewriteTarget::System {
  Error Create(NewFile::System::Kind kind, std::shared_ptr<Descriptor> in, const std::string& name,
               std::unique_ptr<NewFile>& created) const;

  FoundFile found;
  const std::shared_ptr<Descriptor> directory = std::make_shared<Descriptor>();
  std::string entry;
  File file;
  Original original;
  Error unwritable = 0;
  std::vector<char> capabilities;  // in the system's own form; empty for none
};

}  // namespace RegexClass::platform

#endif  // REGEXCLASS_PLATFORM_POSIX_OPENFILE_HPP
