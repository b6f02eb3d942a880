// SPDX-License-Identifier: BSL-1.0
#include "engine/search/Walk.hpp"

#include <algorithm>
#include <stdexcept>
#include <utility>

namespace RegexClass::engine {
namespace {

/// Flags under which nothing but the engine knows what to find.
constexpr Flags kForEngine = kAny | kContinuous | kPartial;

/// Whether the bytes of any text tell how `tree` goes on.
bool IsKnown(const Tree& tree, const Contexts& contexts) {
  const auto isKnown = [&](Context context) { return IsKnown(tree.assertion, context, context); };
  if (tree.kind == Tree::Kind::kUnknown) return false;
  if (tree.kind == Tree::Kind::kAssertion) {
    return std::all_of(contexts.begin(), contexts.end(), isKnown);
  }
  return std::all_of(tree.parts.begin(), tree.parts.end(),
                     [&](const Tree& part) { return IsKnown(part, contexts); });
}

/// How many steps the engine takes before an automaton is thought of.
std::uint64_t FirstSteps(std::size_t bytes) {
  // As many as pay for the automaton of an expression. Each may take 100 bytes of memory, too.
  constexpr std::uint64_t kLeast = 10000;
  constexpr std::uint64_t kForByte = 5;
  return kLeast + kForByte * bytes;
}

/// Null where the engine's own map is as good.
std::unique_ptr<FirstBytes> MakeFirstBytes(const Program& program) {
  constexpr int kWorthwhile = 16;  // bytes that can be left out
  const std::optional<Tree> tree = program.Language();
  if (!tree || CanBeEmpty(*tree)) return nullptr;
  ByteSet bytes;
  AddFirstBytes(*tree, bytes);
  auto made = std::make_unique<FirstBytes>();
  int leftOut = 0;
  for (std::size_t i = 0; i < bytes.size(); ++i) {
    (*made)[i] = bytes[i];
    if (!bytes[i] && program.IsTried(static_cast<unsigned char>(i))) ++leftOut;
  }
  return leftOut < kWorthwhile ? nullptr : std::move(made);
}

}  // namespace

/// The ways that need no engine; null when too many sets of flags were used before.
Lazy<SearchAids::Regular>* SearchAids::For(Flags flags) {
  constexpr std::size_t kMost = 4;
  for (const auto& each : regular_) {
    if (each->flags == flags) return &each->regular;
  }
  if (regular_.size() == kMost) return nullptr;
  regular_.push_back(
      std::make_unique<UnderFlags>(UnderFlags{flags, Lazy<Regular>(tuning_.regularPrice)}));
  return &regular_.back()->regular;
}

std::unique_ptr<SearchAids::Regular> SearchAids::Make(const Program& program, Flags flags) const {
  const std::optional<ExactProgram> exact = program.Exactly(flags);
  if (!exact) return nullptr;
  auto made = std::make_unique<Regular>();
  made->sequence = ByteSequence::Make(*exact);
  if (made->sequence == nullptr) made->automaton = Automaton::Make(*exact, tuning_);
  made->isLinear = made->sequence != nullptr ||
                   (made->automaton != nullptr && IsKnown(exact->tree, exact->contexts) &&
                    (exact->groups == 0 || made->automaton->KnowsGroups()));
  return made;
}

bool SearchAids::IsLinear(const Program& program, Flags flags) {
  if ((flags & kForEngine) != 0) return false;
  const auto make = [&] { return Make(program, flags); };
  const auto isLinear = [](const Regular* regular) {
    return regular != nullptr && regular->isLinear &&
           (regular->automaton == nullptr || regular->automaton->CanScan());
  };
  Lazy<Regular>* const known = For(flags);
  return isLinear(known != nullptr ? known->Now(make) : make().get());
}

Walk::Walk(SearchAids& aids, const Program& program, EngineWalk& engine, std::string_view text,
           const SearchSettings& settings)
    : aids_(aids),
      program_(program),
      engine_(engine),
      first_(text.data()),
      last_(text.data() + text.size()),
      flags_(settings.flags),
      stepLimit_(settings.stepLimit),
      from_(first_),
      before_(first_) {
  if ((flags_ & kForEngine) != 0) return;
  regular_ = aids.For(flags_);
  isWary_ = regular_ != nullptr && !regular_->IsNone() &&
            (stepLimit_ == 0 || stepLimit_ > FirstSteps(text.size()));
}

void Walk::Begin(std::size_t ahead) {
  if ((flags_ & kForEngine) != 0) return;
  if (regular_ != nullptr) {
    UseRegular(regular_->For(ahead, [this] { return aids_.Make(program_, flags_); }));
  }
  if (Length() < aids_.tuning_.leastText) return;
  const auto makeFinder = [&]() -> std::unique_ptr<CandidateFinder> {
    if (sequence_ != nullptr && sequence_->IsFastestIn(first_, last_)) return nullptr;
    const std::optional<Tree> tree = program_.Language();
    return tree ? CandidateFinder::Make(*tree, aids_.tuning_) : nullptr;
  };
  if (CandidateFinder* const finder = aids_.finder_.For(ahead, makeFinder)) {
    candidates_.emplace(*finder, first_, last_, ahead);
  }
  if (sequence_ != nullptr || automaton_) return;
  const auto makeStarts = [&] { return MakeFirstBytes(program_); };
  if (FirstBytes* const bytes = aids_.starts_.For(ahead, makeStarts)) {
    starts_.emplace(*bytes, first_, last_, aids_.tuning_.patience);
  }
}

Walk::~Walk() {
  if ((flags_ & kForEngine) != 0 || isWhole_) return;
  if (regular_ != nullptr) {
    constexpr std::size_t kOfCall = 64;  // the bytes that are searched in the time of a call
    regular_->Searched(kOfCall);
    Settle(*regular_, automaton_.has_value(), automatonGaveUp_);
  }
  // What was found so soon would have been found sooner without it.
  const bool little = passed_ < aids_.tuning_.leastText;
  Settle(aids_.finder_, candidates_.has_value(), little || (candidates_ && candidates_->GaveUp()));
  Settle(aids_.starts_, starts_.has_value(), little || (starts_ && starts_->GaveUp()));
}

template <class Aid>
void Walk::Settle(Lazy<Aid>& aid, bool used, bool gaveUp) {
  aid.Searched(static_cast<std::size_t>(from_ - first_));
  if (used) gaveUp ? aid.GaveUp() : aid.Helped();
}

void Walk::UseRegular(SearchAids::Regular* regular) {
  if (regular == nullptr) return;
  sequence_ = regular->sequence.get();
  if (regular->automaton != nullptr) {
    automaton_.emplace(*regular->automaton, first_, last_, engine_, false);
  }
}

bool Walk::Next() {
  before_ = from_;
  LimitEngine();
  bool found = false;
  try {
    found = Find();
  } catch (const std::runtime_error&) {
    // The engine gives up. What needs no engine has an answer, however long it takes.
    if (!Insist()) throw;
    if (sequence_ != nullptr) {
      found = Find();
    } else if (!FindByAutomaton(found)) {
      if (!TrustEngine()) throw;
      byEngine_ = true;
      found = engine_.Next(found_);
    }
  }
  const char* const to = found ? found_.first : last_;
  passed_ += static_cast<std::size_t>(to - from_);
  from_ = found ? found_.last : last_;
  return found;
}

unsigned int Walk::Run(const char* text, const std::shared_ptr<const GroupNames>& names,
                       const Expression::Report& report) {
  unsigned int count = 0;
  if (report) {
    if (!Next()) return 0;
    Match match;
    match.Begin(text, names);
    do {
      ++count;
      Take(match);
      if (!report(match)) return count;
    } while (Next());
    return count;
  }
  while (Next()) ++count;
  return count;
}

bool Walk::MatchWhole() {
  using Outcome = AutomatonSearch::Outcome;
  LimitEngine();
  isWhole_ = byEngine_ = true;
  try {
    return AskEngine([this] { return engine_.MatchWhole(); });
  } catch (const std::runtime_error&) {
    if (!Insist()) throw;
    found_ = {first_, last_, false};
    if (sequence_ != nullptr) {
      byEngine_ = isWhole_ = false;
      return sequence_->Width() == Length() &&
             sequence_->MatchesAt(first_, {first_, last_, flags_});
    }
    const Outcome outcome = automaton_->MatchWhole();
    if (outcome == Outcome::kGaveUp) {
      if (!TrustEngine()) throw;
      return engine_.MatchWhole();
    }
    byEngine_ = false;
    return outcome == Outcome::kFound;
  }
}

/// For one search.
void Walk::LimitEngine() {
  if (isWary_) {
    engine_.SetStepLimit(FirstSteps(Length()));
  } else if (stepLimit_ != 0) {
    engine_.SetStepLimit(stepLimit_);
  } else {
    engine_.SetStepLimit(std::nullopt);
  }
}

/// Lets the engine take all the steps that it may. False when it could before.
bool Walk::TrustEngine() {
  if (!std::exchange(isWary_, false)) return false;
  LimitEngine();
  return true;
}

/// What a search of the engine finds. Where it takes long, and no automaton can do better, it is
/// tried again with all the steps that it may take.
template <class Search>
bool Walk::AskEngine(Search search) {
  if (!isWary_) return search();
  try {
    return search();
  } catch (const std::runtime_error&) {
    if (LastResort() != nullptr || !TrustEngine()) throw;
    return search();
  }
}

/// What needs no engine, for when that has given up; null for none, or when it was asked.
SearchAids::Regular* Walk::LastResort() {
  if (regular_ == nullptr || (automaton_ && !automatonGaveUp_)) return nullptr;
  const auto make = [this] { return aids_.Make(program_, flags_); };
  SearchAids::Regular* const regular = regular_->Now(make);
  const bool isAny =
      regular != nullptr && (regular->sequence != nullptr || regular->automaton != nullptr);
  return isAny ? regular : nullptr;
}

bool Walk::Insist() {
  SearchAids::Regular* const regular = LastResort();
  if (regular == nullptr) return false;
  sequence_ = regular->sequence.get();
  if (sequence_ == nullptr) automaton_.emplace(*regular->automaton, first_, last_, engine_, true);
  automatonGaveUp_ = false;
  candidates_.reset();
  return true;
}

bool Walk::Find() {
  bool found = false;
  if (candidates_ && FindIn(*candidates_, found)) return found;
  if (sequence_ != nullptr) {
    const char* const place = sequence_->Find(from_, {first_, last_, flags_});
    if (place == nullptr) return false;
    found_ = {place, place + sequence_->Width(), false};
    byEngine_ = false;
    return true;
  }
  if (automaton_ && !automatonGaveUp_ && FindByAutomaton(found)) return found;
  if (starts_ && FindIn(*starts_, found)) return found;
  byEngine_ = true;
  return AskEngine([this] { return engine_.Next(found_); });
}

/// False when it gives up.
bool Walk::FindByAutomaton(bool& found) {
  using Outcome = AutomatonSearch::Outcome;
  const char* at = from_;
  Found next;
  Outcome outcome = Outcome::kNone;
  const bool again = found_.first != nullptr;
  const bool afterEmpty = again && found_.first == found_.last;
  if (again && !found_.insisted) {
    if (found_.last == last_) return true;
    // In the place of an empty match, one that isn't empty is tried for.
    if (afterEmpty) outcome = automaton_->FindHere(at, true, next);
    next.insisted = outcome == Outcome::kFound;
  }
  if (outcome == Outcome::kNone) {
    if (afterEmpty && (flags_ & kNotNull) == 0) {
      if (at == last_) return true;
      at = engine_.NextPlace(at);
    }
    outcome = automaton_->Find(at, next);
  }
  automatonGaveUp_ = outcome == Outcome::kGaveUp;
  if (automatonGaveUp_) return false;
  found = outcome == Outcome::kFound;
  if (found) found_ = next;
  byEngine_ = false;
  return true;
}

/// Finds the next match that begins at one of `places`; none of these is empty. False when there
/// are too many of them.
template <class Places>
bool Walk::FindIn(Places& places, bool& found) {
  const char* place = places.Next(from_);
  for (; place != nullptr; place = places.Next(place + 1)) {
    if (automaton_ && !automatonGaveUp_ && automaton_->IsWasteful(place)) return false;
    found = FindAt(place);
    if (found) return true;
  }
  return !places.GaveUp();
}

/// Whether a match that isn't empty begins at `place`.
bool Walk::FindAt(const char* place) {
  using Outcome = AutomatonSearch::Outcome;
  byEngine_ = false;
  if (sequence_ != nullptr) {
    if (!sequence_->MatchesAt(place, {first_, last_, flags_})) return false;
    found_ = {place, place + sequence_->Width(), false};
    return true;
  }
  if (automaton_ && !automatonGaveUp_) {
    Found next;
    const Outcome outcome = automaton_->FindHere(place, true, next);
    if (outcome == Outcome::kFound) found_ = next;
    if (outcome != Outcome::kGaveUp) return outcome == Outcome::kFound;
    automatonGaveUp_ = true;
  }
  byEngine_ = true;
  return AskEngine([&] { return engine_.FindAt(place, from_, found_); });
}

void Walk::Take(Match& match) {
  if (byEngine_) return engine_.Take(match);
  const auto part = [](const char* first, const char* last) {
    return Part{first, last, first != last};
  };
  const std::size_t groups = program_.GroupCount();
  Part* const parts =
      match.Reset(part(before_, found_.first), part(found_.last, last_), groups + 1);
  parts[0] = {found_.first, found_.last, true};
  std::fill_n(parts + 1, groups, Part{last_, last_, false});
  if (groups == 0) return;
  std::size_t closed = 0;
  if (automaton_ && automaton_->Groups(found_, parts, closed)) {
    if (closed != 0) match.SetLastClosed(closed);
    return;
  }
  TrustEngine();
  if (sequence_ != nullptr) engine_.SetStepLimit(std::nullopt);  // each place has few ways
  if (isWhole_ ? engine_.MatchWhole() : engine_.FindSame(found_, before_)) engine_.Take(match);
}

}  // namespace RegexClass::engine
