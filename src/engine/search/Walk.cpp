// SPDX-License-Identifier: BSL-1.0
#include "engine/search/Walk.hpp"

#include <algorithm>
#include <stdexcept>
#include <utility>

namespace RegexClass::engine {
namespace {

/// Flags under which nothing but the engine knows what to find.
constexpr Flags kForEngine = kAny | kContinuous | kPartial;

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

Walk::Walk(SearchAids& aids, const Program& program, EngineWalk& engine, std::string_view text,
           std::size_t ahead, Flags flags)
    : aids_(aids),
      program_(program),
      engine_(engine),
      first_(text.data()),
      last_(text.data() + text.size()),
      flags_(flags),
      from_(first_),
      before_(first_) {
  if ((flags & kForEngine) != 0) return;
  regular_ = aids.For(flags);
  if (regular_ != nullptr) UseRegular(regular_->For(ahead, [this] { return MakeRegular(); }));
  if (text.size() < aids.tuning_.leastText) return;
  const auto makeFinder = [&]() -> std::unique_ptr<CandidateFinder> {
    if (sequence_ != nullptr && sequence_->IsFastestIn(first_, last_)) return nullptr;
    const std::optional<Tree> tree = program.Language();
    return tree ? CandidateFinder::Make(*tree, aids.tuning_) : nullptr;
  };
  if (CandidateFinder* const finder = aids.finder_.For(ahead, makeFinder)) {
    candidates_.emplace(*finder, first_, last_, ahead);
  }
  if (sequence_ != nullptr || automaton_) return;
  const auto makeStarts = [&] { return MakeFirstBytes(program); };
  if (FirstBytes* const bytes = aids.starts_.For(ahead, makeStarts)) {
    starts_.emplace(*bytes, first_, last_, aids.tuning_.patience);
  }
}

Walk::~Walk() {
  if ((flags_ & kForEngine) != 0) return;
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

std::unique_ptr<SearchAids::Regular> Walk::MakeRegular() const {
  const std::optional<ExactProgram> exact = program_.Exactly(flags_);
  if (!exact) return nullptr;
  auto made = std::make_unique<SearchAids::Regular>();
  made->sequence = ByteSequence::Make(*exact);
  if (made->sequence == nullptr) made->automaton = Automaton::Make(*exact, aids_.tuning_);
  return made;
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
  bool found = false;
  try {
    found = Find();
  } catch (const std::runtime_error&) {
    // The engine gives up. What needs no engine has an answer, however long it takes.
    if (!Insist() || !FindByAutomaton(found)) throw;
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

bool Walk::Insist() {
  if (regular_ == nullptr || (automaton_ && !automatonGaveUp_)) return false;
  SearchAids::Regular* const regular = regular_->Now([this] { return MakeRegular(); });
  if (regular == nullptr || regular->automaton == nullptr) return false;
  automaton_.emplace(*regular->automaton, first_, last_, engine_, true);
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
  return engine_.Next(found_);
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
  return engine_.FindAt(place, from_, found_);
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
  if (engine_.FindSame(found_, before_)) engine_.Take(match);
}

}  // namespace RegexClass::engine
