// SPDX-License-Identifier: BSL-1.0
// The slots of one event: a plain function and a closure, of which at most one is set by the
// setters. Everything that all events have in common stands here.
#ifndef REGEXCLASS_NOTIFICATIONS_SLOT_HPP
#define REGEXCLASS_NOTIFICATIONS_SLOT_HPP

#include <memory>
#include <type_traits>
#include <utility>

#include "RegularExpression.hpp"

namespace RegexClass {

/// Whom a raise of an event calls: the function if there is one, else the closure.
///
/// Holds what it calls alive, whatever happens to the slot meanwhile.
template <class Function>
class Subscriber {
 public:
  using Closure = detail::Call<Function>;

  Subscriber(Function function, std::shared_ptr<Closure> closure)
      : function_(function), closure_(std::move(closure)) {}

  /// False when nobody listens, and then nothing needs to be built.
  explicit operator bool() const { return function_ != nullptr || closure_ != nullptr; }

  template <class... Arguments>
  void operator()(Arguments&&... arguments) const {
    if (function_ != nullptr) {
      function_(std::forward<Arguments>(arguments)...);
    } else if (closure_ != nullptr) {
      (*closure_)(std::forward<Arguments>(arguments)...);
    }
  }

 private:
  Function function_;
  std::shared_ptr<Closure> closure_;
};

/// The two slots of one event. A copy clones the closure, a move takes it over.
template <class Function>
class Slot {
 public:
  using Closure = detail::Call<Function>;

  Slot() = default;
  Slot(Slot&&) noexcept = default;
  Slot& operator=(Slot&&) noexcept = default;
  Slot(const Slot& source) : function_(source.function_), closure_(source.CloneClosure()) {}
  Slot& operator=(const Slot& source) {
    if (this == &source) return *this;
    std::shared_ptr<Closure> closure = source.CloneClosure();  // or nothing changes
    function_ = source.function_;
    closure_.swap(closure);  // the one that was there is destroyed last
    return *this;
  }

  Function GetFunction() const { return function_; }
  void SetFunction(Function function) {
    function_ = function;
    if (function != nullptr) closure_.reset();
  }

  Closure GetClosure() const { return closure_ != nullptr ? *closure_ : Closure(); }
  void SetClosure(Closure closure) {
    std::shared_ptr<Closure> fresh;
    if (closure) fresh = std::make_shared<Closure>(std::move(closure));
    closure_.swap(fresh);
    if (closure_ != nullptr) function_ = nullptr;
  }

  /// For an event that reads its slots when it is raised: shares the closure with the slot, so
  /// that what the closure changes in itself is seen by GetClosure().
  Subscriber<Function> Current() const { return {function_, closure_}; }

  /// For an operation that reads the slots once, when it starts, and reports through a clone.
  Subscriber<Function> Clone() const { return {function_, CloneClosure()}; }

 private:
  std::shared_ptr<Closure> CloneClosure() const {
    return closure_ != nullptr ? std::make_shared<Closure>(*closure_) : nullptr;
  }

  Function function_ = nullptr;
  std::shared_ptr<Closure> closure_;  // null when the slot is empty, never an empty closure
};

/// The slots of an object, in the order of its events.
struct Notifications {
  bool context = true;  // a report of a match in a string has the text before and after it
  Slot<RegularExpression::MatchFunction> onMatching;
  Slot<RegularExpression::MatchFunction> onSearching;
  Slot<RegularExpression::WalkFunction> onGrepping;
  Slot<RegularExpression::FileMatchFunction> onGreppingFiles;
  Slot<RegularExpression::FileFunction> onFindFiles;
  Slot<RegularExpression::WalkFunction> onMerging;
  Slot<RegularExpression::FileMatchFunction> onChangingFiles;
  Slot<RegularExpression::EntryFunction> onSelectingFiles;
};
static_assert(std::is_nothrow_swappable_v<Notifications>, "else a swap could end the process");

}  // namespace RegexClass

#endif  // REGEXCLASS_NOTIFICATIONS_SLOT_HPP
