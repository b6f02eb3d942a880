// SPDX-License-Identifier: BSL-1.0
// When which way to search pays.
#ifndef REGEXCLASS_ENGINE_SEARCH_SEARCHTUNING_HPP
#define REGEXCLASS_ENGINE_SEARCH_SEARCHTUNING_HPP

#include <cstddef>

namespace RegexClass::engine {

/// The matches are the same whatever stands here. An expression keeps what it was compiled with.
struct SearchTuning {
  std::size_t finderPrice = 256 << 10;    // bytes searched without a finder before one is made
  std::size_t startsPrice = 32 << 10;     // likewise for the bytes that a match can begin with
  std::size_t regularPrice = 8 << 10;     // and for what searches without the engine
  std::size_t firstWindow = 2 << 10;      // bytes that a finder looks at in advance, at first
  std::size_t largestWindow = 1 << 18;    // and later on
  std::size_t patience = 64;              // candidates that are too many in a text of any length
  std::size_t leastText = 512;            // bytes to search for which a finder pays at all
  std::size_t automatonMemory = 8 << 20;  // bytes of states of an automaton, in each direction

  /// What holds from now on for all that is compiled: for tests, which have short texts.
  static void Use(const SearchTuning& tuning) { current = tuning; }
  static const SearchTuning& Current() { return current; }

 private:
  static SearchTuning current;
};

inline SearchTuning SearchTuning::current;

}  // namespace RegexClass::engine

#endif  // REGEXCLASS_ENGINE_SEARCH_SEARCHTUNING_HPP
