// SPDX-License-Identifier: BSL-1.0
#include "platform/ThreadEnd.hpp"

#include <windows.h>

namespace RegexClass::platform {

struct ThreadEnd::Key {
  DWORD number = FLS_OUT_OF_INDEXES;
  void (*function)() = nullptr;

  static void WINAPI Run(void* key) { static_cast<const Key*>(key)->function(); }
};

ThreadEnd::ThreadEnd(void (*function)()) : key_(std::make_unique<Key>()) {
  key_->function = function;
  key_->number = FlsAlloc(&Key::Run);
}

ThreadEnd::~ThreadEnd() {
  if (key_->number != FLS_OUT_OF_INDEXES) FlsFree(key_->number);
}

void ThreadEnd::Arm() {
  if (key_->number != FLS_OUT_OF_INDEXES) FlsSetValue(key_->number, key_.get());
}

}  // namespace RegexClass::platform
