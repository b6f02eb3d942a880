// SPDX-License-Identifier: BSL-1.0
#include "platform/ThreadSlot.hpp"

#include <pthread.h>

namespace RegexClass::platform {

ThreadSlot::ThreadSlot(void (*end)(void*)) { made_ = ::pthread_key_create(&number_, end) == 0; }

ThreadSlot::~ThreadSlot() {
  if (made_) ::pthread_key_delete(number_);
}

void* ThreadSlot::Get() const { return made_ ? ::pthread_getspecific(number_) : nullptr; }

bool ThreadSlot::Set(void* pointer) {
  return made_ && ::pthread_setspecific(number_, pointer) == 0;
}

}  // namespace RegexClass::platform
