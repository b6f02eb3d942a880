// SPDX-License-Identifier: BSL-1.0
#include "engine/search/LazyDfa.hpp"

#include <algorithm>
#include <iterator>
#include <utility>

namespace RegexClass::engine {
namespace {

constexpr std::size_t kBytesForMiss = 32;  // what the engine reads in the time of one

}  // namespace

LazyDfa::LazyDfa(const ByteProgram& program, const Rules& rules)
    : program_(program),
      rules_(rules),
      width_(static_cast<std::uint32_t>(program.ClassCount() + 1)),
      seen_(program.States().size()),
      taken_(program.States().size()) {
  Drop();
}

const char* LazyDfa::Run(const char* from, const char* last, const char* edge, Context start,
                         const Surroundings& around, const char*& stop, bool insistent) {
  const std::uint8_t* const classes = program_.Classes().data();
  const std::ptrdiff_t ahead = rules_.backward ? -1 : 0;  // where the byte lies from `at`
  const std::ptrdiff_t step = rules_.backward ? -1 : 1;
  const char* at = from;
  const auto classAt = [&] { return classes[static_cast<unsigned char>(at[ahead])]; };
  const char* found = nullptr;
  const auto count = [&] {
    read_ += static_cast<std::size_t>((at - from) * step);
    from = at;
  };
  gaveUp_ = false;
  std::uint32_t state = Start(start);
  const std::uint32_t* transitions = transitions_.data();
  while (at != last) {
    std::uint32_t next = transitions[state + classAt()];
    if (next - 1 < kUnknown - 1) {  // neither dead nor anything special
      state = next;
      at += step;
      continue;
    }
    if (next == kNotMade) {
      if (memory_ > rules_.memory) {
        count();
        gaveUp_ = !insistent && read_ < misses_ * kBytesForMiss;
        MakeRoom(state);
        if (gaveUp_) return nullptr;
      }
      next = Step(state, classAt());
      transitions = transitions_.data();
    }
    if (next == kUnknown) {
      next = StepAt(at, state, classAt(), around);
      transitions = transitions_.data();
      gaveUp_ = next == kUnknown;
      if (gaveUp_) break;
    }
    if (next == (state | kMatch)) {  // it stays there for a while
      do at += step;
      while (at != last && transitions[state + classAt()] == next);
      found = at - step;
      continue;
    }
    if ((next & kMatch) != 0) found = at;
    state = next & ~kMatch;
    if (state == kDead) break;
    at += step;
  }
  count();
  stop = at;
  if (state == kDead || gaveUp_) return found;
  const std::size_t byteClass = last == edge ? program_.ClassCount() : classAt();
  std::uint32_t next = transitions[state + byteClass];
  if (next == kNotMade) next = Step(state, byteClass);
  if (next == kUnknown) next = StepAt(at, state, byteClass, around);
  gaveUp_ = next == kUnknown;
  return (next & kMatch) != 0 ? last : found;
}

std::uint32_t LazyDfa::Start(Context before) {
  if (!program_.HasAssertions()) before = 0;
  std::uint32_t& number = starts_[before];
  if (number != kNotMade) return number;
  State state;
  state.before = before;
  state.initial = rules_.anchored;
  if (rules_.anchored) state.paths.push_back(program_.Start());
  const std::uint32_t made = NumberOf(std::move(state));
  return number = made;
}

/// Drops all states but one, which gets another number.
void LazyDfa::MakeRoom(std::uint32_t& state) {
  State kept = std::move(states_[state / width_]);
  Drop();
  state = NumberOf(std::move(kept));
}

std::uint32_t LazyDfa::Step(std::uint32_t state, std::size_t byteClass) {
  const Context known = states_[state / width_].before;
  const Context next = program_.HasAssertions() ? program_.ContextOfClass(byteClass) : Context{0};
  const std::uint32_t made =
      rules_.backward ? Make(state, byteClass, next, known) : Make(state, byteClass, known, next);
  return transitions_[state + byteClass] = made;
}

std::uint32_t LazyDfa::StepAt(const char* place, std::uint32_t state, std::size_t byteClass,
                              const Surroundings& around) {
  const Context before = around.Before(place);
  const Context after = around.After(place);
  const std::uint64_t key =
      std::uint64_t{state + byteClass} << 16 | static_cast<std::uint64_t>(before) << 8 | after;
  const auto known = resolved_.find(key);
  if (known != resolved_.end()) return known->second;
  const std::uint32_t made = Make(state, byteClass, before, after);
  constexpr std::size_t kSize = 48;  // bytes of an element
  memory_ += kSize;
  return resolved_[key] = made;
}

std::uint32_t LazyDfa::Make(std::uint32_t state, std::size_t byteClass, Context before,
                            Context after) {
  ++misses_;
  const State from = states_[state / width_];
  const bool atEdge = byteClass == program_.ClassCount();
  if (++step_ == 0) {  // all numbers were used
    std::fill(seen_.begin(), seen_.end(), 0);
    std::fill(taken_.begin(), taken_.end(), 0);
    ++step_;
  }
  paths_.clear();
  group_ = 0;
  matched_ = false;
  unknown_ = false;
  for (const std::uint32_t path : from.paths) {
    if (path == kGroupEnd) {
      EndGroup();
      if (matched_) break;  // what begins later is no match
      continue;
    }
    Follow(path, byteClass, before, after, !from.initial || !rules_.notEmpty);
    if (matched_ && !rules_.longest) break;
  }
  bool closed = from.closed || matched_;
  if (!rules_.anchored && !closed) {
    EndGroup();
    Follow(program_.Start(), byteClass, before, after, !rules_.notEmpty);
    closed = matched_;
  }
  EndGroup();
  std::uint32_t made = kDead;
  if (unknown_) return kUnknown;
  if (!atEdge && !(paths_.empty() && (closed || rules_.anchored))) {
    State to;
    to.paths = paths_;
    if (program_.HasAssertions()) to.before = program_.ContextOfClass(byteClass);
    to.closed = closed && !rules_.anchored;
    made = NumberOf(std::move(to));
  }
  return matched_ ? made | kMatch : made;
}

/// Adds to `paths_` where `path` leads by a byte of a class.
void LazyDfa::Follow(std::uint32_t path, std::size_t byteClass, Context before, Context after,
                     bool mayBeEmpty) {
  using Kind = ByteProgram::State::Kind;
  toFollow_.assign(1, path);
  while (!toFollow_.empty()) {
    path = toFollow_.back();
    toFollow_.pop_back();
    while (seen_[path] != step_) {
      seen_[path] = step_;
      const ByteProgram::State& state = program_.States()[path];
      switch (state.kind) {
        case Kind::kBytes:
          if (byteClass != program_.ClassCount() && program_.Takes(state, byteClass) &&
              taken_[state.next] != step_) {
            taken_[state.next] = step_;
            paths_.push_back(state.next);
          }
          continue;
        case Kind::kSplit:
          toFollow_.push_back(state.other);
          break;
        case Kind::kMark:
          break;
        case Kind::kAssertion: {
          const auto assertion = static_cast<Assertion>(state.argument);
          if (!IsKnown(assertion, before, after)) unknown_ = true;
          if (!Holds(assertion, before, after, rules_.flags)) continue;
          break;
        }
        case Kind::kMatch:
          if (!mayBeEmpty) continue;
          matched_ = true;
          if (!rules_.longest) return;
          continue;
        case Kind::kUnknown:
          unknown_ = true;
          continue;
        case Kind::kFail:
          continue;
      }
      path = state.next;
    }
  }
}

/// Where the longest match is looked for, the paths from one place are alike: their order tells
/// nothing, and a state fewer is needed for each.
void LazyDfa::EndGroup() {
  if (!rules_.longest || paths_.size() == group_) return;
  std::sort(paths_.begin() + static_cast<std::ptrdiff_t>(group_), paths_.end());
  if (!rules_.anchored) paths_.push_back(kGroupEnd);
  group_ = paths_.size();
}

std::uint32_t LazyDfa::NumberOf(State state) {
  std::string key(reinterpret_cast<const char*>(state.paths.data()),
                  state.paths.size() * sizeof(std::uint32_t));
  key += static_cast<char>(state.before);
  key += static_cast<char>((state.closed ? 2 : 0) + (state.initial ? 1 : 0));
  const auto number = static_cast<std::uint32_t>(transitions_.size());
  constexpr std::size_t kOverhead = 128;  // bytes of the containers, for each state
  const std::size_t size = width_ * sizeof(std::uint32_t) + 2 * key.size() + kOverhead;
  const auto [known, isNew] = numbers_.emplace(std::move(key), number);
  if (isNew) {
    states_.push_back(std::move(state));
    transitions_.resize(transitions_.size() + width_, kNotMade);
    memory_ += size;
  }
  return known->second;
}

/// Begins anew, with the dead state alone.
void LazyDfa::Drop() {
  transitions_.assign(width_, kDead);
  states_.assign(1, State{});
  states_.front().closed = true;
  numbers_.clear();
  resolved_.clear();
  std::fill(std::begin(starts_), std::end(starts_), kNotMade);
  memory_ = 0;
  misses_ = 0;
  read_ = 0;
}

}  // namespace RegexClass::engine
