// SPDX-License-Identifier: BSL-1.0
#include "module/ThreadRecord.hpp"

#include <memory>

#include "platform/ThreadEnd.hpp"

namespace RegexClass {
namespace {

// A plain pointer, so that it may be read at any time, even while statics are being destroyed.
thread_local ThreadRecord* threadRecord = nullptr;

/// Drops the record of a thread that ends, and that of the thread that unloads the library.
struct Module {
  platform::ThreadEnd threadEnd{&ThreadRecord::Drop};
  ~Module() { ThreadRecord::Drop(); }
} module;

}  // namespace

ThreadRecord& ThreadRecord::Get() {
  if (threadRecord == nullptr) {
    threadRecord = std::make_unique<ThreadRecord>().release();
    module.threadEnd.Arm();
  }
  return *threadRecord;
}

void ThreadRecord::Release() {
  if (threadRecord != nullptr && threadRecord->catalogues.empty()) Drop();
}

void ThreadRecord::Drop() {
  const std::unique_ptr<ThreadRecord> dropped(threadRecord);
  threadRecord = nullptr;
}

}  // namespace RegexClass
