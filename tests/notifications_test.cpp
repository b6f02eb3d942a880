// SPDX-License-Identifier: BSL-1.0
// The slots of the events: who is in them, and what a closure sees of itself.

#include <functional>

#include <gtest/gtest.h>

#include "TestHelpers.hpp"

namespace RegexClass::test {
namespace {

template <class... Arguments>
void Function(RE*, Arguments...) {}

/// Counts its calls, and its living copies.
struct Counter {
  Counter() { ++alive; }
  Counter(const Counter& source) : calls(source.calls) {
    if (throws) throw 1;
    ++alive;
  }
  ~Counter() { --alive; }
  template <class... Arguments>
  void operator()(Arguments&&...) {
    ++calls;
  }
  int calls = 0;
  static inline int alive = 0;
  static inline bool throws = false;  // when it is copied
};

/// Takes the four members of one event.
template <class F, class C>
void CheckSlots(void (RE::*setFunction)(F), F (RE::*getFunction)() const, void (RE::*setClosure)(C),
                C (RE::*getClosure)() const) {
  RE re;
  const auto holds = [&](const RE& object, F function, bool closure, int alive) {
    EXPECT_EQ((object.*getFunction)(), function);
    EXPECT_EQ((object.*getClosure)().empty(), !closure);
    EXPECT_EQ(Counter::alive, alive);
  };
  holds(re, nullptr, false, 0);
  (re.*setFunction)(&Function);
  (re.*setClosure)(C());  // an empty closure displaces nobody
  holds(re, &Function, false, 0);
  holds(RE(re), &Function, false, 0);
  RE assigned;
  assigned = re;
  holds(assigned, &Function, false, 0);
  (re.*setClosure)(Counter());
  (re.*setClosure)((re.*getClosure)());  // what comes out is what went in
  EXPECT_NE((re.*getClosure)().template target<Counter>(), nullptr);
  holds(re, nullptr, true, 1);
  (re.*setFunction)(nullptr);  // nor does a null function
  holds(re, nullptr, true, 1);
  re.SetReportContext(!RE().GetReportContext());
  re.SetKeepCopies(!RE().GetKeepCopies());
  re.SetChangeHardLinks(!RE().GetChangeHardLinks());
  re.SetSyncTogether(!RE().GetSyncTogether());
  const RE copy(re);
  assigned = re;
  for (const RE* const taken : std::initializer_list<const RE*>{&copy, &assigned}) {
    EXPECT_TRUE(!taken->GetReportContext() && taken->GetKeepCopies());
    EXPECT_TRUE(taken->GetChangeHardLinks() && taken->GetSyncTogether());
  }
  EXPECT_TRUE(copy == RE());  // the slots don't count in a comparison
  holds(assigned, nullptr, true, 3);
  (re.*setClosure)(C());
  holds(re, nullptr, false, 2);
  holds(copy, nullptr, true, 2);
  (assigned.*setFunction)(&Function);
  holds(assigned, &Function, false, 1);
  Counter::throws = true;
  EXPECT_THROW(assigned = copy, int);
  Counter::throws = false;
  holds(assigned, &Function, false, 1);
}

TEST(Notifications, DisplaceOneAnotherInTheSlotsOfEachEvent) {
#define CHECK_SLOTS(event) \
  CheckSlots(&RE::Set##event, &RE::Get##event, &RE::Set##event##Closure, &RE::Get##event##Closure)
  CHECK_SLOTS(OnMatching);
  CHECK_SLOTS(OnSearching);
  CHECK_SLOTS(OnGrepping);
  CHECK_SLOTS(OnMerging);
  CHECK_SLOTS(OnGreppingFiles);
  CHECK_SLOTS(OnFindFiles);
  CHECK_SLOTS(OnChangingFiles);
  CHECK_SLOTS(OnSelectingFiles);
}

TEST(Notifications, KeepWhatAClosureChangesInItselfUnlessAWalkClonesIt) {
  RE re = Make("a", "a");
  re.SetOnMatchingClosure(Counter());
  re.SetOnGreppingClosure(Counter());
  EXPECT_TRUE(re.Match() && re.Match() && re.Grep() == 1);
  RE::MatchClosure closure = re.GetOnMatchingClosure();
  EXPECT_EQ(closure.target<Counter>()->calls, 2);
  RE::WalkClosure walkClosure = re.GetOnGreppingClosure();
  EXPECT_EQ(walkClosure.target<Counter>()->calls, 0);
  re.SetOnMatchingClosure(boost::function<std::remove_pointer_t<RE::MatchFunction>>(Counter()));
  EXPECT_NE(re.GetOnMatchingClosure().target<Counter>(), nullptr);
  re.SetOnMatchingClosure(nullptr);
  re.SetOnGreppingClosure(std::function<void(RE*, const std::vector<REMatch>&, int, int, bool&)>());
  EXPECT_TRUE(re.GetOnMatchingClosure().empty() && re.GetOnGreppingClosure().empty());
}

TEST(Notifications, MayReplaceThemselvesWhileTheyRun) {
  RE re = Make("a", "aa");
  const std::string big(1000, 'x');  // on the heap, so that a use after free would show
  std::string seen;
  re.SetOnMatchingClosure([big, &seen](RE* object, auto&&...) {
    object->SetOnMatchingClosure({});
    seen += big.back();
  });
  re.SetOnGreppingClosure([big, &seen](RE* object, auto&&...) {
    object->SetOnGreppingClosure([](auto&&...) { FAIL() << "takes effect at the next run"; });
    seen += big.back();
  });
  EXPECT_TRUE(re.Match() && re.Match());
  EXPECT_EQ(re.Grep(), 2U);
  EXPECT_EQ(seen, "xxx");
}

}  // namespace
}  // namespace RegexClass::test
