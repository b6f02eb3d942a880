// What the library keeps for each thread that needs it.
#ifndef REGEXCLASS_MODULE_THREADRECORD_HPP
#define REGEXCLASS_MODULE_THREADRECORD_HPP

#include <map>
#include <vector>

#include "platform/MessageCatalogue.hpp"

namespace RegexClass {

class ExpressionState;

/// The record of one thread; no other thread sees it. It is made when the thread first needs it,
/// and goes with the first object that the thread destroys while the record is empty, with the
/// thread, or with the library.
class ThreadRecord {
 public:
  /// The calling thread's record, made when there is none.
  static ThreadRecord& Get();
  /// Destroys the calling thread's record if there is one and it is empty.
  static void Release();
  /// Destroys the calling thread's record, whatever it holds.
  static void Drop();

  /// The objects with an operation on files that runs on this thread, the innermost at the back.
  /// The callbacks of the file walker carry no argument that tells the object, and find it here.
  std::vector<ExpressionState*> runningObjects;
  /// The message catalogues that this thread has open, by their numbers.
  std::map<int, platform::MessageCatalogue> catalogues;

 private:
  bool Empty() const { return runningObjects.empty() && catalogues.empty(); }
};

/// Makes an object the innermost running one for the life of the scope, however that ends.
class RunningObject {
 public:
  explicit RunningObject(ExpressionState& state) : record_(ThreadRecord::Get()) {
    record_.runningObjects.push_back(&state);
  }
  RunningObject(const RunningObject&) = delete;
  RunningObject& operator=(const RunningObject&) = delete;
  ~RunningObject() { record_.runningObjects.pop_back(); }

  static ExpressionState& Innermost() { return *ThreadRecord::Get().runningObjects.back(); }

 private:
  ThreadRecord& record_;  // stays, for as long as it isn't empty
};

}  // namespace RegexClass

#endif  // REGEXCLASS_MODULE_THREADRECORD_HPP
