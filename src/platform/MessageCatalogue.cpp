#include "platform/MessageCatalogue.hpp"

#include <cstdint>
#include <cstring>
#include <nl_types.h>
#include <utility>

namespace RegexClass::platform {
namespace {

constexpr int kSet = 1;

/// The system's handle for no catalogue is -1; ours is null.
void* Open(const std::string& name) {
  const nl_catd handle = catopen(name.c_str(), NL_CAT_LOCALE);
  return reinterpret_cast<std::intptr_t>(handle) == -1 ? nullptr : handle;
}

}  // namespace

MessageCatalogue::MessageCatalogue(const std::string& name) {
  if (name.find('/') == std::string::npos) handle_ = Open("./" + name);
  if (handle_ == nullptr) handle_ = Open(name);
}

MessageCatalogue::MessageCatalogue(MessageCatalogue&& source) noexcept
    : handle_(std::exchange(source.handle_, nullptr)) {}

MessageCatalogue& MessageCatalogue::operator=(MessageCatalogue&& source) noexcept {
  std::swap(handle_, source.handle_);
  return *this;
}

MessageCatalogue::~MessageCatalogue() {
  if (handle_ != nullptr) catclose(handle_);
}

std::string MessageCatalogue::Text(int number) const {
  if (handle_ == nullptr) return std::string();
  const char* text = catgets(handle_, kSet, number, "");
  return std::string(text, strnlen(text, kLongestText));
}

}  // namespace RegexClass::platform
