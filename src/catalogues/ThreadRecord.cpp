// SPDX-License-Identifier: BSL-1.0
#include "catalogues/ThreadRecord.hpp"

#include <memory>

#include "platform/ThreadSlot.hpp"

namespace RegexClass {
namespace {

void Destroy(void* record) {
  const std::unique_ptr<ThreadRecord> destroyed(static_cast<ThreadRecord*>(record));
}

// A plain pointer, so that it may be read at any time, even while statics are being destroyed.
platform::ThreadSlot* slot = nullptr;

/// The records end with their threads, and that of the thread that unloads the library with that.
struct Module {
  platform::ThreadSlot records{&Destroy};

  Module() { slot = &records; }
  ~Module() {
    ThreadRecord::Drop();
    slot = nullptr;
  }
} module;

ThreadRecord* Present() {
  return slot != nullptr ? static_cast<ThreadRecord*>(slot->Get()) : nullptr;
}

}  // namespace

ThreadRecord* ThreadRecord::Get() {
  if (ThreadRecord* const record = Present()) return record;
  auto record = std::make_unique<ThreadRecord>();
  return slot != nullptr && slot->Set(record.get()) ? record.release() : nullptr;
}

void ThreadRecord::Release() {
  const ThreadRecord* const record = Present();
  if (record != nullptr && record->catalogues.empty()) Drop();
}

void ThreadRecord::Drop() {
  ThreadRecord* const record = Present();
  if (record == nullptr) return;
  slot->Set(nullptr);
  Destroy(record);
}

}  // namespace RegexClass
