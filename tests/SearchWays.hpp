// SPDX-License-Identifier: BSL-1.0
// The ways to search a text of any length, of which a test chooses one.
#ifndef REGEXCLASS_TESTS_SEARCHWAYS_HPP
#define REGEXCLASS_TESTS_SEARCHWAYS_HPP

#include <cstddef>
#include <cstdint>

#include "TestHelpers.hpp"
#include "engine/search/SearchTuning.hpp"

namespace RegexClass::test {

enum class Ways {
  kEngine,
  kPlaces,   // the engine where a finder, or the first byte, says that a match can begin
  kRegular,  // an automaton, or a plain sequence
  kAll,
};
constexpr Ways kAllWays[] = {Ways::kEngine, Ways::kPlaces, Ways::kRegular, Ways::kAll};

/// From now on, for what is compiled. A finder's windows are smaller than the texts of tests, and
/// an automaton's states are dropped now and then.
inline void Use(Ways ways, std::size_t patience = 5) {
  const std::size_t places = ways == Ways::kPlaces || ways == Ways::kAll ? 0 : SIZE_MAX;
  const std::size_t regular = ways == Ways::kRegular || ways == Ways::kAll ? 0 : SIZE_MAX;
  engine::SearchTuning::Use({places, places, regular, 3, 16, patience, 0, 2000});
}
inline void UseAny(Random& random) { Use(kAllWays[random.Below(std::size(kAllWays))]); }

}  // namespace RegexClass::test

#endif  // REGEXCLASS_TESTS_SEARCHWAYS_HPP
