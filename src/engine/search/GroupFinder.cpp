// SPDX-License-Identifier: BSL-1.0
#include "engine/search/GroupFinder.hpp"

#include <map>
#include <utility>

namespace RegexClass::engine {
namespace {

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
          const Move move = {numbers[state.next], marksOf(marks)};
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
  const std::size_t width = program_.ClassCount();
  std::size_t closed = 0;
  std::size_t place = 0;
  const auto set = [&](std::uint32_t marks, const char* at) {
    for (const std::uint32_t mark : marks_[marks]) SetMark(mark, at, parts, closed);
  };
  for (const char* at = text.first; at != text.last; ++at) {
    const Move& move = moves_[place * width + classes[static_cast<unsigned char>(*at)]];
    if (move.marks != 0) set(move.marks, at);
    place = move.to;
  }
  set(atEnd_[place], text.last);
  return closed;
}

std::size_t GroupSearch::Find(const MatchedText& text, Part* parts) {
  using Kind = ByteProgram::State::Kind;
  const std::size_t width = program_.States().size();
  const auto length = static_cast<std::size_t>(text.last - text.first);
  tried_.assign((width * (length + 1) + 63) / 64, 0);
  taken_.clear();
  toTry_.assign(1, {program_.Start(), text.first});
  std::size_t closed = 0;
  while (!toTry_.empty()) {
    auto [number, at] = toTry_.back();
    toTry_.pop_back();
    if (at == nullptr) {
      *taken_.back().part = taken_.back().before;
      closed = taken_.back().closedBefore;
      taken_.pop_back();
      continue;
    }
    for (;;) {
      const std::size_t bit = static_cast<std::size_t>(at - text.first) * width + number;
      const std::uint64_t mask = std::uint64_t{1} << bit % 64;
      if ((tried_[bit / 64] & mask) != 0) break;
      tried_[bit / 64] |= mask;
      const ByteProgram::State& state = program_.States()[number];
      if (state.kind == Kind::kMatch) {
        if (at == text.last) return closed;
        break;
      }
      if (state.kind == Kind::kFail || state.kind == Kind::kUnknown) break;
      if (state.kind == Kind::kBytes) {
        if (at == text.last) break;
        const std::uint8_t byteClass = program_.Classes()[static_cast<unsigned char>(*at)];
        if (!program_.Takes(state, byteClass)) break;
        ++at;
      } else if (state.kind == Kind::kSplit) {
        toTry_.push_back({state.other, at});
      } else if (state.kind == Kind::kMark) {
        Part& part = parts[state.argument / 2];
        taken_.push_back({&part, part, closed});
        toTry_.push_back({0, nullptr});
        SetMark(state.argument, at, parts, closed);
      } else {
        const Context before = at == text.edge ? kEdge : program_.ContextOf(at[-1]);
        const Context after = at == text.otherEdge ? kEdge : program_.ContextOf(*at);
        if (!Holds(static_cast<Assertion>(state.argument), before, after, flags_)) break;
      }
      number = state.next;
    }
  }
  return closed;
}

}  // namespace RegexClass::engine
