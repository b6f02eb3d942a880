// SPDX-License-Identifier: BSL-1.0
// What the library keeps for each thread that needs it.
#ifndef REGEXCLASS_CATALOGUES_THREADRECORD_HPP
#define REGEXCLASS_CATALOGUES_THREADRECORD_HPP

#include <locale>
#include <map>

#include "platform/MessageCatalogue.hpp"

namespace RegexClass {

/// The record of one thread; no other thread sees it. It is made when the thread first needs it,
/// and goes with the first object that the thread destroys while the record is empty, with the
/// thread, or with the library.
class ThreadRecord {
 public:
  /// The calling thread's record, made when there is none; null when the system has no place for
  /// it.
  static ThreadRecord* Get();
  /// Destroys the calling thread's record if there is one and it is empty.
  static void Release();
  /// Destroys the calling thread's record, whatever it holds.
  static void Drop();

  /// The message catalogues that this thread has open, by their numbers.
  std::map<std::messages_base::catalog, platform::MessageCatalogue> catalogues;
};

}  // namespace RegexClass

#endif  // REGEXCLASS_CATALOGUES_THREADRECORD_HPP
