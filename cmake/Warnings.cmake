# SPDX-License-Identifier: BSL-1.0
# The warnings of our own code; headers of other packages are system headers and stay silent.
function(regexclass_warnings target)
  target_compile_options(${target} PRIVATE
    -Wall -Wextra -Wpedantic -Wshadow -Wconversion
    # Clang's -Wconversion has it, GCC's has not in C++: one set of warnings for both.
    -Wno-sign-conversion
    # What only a build with Hyperscan calls.
    $<$<CXX_COMPILER_ID:Clang>:-Wno-unneeded-internal-declaration>
    $<$<BOOL:${REGEXCLASS_WARNINGS_AS_ERRORS}>:-Werror>)
endfunction()
