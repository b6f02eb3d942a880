#include <functional>
#include <stdexcept>

#include <gtest/gtest.h>

#include "TestHelpers.hpp"

namespace RegexClass::test {
namespace {

template <class... Arguments>
void Function(RE*, Arguments...) {}

/// Counts its living copies.
struct Counted {
  Counted() { ++alive; }
  Counted(const Counted&) { ++alive; }
  ~Counted() { --alive; }
  template <class... Arguments>
  void operator()(Arguments&&...) const {}
  static inline int alive = 0;
};

/// Takes the four members of one event.
template <class F, class C>
void CheckDisplacement(void (RE::*setFunction)(F), F (RE::*getFunction)() const,
                       void (RE::*setClosure)(C), C (RE::*getClosure)() const) {
  const F function = &Function;
  RE re;
  EXPECT_TRUE((re.*getFunction)() == nullptr && (re.*getClosure)().empty());
  (re.*setFunction)(function);
  (re.*setClosure)(C());  // an empty closure displaces nobody
  EXPECT_EQ((re.*getFunction)(), function);
  (re.*setClosure)(Counted());
  EXPECT_TRUE((re.*getFunction)() == nullptr && !(re.*getClosure)().empty());
  (re.*setFunction)(nullptr);  // nor does a null function
  EXPECT_FALSE((re.*getClosure)().empty());
  EXPECT_EQ(Counted::alive, 1);
  {
    const RE copy(re);
    RE assigned;
    assigned = re;
    EXPECT_EQ(Counted::alive, 3);
    EXPECT_TRUE(copy == RE());  // they don't count in a comparison
    (re.*setClosure)(C());
    EXPECT_EQ(Counted::alive, 2);
    EXPECT_FALSE((copy.*getClosure)().empty());
    (assigned.*setFunction)(function);
    EXPECT_TRUE((assigned.*getClosure)().empty());
    EXPECT_EQ(Counted::alive, 1);
  }
  EXPECT_EQ(Counted::alive, 0);
}

TEST(Notifications, SlotsOfEachEventDisplaceOneAnother) {
  CheckDisplacement(&RE::SetOnMatching, &RE::GetOnMatching, &RE::SetOnMatchingClosure,
                    &RE::GetOnMatchingClosure);
  CheckDisplacement(&RE::SetOnSearching, &RE::GetOnSearching, &RE::SetOnSearchingClosure,
                    &RE::GetOnSearchingClosure);
  CheckDisplacement(&RE::SetOnGrepping, &RE::GetOnGrepping, &RE::SetOnGreppingClosure,
                    &RE::GetOnGreppingClosure);
  CheckDisplacement(&RE::SetOnGreppingFiles, &RE::GetOnGreppingFiles,
                    &RE::SetOnGreppingFilesClosure, &RE::GetOnGreppingFilesClosure);
  CheckDisplacement(&RE::SetOnFindFiles, &RE::GetOnFindFiles, &RE::SetOnFindFilesClosure,
                    &RE::GetOnFindFilesClosure);
  CheckDisplacement(&RE::SetOnMerging, &RE::GetOnMerging, &RE::SetOnMergingClosure,
                    &RE::GetOnMergingClosure);
  CheckDisplacement(&RE::SetOnChangingFiles, &RE::GetOnChangingFiles,
                    &RE::SetOnChangingFilesClosure, &RE::GetOnChangingFilesClosure);
}

struct Counter {
  int calls = 0;
  template <class... Arguments>
  void operator()(Arguments&&...) {
    ++calls;
  }
};

TEST(Notifications, AClosureKeepsWhatItChangesInItself) {
  RE re = Make("a", "a");
  re.SetOnMatchingClosure(Counter());
  re.Match();
  re.Match();
  RE::MatchClosure closure = re.GetOnMatchingClosure();
  EXPECT_EQ(closure.target<Counter>()->calls, 2);
  re.SetOnGreppingClosure(Counter());  // whereas a walk reports through a clone
  re.Grep();
  RE::WalkClosure walkClosure = re.GetOnGreppingClosure();
  EXPECT_EQ(walkClosure.target<Counter>()->calls, 0);
}

TEST(Notifications, AClosureMayReplaceItselfWhileItRuns) {
  RE re = Make("a", "aa");
  const std::string big(1000, 'x');  // on the heap, so that a use after free would show
  std::string seen;
  re.SetOnMatchingClosure([big, &seen](RE* object, auto&&...) {
    object->SetOnMatchingClosure(RE::MatchClosure());
    object->SetOnMatching(nullptr);
    seen += big.back();
  });
  re.SetOnGreppingClosure([big, &seen](RE* object, auto&&...) {
    object->SetOnGreppingClosure([](auto&&...) { FAIL() << "takes effect at the next run"; });
    seen += big.back();
  });
  EXPECT_TRUE(re.Match() && re.Match());
  EXPECT_EQ(re.Grep(), 2u);
  EXPECT_EQ(seen, "xxx");
}

/// Every operation that raises an event, with its closure setter.
const std::vector<
    std::pair<std::function<void(RE&)>, std::function<void(RE&, std::function<void()>)>>>
    kRaising = {
        {[](RE& re) { re.Match(); },
         [](RE& re, auto act) { re.SetOnMatchingClosure([act](auto&&...) { act(); }); }},
        {[](RE& re) { re.MatchAll(); },
         [](RE& re, auto act) { re.SetOnMatchingClosure([act](auto&&...) { act(); }); }},
        {[](RE& re) { re.Search(); },
         [](RE& re, auto act) { re.SetOnSearchingClosure([act](auto&&...) { act(); }); }},
        {[](RE& re) { re.Grep(); },
         [](RE& re, auto act) { re.SetOnGreppingClosure([act](auto&&...) { act(); }); }},
        {[](RE& re) {
           std::string out = "old";
           re.Merge(out);
         },
         [](RE& re, auto act) { re.SetOnMergingClosure([act](auto&&...) { act(); }); }},
};

TEST(Notifications, ThatThrowReachTheCallerAndLeaveTheObjectFit) {
  for (std::size_t i = 0; i < kRaising.size(); ++i) {
    const auto& [run, subscribe] = kRaising[i];
    RE re = Make("a+", "aa");
    re.SetFormatString("x");
    subscribe(re, [] { throw std::logic_error("mine"); });
    EXPECT_THROW(run(re), std::logic_error) << i;
    std::string out = "old";
    re.Format(out);  // nothing is current any more
    EXPECT_EQ(out, "") << i;
    // Nor is the object busy; during a walk it is, and then the model stays.
    re.SetLocaleModel(RE::CLocale);
    subscribe(re, [&re = re] { re.SetLocaleModel(RE::W32Locale); });
    run(re);
    EXPECT_EQ(re.GetLocaleModel(), i < 3 ? RE::W32Locale : RE::CLocale) << i;
  }
}

TEST(Notifications, MayChangeTheStringThatWasMatched) {
  RE re = Make("a+", std::string(1000, 'a'));
  re.SetFormatString("$&");
  std::string formatted;
  const std::vector<std::function<void()>> changes = {[&] { re.SetStringToMatch("bbb"); },
                                                      [&] { re = RE(); },
                                                      [&] {
                                                        std::vector<std::string> pieces;
                                                        re.SetSplitInputDelete(true);
                                                        re.Split(pieces);
                                                      }};
  for (const auto& change : changes) {
    RE fresh = re;
    re.SetOnMatchingClosure([&](RE* object, auto&&...) {
      change();
      object->Format(formatted);
      EXPECT_EQ(formatted, "");
    });
    EXPECT_TRUE(re.Match());
    re = fresh;
  }
}

}  // namespace
}  // namespace RegexClass::test
