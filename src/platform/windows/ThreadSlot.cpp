// SPDX-License-Identifier: BSL-1.0
#include "platform/ThreadSlot.hpp"

#include <type_traits>
#include <windows.h>

namespace RegexClass::platform {

// On this processor all functions are called alike.
static_assert(std::is_same_v<PFLS_CALLBACK_FUNCTION, void (*)(void*)>);

ThreadSlot::ThreadSlot(void (*end)(void*)) : number_(FlsAlloc(end)) {
  made_ = number_ != FLS_OUT_OF_INDEXES;
}

ThreadSlot::~ThreadSlot() {
  if (made_) FlsFree(number_);
}

void* ThreadSlot::Get() const { return made_ ? FlsGetValue(number_) : nullptr; }

bool ThreadSlot::Set(void* pointer) { return made_ && FlsSetValue(number_, pointer); }

}  // namespace RegexClass::platform
