// SPDX-License-Identifier: BSL-1.0
// What is the same on every system.
#include "platform/Directory.hpp"

// Of the folder of the system.
#include "OpenDirectory.hpp"

namespace RegexClass::platform {

Directory::Directory(std::unique_ptr<System> system) : system_(std::move(system)) {}
Directory::~Directory() = default;

DirectoryPointer Directory::Current() {
  return std::make_shared<Directory>(
      std::make_unique<System>(nullptr, std::string(), Links::kMeant));
}

DirectoryPointer Directory::Below(const std::string& component, Links links) {
  return std::make_shared<Directory>(
      std::make_unique<System>(shared_from_this(), component, links));
}

DirectoryPointer Directory::Above(std::size_t length) {
  DirectoryPointer directory = shared_from_this();
  while (directory->PathLength() > length) {
    const System& system = *directory->system_;
    if (system.parent == nullptr) return nullptr;
    const std::size_t above = system.parent->PathLength();
    if (above < length) {  // inside of a name that the caller has spelled out
      return system.parent->Below(system.name.substr(0, length - above), system.links);
    }
    directory = DirectoryPointer(system.parent);
  }
  return directory->PathLength() == length ? directory : nullptr;
}

std::size_t Directory::PathLength() const { return system_->pathLength; }

bool Directory::IsReachedAsMeant() const { return system_->asMeant; }

Error Directory::Identify(FileIdentity& identity) {
  if (!system_->identified) {
    System::Opening ignored;
    if (const Error error = system_->Open(ignored)) return error;
  }
  identity = system_->identity;
  return 0;
}

}  // namespace RegexClass::platform
