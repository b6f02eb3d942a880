// SPDX-License-Identifier: BSL-1.0
// What the fuzzers share.
#ifndef REGEXCLASS_FUZZ_CHECK_HPP
#define REGEXCLASS_FUZZ_CHECK_HPP

#include <cstdio>
#include <cstdlib>

/// Ends the run with a finding when `holds` is false.
inline void Check(bool holds, const char* what) {
  if (holds) return;
  std::fprintf(stderr, "Doesn't hold: %s\n", what);
  std::abort();
}

#endif  // REGEXCLASS_FUZZ_CHECK_HPP
