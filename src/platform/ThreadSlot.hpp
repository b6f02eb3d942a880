// SPDX-License-Identifier: BSL-1.0
// A pointer for each thread, with a call at its end.
#ifndef REGEXCLASS_PLATFORM_THREADSLOT_HPP
#define REGEXCLASS_PLATFORM_THREADSLOT_HPP

namespace RegexClass::platform {

/// A pointer for each thread, null at first.
///
/// A thread_local object with a destructor would do the same, but keeps the library in the process
/// until each such thread has ended, whatever the application says, or leaves a place for it in
/// each when the library goes. With this one the library can be unloaded while such threads go on:
/// from then on nothing is called. A thread that is just ending may have the call in hand, and must
/// have ended before the library is unloaded.
class ThreadSlot {
 public:
  /// `end` is called with the pointer of each thread that ends while it isn't null, and may be
  /// called with those of other threads when the slot ends. The main thread's end is the process's,
  /// for which nothing is called.
  explicit ThreadSlot(void (*end)(void*));
  ThreadSlot(const ThreadSlot&) = delete;
  ThreadSlot& operator=(const ThreadSlot&) = delete;
  ~ThreadSlot();

  /// The calling thread's.
  void* Get() const;
  /// False when the system has no place for it.
  bool Set(void* pointer);

 private:
  unsigned number_ = 0;
  bool made_ = false;
};

}  // namespace RegexClass::platform

#endif  // REGEXCLASS_PLATFORM_THREADSLOT_HPP
