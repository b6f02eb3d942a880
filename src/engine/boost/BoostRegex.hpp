// SPDX-License-Identifier: BSL-1.0
// The engine's header, and what of it the library shows: the exception that passes to the caller.
#ifndef REGEXCLASS_ENGINE_BOOST_BOOSTREGEX_HPP
#define REGEXCLASS_ENGINE_BOOST_BOOSTREGEX_HPP

#ifdef __ELF__
namespace boost {
/// There must be one type of it in a process, or a handler of the program doesn't know it where
/// the standard library compares types by their address, as libc++ does.
class __attribute__((visibility("default"))) regex_error;
}  // namespace boost
#endif

#include <boost/regex/config.hpp>

// Newer releases refuse an expression for which their compiler calls itself more often than this,
// as it may for a list of sixty words. What bounds it here is the same with all of them:
// `PassedForks` and RequireShallow().
#ifdef BOOST_REGEX_MAX_RECURSION_DEPTH
#undef BOOST_REGEX_MAX_RECURSION_DEPTH
#define BOOST_REGEX_MAX_RECURSION_DEPTH 1000000
#endif

#include <boost/regex.hpp>

#endif  // REGEXCLASS_ENGINE_BOOST_BOOSTREGEX_HPP
