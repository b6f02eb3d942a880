// SPDX-License-Identifier: BSL-1.0
#include "engine/search/Automaton.hpp"

#include <algorithm>
#include <cstring>
#include <utility>

namespace RegexClass::engine {
namespace {

/// The bytes that each match of `tree` has.
ByteSet RequiredBytes(const Tree& tree) {
  ByteSet bytes;
  switch (tree.kind) {
    case Tree::Kind::kBytes:
      if (tree.bytes.count() == 1) bytes = tree.bytes;
      break;
    case Tree::Kind::kSequence:
      for (const Tree& part : tree.parts) bytes |= RequiredBytes(part);
      break;
    case Tree::Kind::kAlternatives:
      bytes.set();
      for (const Tree& part : tree.parts) bytes &= RequiredBytes(part);
      break;
    case Tree::Kind::kRepeat:
      if (tree.least != 0) bytes = RequiredBytes(tree.parts.front());
      break;
    default:
      break;
  }
  return bytes;
}

/// The one that texts have least of, as a rule; -1 for none.
int RarestOf(const ByteSet& bytes) {
  int rarest = -1, least = 0;
  for (int byte = 0; byte < 256; ++byte) {
    if (!bytes[static_cast<std::size_t>(byte)]) continue;
    const bool isLower = byte >= 'a' && byte <= 'z';
    const bool isFrequent = byte == ' ' || byte == '\n' || byte == 'e' || byte == 't' || byte == 0;
    const bool isRare = byte == 'q' || byte == 'z' || byte == 'x' || byte == 'j';
    const int frequency = isFrequent ? 4 : isRare ? 1 : isLower || byte >= 0x80 ? 3 : 1;
    if (rarest < 0 || frequency < least) {
      rarest = byte;
      least = frequency;
    }
  }
  return rarest;
}

}  // namespace

std::unique_ptr<Automaton> Automaton::Make(const ExactProgram& program,
                                           const SearchTuning& tuning) {
  std::optional<ByteProgram> forward =
      ByteProgram::Make(program.tree, ByteProgram::Direction::kForward, program.contexts);
  if (!forward) return nullptr;
  return std::unique_ptr<Automaton>(new Automaton(std::move(*forward), program, tuning));
}

Automaton::Automaton(ByteProgram program, const ExactProgram& source, const SearchTuning& tuning)
    : tree_(source.tree),
      contexts_(source.contexts),
      longest_(source.longest),
      flags_(source.flags),
      memory_(tuning.automatonMemory),
      canBeEmpty_(CanBeEmpty(tree_)),
      program_(std::move(program)),
      find_(program_, {longest_, false, false, (flags_ & kNotNull) != 0, flags_, memory_}),
      findHere_(program_, {longest_, true, false, (flags_ & kNotNull) != 0, flags_, memory_}),
      findMoreHere_(program_, {longest_, true, false, true, flags_, memory_}),
      onePass_(program_, source.groups != 0),
      groups_(program_, flags_) {
  ByteSet first;
  AddFirstBytes(tree_, first);
  for (std::size_t byte = 0; byte < first_.size(); ++byte) {
    first_[byte] = first[byte];
    if (first[byte]) onlyFirst_ = static_cast<int>(byte);
  }
  if (first.count() != 1) onlyFirst_ = -1;
  required_ = RarestOf(RequiredBytes(tree_));
  if (required_ == onlyFirst_) required_ = -1;
}

/// The automaton that finds where a match begins whose end is known; null when it is too large.
LazyDfa* Automaton::Backward() {
  if (!std::exchange(triedBack_, true)) {
    reversed_ = ByteProgram::Make(tree_, ByteProgram::Direction::kBackward, contexts_);
    const LazyDfa::Rules rules = {true, true, true, (flags_ & kNotNull) != 0, flags_, memory_};
    if (reversed_) back_.emplace(*reversed_, rules);
  }
  return back_ ? &*back_ : nullptr;
}

/// The automaton that tells whether a text matches from its beginning to its end.
LazyDfa& Automaton::Whole() {
  if (longest_) return findHere_;
  if (!whole_) {
    whole_.emplace(program_,
                   LazyDfa::Rules{true, true, false, (flags_ & kNotNull) != 0, flags_, memory_});
  }
  return *whole_;
}

/// The first place at or after `from` where a match can begin; the end of the text for none.
const char* AutomatonSearch::NextStart(const char* from) const {
  if (automaton_.canBeEmpty_ || from == last_) return from;
  if (automaton_.onlyFirst_ >= 0) {
    const auto* const found = static_cast<const char*>(
        std::memchr(from, automaton_.onlyFirst_, static_cast<std::size_t>(last_ - from)));
    return found != nullptr ? found : last_;
  }
  return std::find_if(from, last_, [&starts = automaton_.first_](char c) {
    return starts[static_cast<unsigned char>(c)];
  });
}

/// Whether what each match has lies ahead.
bool AutomatonSearch::CanMatchFrom(const char* from) {
  if (automaton_.required_ < 0 || (required_ != nullptr && from <= required_)) return true;
  if (from == last_) return false;
  required_ = static_cast<const char*>(
      std::memchr(from, automaton_.required_, static_cast<std::size_t>(last_ - from)));
  return required_ != nullptr;
}

/// Tries one place after the other while that wastes little; else reads on until a match ends, and
/// from there back to where it begins.
AutomatonSearch::Outcome AutomatonSearch::Find(const char* from, Found& found) {
  if (!CanMatchFrom(from)) return Outcome::kNone;
  for (const char* at = from;; ++at) {
    at = NextStart(at);
    if (at == last_ && !automaton_.canBeEmpty_) return Outcome::kNone;
    if (IsWasteful(at) && automaton_.Backward() != nullptr) return Scan(at, found);
    const Outcome outcome = FindHere(at, false, found);
    if (outcome != Outcome::kNone || at == last_) return outcome;
  }
}

AutomatonSearch::Outcome AutomatonSearch::Scan(const char* from, Found& found) {
  const char* stop = from;
  LazyDfa& dfa = automaton_.find_;
  const char* const end = dfa.Run(from, last_, last_, Before(from), around_, stop, insistent_);
  if (dfa.GaveUp()) return Outcome::kGaveUp;
  if (end == nullptr) return Outcome::kNone;
  LazyDfa& back = *automaton_.Backward();
  const Context after = end == last_ ? kEdge : automaton_.program_.ContextOf(*end);
  const char* const begin = back.Run(end, from, first_, after, around_, stop, insistent_);
  if (back.GaveUp()) return Outcome::kGaveUp;
  found.first = begin;
  found.last = end;
  return Outcome::kFound;
}

AutomatonSearch::Outcome AutomatonSearch::FindHere(const char* at, bool more, Found& found) {
  LazyDfa& dfa = more ? automaton_.findMoreHere_ : automaton_.findHere_;
  const char* stop = at;
  const char* const end = dfa.Run(at, last_, last_, Before(at), around_, stop, insistent_);
  if (dfa.GaveUp()) return Outcome::kGaveUp;
  wasted_ += static_cast<std::size_t>(stop - (end != nullptr ? end : at));
  if (end == nullptr) return Outcome::kNone;
  found.first = at;
  found.last = end;
  return Outcome::kFound;
}

AutomatonSearch::Outcome AutomatonSearch::MatchWhole() {
  LazyDfa& dfa = automaton_.Whole();
  const char* stop = first_;
  const char* const end = dfa.Run(first_, last_, last_, kEdge, around_, stop, insistent_);
  if (dfa.GaveUp()) return Outcome::kGaveUp;
  return end == last_ ? Outcome::kFound : Outcome::kNone;
}

bool AutomatonSearch::Groups(const Found& found, Part* parts, std::size_t& closed) {
  const MatchedText text = {first_, found.first, found.last, last_, around_};
  if (automaton_.onePass_.IsOne()) {
    closed = automaton_.onePass_.Find(text, parts);
    return true;
  }
  const auto length = static_cast<std::size_t>(found.last - found.first);
  if (automaton_.longest_ || !automaton_.groups_.Takes(length)) return false;
  closed = automaton_.groups_.Find(text, parts);
  return true;
}

}  // namespace RegexClass::engine
