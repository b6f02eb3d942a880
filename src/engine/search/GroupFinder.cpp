// SPDX-License-Identifier: BSL-1.0
#include "engine/search/GroupFinder.hpp"

#include <map>
#include <utility>

namespace RegexClass::engine {
namespace {

constexpr std::size_t kPatience = 4;  // choices a byte, before none is made twice

/// Sets an end of a group, and makes it the one that was closed last if it's the second.
void SetMark(std::size_t mark, const char* at, Part* parts, std::size_t& closed) {
  Part& part = parts[mark / 2];
  if (mark % 2 == 0) {
    part.first = at;
  } else {
    part.second = at;
    part.matched = true;
    closed = mark / 2;
  }
}

}  // namespace

OnePass::OnePass(const ByteProgram& program, bool wanted)
    : program_(program), isOne_(wanted && Read()) {}

bool OnePass::Read() {
  using Kind = ByteProgram::State::Kind;
  constexpr std::size_t kMost = 2000;  // places
  const auto& states = program_.States();
  const std::size_t classes = program_.ClassCount();
  std::vector<std::uint32_t> places = {program_.Start()};  // the states after each byte
  std::vector<std::uint32_t> numbers(states.size(), kNone);
  numbers[program_.Start()] = 0;
  std::vector<std::size_t> seen(states.size());
  std::map<std::vector<std::uint32_t>, std::uint32_t> known = {{{}, 0}};
  const auto marksOf = [&](const std::vector<std::uint32_t>& marks) {
    const auto next = static_cast<std::uint32_t>(marks_.size());
    const auto [found, isNew] = known.emplace(marks, next);
    if (isNew) marks_.push_back(marks);
    return found->second;
  };
  for (std::size_t place = 0; place < places.size(); ++place) {
    if (place == kMost) return false;
    moves_.resize((place + 1) * classes);
    atEnd_.push_back(kNone);
    std::vector<std::pair<std::uint32_t, std::vector<std::uint32_t>>> paths = {{places[place], {}}};
    while (!paths.empty()) {
      auto [number, marks] = std::move(paths.back());
      paths.pop_back();
      if (std::exchange(seen[number], place + 1) == place + 1) return false;  // two ways to it
      const ByteProgram::State& state = states[number];
      switch (state.kind) {
        case Kind::kBytes: {
          if (numbers[state.next] == kNone) {
            numbers[state.next] = static_cast<std::uint32_t>(places.size());
            places.push_back(state.next);
          }
          const Move move = {numbers[state.next] * static_cast<std::uint32_t>(classes),
                             marksOf(marks)};
          for (std::size_t i = 0; i < classes; ++i) {
            if (!program_.Takes(state, i)) continue;
            if (moves_[place * classes + i].to != kNone) return false;
            moves_[place * classes + i] = move;
          }
          break;
        }
        case Kind::kSplit:
          paths.emplace_back(state.other, marks);
          paths.emplace_back(state.next, std::move(marks));
          break;
        case Kind::kMark:
          marks.push_back(state.argument);
          paths.emplace_back(state.next, std::move(marks));
          break;
        case Kind::kAssertion:
          // The text is that of a match, and there is but one way to match it.
          paths.emplace_back(state.next, std::move(marks));
          break;
        case Kind::kMatch:
          if (atEnd_[place] != kNone) return false;
          atEnd_[place] = marksOf(marks);
          break;
        case Kind::kUnknown:  // isn't passed by what was found
        case Kind::kFail:
          break;
      }
    }
  }
  return true;
}

std::size_t OnePass::Find(const MatchedText& text, Part* parts) const {
  const std::uint8_t* const classes = program_.Classes().data();
  std::size_t closed = 0;
  std::uint32_t place = 0;
  const auto set = [&](std::uint32_t marks, const char* at) {
    for (const std::uint32_t mark : marks_[marks]) SetMark(mark, at, parts, closed);
  };
  for (const char* at = text.first; at != text.last; ++at) {
    const Move& move = moves_[place + classes[static_cast<unsigned char>(*at)]];
    if (move.marks != 0) set(move.marks, at);
    place = move.to;
  }
  set(atEnd_[place / program_.ClassCount()], text.last);
  return closed;
}

GroupSearch::GroupSearch(const ByteProgram& program, Flags flags)
    : program_(program), flags_(flags), words_(program.ClassCount() / 64 + 1) {}

void GroupSearch::ReadNextBytes() {
  using Kind = ByteProgram::State::Kind;
  const auto& states = program_.States();
  const std::size_t end = program_.ClassCount();
  goesOn_.assign(states.size() * words_, 0);
  const auto row = [this](std::uint32_t state) { return goesOn_.data() + state * words_; };
  for (std::uint32_t number = 0; number < states.size(); ++number) {
    const ByteProgram::State& state = states[number];
    if (state.kind == Kind::kMatch) row(number)[end / 64] |= std::uint64_t{1} << end % 64;
    for (std::size_t i = 0; state.kind == Kind::kBytes && i < end; ++i) {
      if (program_.Takes(state, i)) row(number)[i / 64] |= std::uint64_t{1} << i % 64;
    }
  }
  // What follows a state stands before it, but for the bodies of loops.
  for (bool changed = true; changed;) {
    changed = false;
    for (std::uint32_t number = 0; number < states.size(); ++number) {
      const ByteProgram::State& state = states[number];
      const bool isSplit = state.kind == Kind::kSplit;
      if (!isSplit && state.kind != Kind::kMark && state.kind != Kind::kAssertion) continue;
      for (std::size_t i = 0; i < words_; ++i) {
        const std::uint64_t more = row(state.next)[i] | (isSplit ? row(state.other)[i] : 0);
        changed = changed || (more & ~row(number)[i]) != 0;
        row(number)[i] |= more;
      }
    }
  }
}

std::size_t GroupSearch::Find(const MatchedText& text, Part* parts) {
  if (goesOn_.empty()) ReadNextBytes();
  std::size_t closed = 0;
  if (!Try<false>(text, parts, closed)) Try<true>(text, parts, closed);
  return closed;
}

/// Whether a state comes to a place for the first time.
bool GroupSearch::Remember(std::uint32_t state, std::size_t at, std::size_t length) {
  const std::size_t bit = state * (length + 1) + at;
  const std::uint64_t mask = std::uint64_t{1} << bit % 64;
  const bool isNew = (tried_[bit / 64] & mask) == 0;
  tried_[bit / 64] |= mask;
  return isNew;
}

/// False, with `parts` as they were, when it takes long; that can't be if it remembers.
template <bool kRemembers>
bool GroupSearch::Try(const MatchedText& text, Part* parts, std::size_t& closed) {
  using Kind = ByteProgram::State::Kind;
  const std::size_t end = program_.ClassCount();
  const auto length = static_cast<std::size_t>(text.last - text.first);
  if (kRemembers) tried_.assign((program_.States().size() * (length + 1) + 63) / 64, 0);
  std::size_t choices = 0;
  taken_.clear();
  toTry_.assign(1, {program_.Start(), text.first});
  while (!toTry_.empty()) {
    auto [number, at] = toTry_.back();
    toTry_.pop_back();
    if (at == nullptr) {
      *taken_.back().part = taken_.back().before;
      closed = taken_.back().closedBefore;
      taken_.pop_back();
      continue;
    }
    const auto next = [&, &place = at] {
      return place == text.last ? end : program_.Classes()[static_cast<unsigned char>(*place)];
    };
    std::size_t byteClass = next();
    for (;;) {
      const ByteProgram::State& state = program_.States()[number];
      if (state.kind == Kind::kBytes) {
        if (!CanGoOn(number, byteClass)) break;
        ++at;
        byteClass = next();
      } else if (state.kind == Kind::kSplit) {
        const bool first = CanGoOn(state.next, byteClass);
        const bool second = CanGoOn(state.other, byteClass);
        if (!first && !second) break;
        if (kRemembers && !Remember(number, static_cast<std::size_t>(at - text.first), length)) {
          break;
        }
        if (first && second) {
          if (!kRemembers && ++choices > kPatience * (length + 16)) return TakeBack(closed);
          toTry_.push_back({state.other, at});
        }
        const std::uint32_t taken = first ? state.next : state.other;
        const std::uint32_t left = first ? state.other : state.next;
        const ByteProgram::State& body = program_.States()[taken];
        // A loop of one byte goes on while nothing else can.
        if (body.kind == Kind::kBytes && body.next == number && first != second) {
          do {
            ++at;
            byteClass = next();
          } while (CanGoOn(taken, byteClass) && !CanGoOn(left, byteClass));
          continue;
        }
        number = taken;
        continue;
      } else if (state.kind == Kind::kMark) {
        Part& part = parts[state.argument / 2];
        taken_.push_back({&part, part, closed});
        toTry_.push_back({0, nullptr});
        SetMark(state.argument, at, parts, closed);
      } else if (state.kind == Kind::kAssertion) {
        const Context before = at == text.edge ? kEdge : program_.ContextOf(at[-1]);
        const Context after = at == text.otherEdge ? kEdge : program_.ContextOf(*at);
        const auto assertion = static_cast<Assertion>(state.argument);
        if (!(IsKnown(assertion, before, after)
                  ? Holds(assertion, before, after, flags_)
                  : Holds(assertion, text.around.Before(at), text.around.After(at), flags_))) {
          break;
        }
      } else {
        if (state.kind == Kind::kMatch && at == text.last) return true;
        break;
      }
      number = state.next;
    }
  }
  return true;
}

/// Takes all marks back. False.
bool GroupSearch::TakeBack(std::size_t& closed) {
  for (; !taken_.empty(); taken_.pop_back()) *taken_.back().part = taken_.back().before;
  closed = 0;
  return false;
}

}  // namespace RegexClass::engine
