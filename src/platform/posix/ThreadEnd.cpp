// SPDX-License-Identifier: BSL-1.0
#include "platform/ThreadEnd.hpp"

#include <pthread.h>

namespace RegexClass::platform {

struct ThreadEnd::Key {
  pthread_key_t number = 0;
  bool made = false;
  void (*function)() = nullptr;

  static void Run(void* key) { static_cast<const Key*>(key)->function(); }
};

ThreadEnd::ThreadEnd(void (*function)()) : key_(std::make_unique<Key>()) {
  key_->function = function;
  key_->made = ::pthread_key_create(&key_->number, &Key::Run) == 0;
}

ThreadEnd::~ThreadEnd() {
  if (key_->made) ::pthread_key_delete(key_->number);
}

void ThreadEnd::Arm() {
  if (key_->made) ::pthread_setspecific(key_->number, key_.get());
}

}  // namespace RegexClass::platform
