// SPDX-License-Identifier: BSL-1.0
#include "engine/search/ByteProgram.hpp"

#include <algorithm>
#include <map>
#include <string>
#include <tuple>
#include <utility>

namespace RegexClass::engine {
namespace {

struct TooLarge {};

constexpr std::size_t kMostStates = 60000;
constexpr std::size_t kMostParts = 1000000;  // of the tree, repeats written out

/// What an assertion asks of the bytes around it.
Context AskedBy(Assertion assertion) {
  switch (assertion) {
    case Assertion::kLineStart:
    case Assertion::kLineEnd:
      return kEdge | kSeparator | kCarriageReturn | kLineFeed | kUnknownSeparator;
    case Assertion::kTextStart:
    case Assertion::kTextEnd:
    case Assertion::kNoMoreBytes:
      return kEdge;
    default:
      return kEdge | kWord | kUnknownWord;
  }
}

}  // namespace

bool IsKnown(Assertion assertion, Context before, Context after) {
  const Context unknown = AskedBy(assertion) & (kUnknownWord | kUnknownSeparator);
  return ((before | after) & unknown) == 0;
}

bool Holds(Assertion assertion, Context before, Context after, Flags flags) {
  const auto is = [](Context context, Context bit) { return (context & bit) != 0; };
  const auto allows = [flags](Flags no) { return (flags & no) == 0; };
  const bool inLineEnd = is(before, kCarriageReturn) && is(after, kLineFeed);
  switch (assertion) {
    case Assertion::kLineStart:
      return is(before, kEdge) ? allows(kNotBol) : is(before, kSeparator) && !inLineEnd;
    case Assertion::kLineEnd:
      return is(after, kEdge) ? allows(kNotEol) : is(after, kSeparator) && !inLineEnd;
    case Assertion::kWordBoundary:
      return is(before, kWord) != is(after, kWord) && (!is(before, kEdge) || allows(kNotBow)) &&
             (!is(after, kEdge) || allows(kNotEow));
    case Assertion::kNoWordBoundary:
      return !Holds(Assertion::kWordBoundary, before, after, flags);
    case Assertion::kWordStart:
      return is(after, kWord) && !is(before, kWord) && (!is(before, kEdge) || allows(kNotBow));
    case Assertion::kWordEnd:
      return is(before, kWord) && !is(after, kWord) && (!is(after, kEdge) || allows(kNotEow));
    case Assertion::kTextStart:
      return is(before, kEdge) && allows(kNotBob);
    case Assertion::kTextEnd:
      return is(after, kEdge) && allows(kNotEob);
    case Assertion::kNoMoreBytes:
      return is(after, kEdge);
  }
  return false;
}

/// Appends states from the end of a tree to its beginning.
class ByteProgram::Emitter {
 public:
  Emitter(ByteProgram& program, Direction direction)
      : program_(program), backward_(direction == Direction::kBackward) {}

  void Run(const Tree& tree) {
    fail_ = Add({State::Kind::kFail});
    const std::uint32_t match = Add({State::Kind::kMatch});
    program_.start_ = Emit(tree, {match, match});
  }

 private:
  /// Where it goes on after a part, by whether the iteration that this is in has taken a byte.
  struct Next {
    std::uint32_t empty;
    std::uint32_t taken;
  };

  /// States for `tree`; returns the first one, for an iteration that has taken nothing before.
  std::uint32_t Emit(const Tree& tree, Next next) {
    if (++parts_ > kMostParts) throw TooLarge();
    const auto& parts = tree.parts;
    switch (tree.kind) {
      case Tree::Kind::kBytes:
        return Add({State::Kind::kBytes, next.taken, 0, SetOf(tree.bytes)});
      case Tree::Kind::kSequence:
        if (backward_) {
          for (const Tree& part : parts) next = EmitBoth(part, next);
        } else {
          for (std::size_t i = parts.size(); i-- > 0;) next = EmitBoth(parts[i], next);
        }
        return next.empty;
      case Tree::Kind::kAlternatives: {
        std::uint32_t first = Emit(parts.back(), next);
        for (std::size_t i = parts.size() - 1; i-- > 0;) {
          const std::uint32_t part = Emit(parts[i], next);
          first = Add({State::Kind::kSplit, part, first, 0});
        }
        return first;
      }
      case Tree::Kind::kRepeat:
        return backward_ && CanBeEmpty(parts.front()) ? EmitBackward(tree, next)
                                                      : EmitRepeat(tree, next, tree.least, false);
      case Tree::Kind::kMark:
        if (backward_) return next.empty;
        return Add({State::Kind::kMark, next.empty, 0, tree.number});
      case Tree::Kind::kAssertion:
        program_.relevant_ |= AskedBy(tree.assertion);
        return Add(
            {State::Kind::kAssertion, next.empty, 0, static_cast<std::uint32_t>(tree.assertion)});
      case Tree::Kind::kUnknown:
        // Back there is only what a run forward has come through.
        if (backward_) return fail_;
        return Add({State::Kind::kUnknown});
    }
    return fail_;
  }

  /// The first states for an iteration that has taken nothing before, and for one that has.
  Next EmitBoth(const Tree& tree, Next next) {
    const std::uint32_t empty = Emit(tree, next);
    if (next.empty == next.taken || !CanBeEmpty(tree)) return {empty, empty};
    return {empty, Emit(tree, {next.taken, next.taken})};
  }

  /// A repeat; with `never`, one whose iterations all take a byte.
  std::uint32_t EmitRepeat(const Tree& tree, Next next, std::size_t least, bool never) {
    const Tree& body = tree.parts.front();
    if (tree.most == 0) return next.empty;
    const auto iteration = [&](std::uint32_t out, std::uint32_t again) {
      return Emit(body, {never ? fail_ : out, again});
    };
    const auto split = [&](std::uint32_t again, std::uint32_t out) {
      return tree.greedy ? State{State::Kind::kSplit, again, out, 0}
                         : State{State::Kind::kSplit, out, again, 0};
    };
    // Where it goes on once an iteration has taken something: `more` may follow.
    std::uint32_t go = next.taken;
    std::size_t more = tree.most - 1;
    if (tree.most == Tree::kUnbounded) {
      go = AddNew({State::Kind::kSplit});
      const std::uint32_t again = iteration(next.taken, go);
      program_.states_[go] = split(again, next.taken);
      if (least == 0 && next.empty == next.taken) return go;
      more = least == 0 ? 0 : least - 1;
    } else {
      const std::size_t optional = std::min(more, tree.most - least);
      for (std::size_t i = 0; i < optional; ++i) {
        go = Add(split(iteration(next.taken, go), next.taken));
      }
      more -= optional;
    }
    for (; more > 0; --more) go = iteration(next.taken, go);
    const std::uint32_t first = iteration(next.empty, go);
    return least == 0 ? Add(split(first, next.empty)) : first;
  }

  /// A repeat from its end: if there is an iteration that takes nothing, it's the one met first.
  std::uint32_t EmitBackward(const Tree& tree, Next next) {
    if (tree.most == 0) return next.empty;
    const std::uint32_t all = EmitRepeat(tree, next, tree.least, true);
    Tree fewer = Tree::Repeat(tree.parts.front(), 0, tree.most);
    if (fewer.most != Tree::kUnbounded) --fewer.most;
    const std::uint32_t rest = EmitRepeat(fewer, next, 0, true);
    const std::uint32_t empty = Emit(tree.parts.front(), {rest, fail_});
    return Add({State::Kind::kSplit, all, empty, 0});
  }

  /// The number of a state; of two that are alike there is but one.
  std::uint32_t Add(const State& state) {
    const auto next = static_cast<std::uint32_t>(program_.states_.size());
    const auto [known, isNew] =
        known_.emplace(std::make_tuple(state.kind, state.next, state.other, state.argument), next);
    return isNew ? AddNew(state) : known->second;
  }
  std::uint32_t AddNew(const State& state) {
    if (program_.states_.size() == kMostStates) throw TooLarge();
    program_.states_.push_back(state);
    return static_cast<std::uint32_t>(program_.states_.size() - 1);
  }

  std::uint32_t SetOf(const ByteSet& bytes) {
    const auto number = static_cast<std::uint32_t>(program_.sets_.size());
    const auto [known, isNew] = sets_.emplace(bytes.to_string(), number);
    if (isNew) program_.sets_.push_back(bytes);
    return known->second;
  }

  ByteProgram& program_;
  const bool backward_;
  std::uint32_t fail_ = 0;
  std::size_t parts_ = 0;  // that were turned into states, or into none
  std::map<std::string, std::uint32_t> sets_;
  std::map<std::tuple<State::Kind, std::uint32_t, std::uint32_t, std::uint32_t>, std::uint32_t>
      known_;
};

std::optional<ByteProgram> ByteProgram::Make(const Tree& tree, Direction direction,
                                             const Contexts& contexts) {
  ByteProgram program;
  try {
    Emitter(program, direction).Run(tree);
  } catch (const TooLarge&) {
    return std::nullopt;
  }
  program.Classify(contexts);
  return program;
}

void ByteProgram::Classify(const Contexts& contexts) {
  for (std::size_t byte = 0; byte < contexts_.size(); ++byte) {
    contexts_[byte] = contexts[byte] & relevant_;
  }
  // Each set, and the contexts, split the classes that there are.
  const auto refine = [this](const auto& isIn) {
    constexpr int kNone = -1;
    int classes[2][256];
    std::fill_n(&classes[0][0], 2 * 256, kNone);
    int count = 0;
    for (std::size_t byte = 0; byte < classes_.size(); ++byte) {
      int& one = classes[isIn(byte) ? 1 : 0][classes_[byte]];
      if (one == kNone) one = count++;
      classes_[byte] = static_cast<std::uint8_t>(one);
    }
    classCount_ = static_cast<std::size_t>(count);
  };
  for (Context bit = 1; bit != 0; bit = static_cast<Context>(bit << 1)) {
    refine([this, bit](std::size_t byte) { return (contexts_[byte] & bit) != 0; });
  }
  for (const ByteSet& set : sets_) {
    if (classCount_ == classes_.size()) break;
    refine([&set](std::size_t byte) { return set[byte]; });
  }
  for (std::size_t byte = sample_.size(); byte-- > 0;) {
    sample_[classes_[byte]] = static_cast<std::uint8_t>(byte);
  }
}

}  // namespace RegexClass::engine
