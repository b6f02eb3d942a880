// SPDX-License-Identifier: BSL-1.0
// A call at the end of a thread.
#ifndef REGEXCLASS_PLATFORM_THREADEND_HPP
#define REGEXCLASS_PLATFORM_THREADEND_HPP

#include <memory>

namespace RegexClass::platform {

/// Calls a function at the end of each thread that asked for it.
///
/// A thread_local object with a destructor would do the same, but keeps the library in the process
/// until each such thread has ended, whatever the application says. With this one the library can
/// be unloaded while such threads go on: from then on nothing is called. A thread that is just
/// ending may have the call in hand, and must have ended before the library is unloaded.
class ThreadEnd {
 public:
  explicit ThreadEnd(void (*function)());
  ThreadEnd(const ThreadEnd&) = delete;
  ThreadEnd& operator=(const ThreadEnd&) = delete;
  ~ThreadEnd();

  /// Has the function called when the calling thread ends; once, however often this is called. The
  /// main thread's end is the process's, for which nothing is called.
  void Arm();

 private:
  struct Key;
  const std::unique_ptr<Key> key_;
};

}  // namespace RegexClass::platform

#endif  // REGEXCLASS_PLATFORM_THREADEND_HPP
