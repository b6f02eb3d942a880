// SPDX-License-Identifier: BSL-1.0
// Walks and searches by other libraries, each called the way its manual says.
#ifndef REGEXCLASS_BENCHMARKS_PEERS_HPP
#define REGEXCLASS_BENCHMARKS_PEERS_HPP

#include <cstddef>
#include <functional>
#include <string>

namespace RegexClass::benchmarks {

/// Goes through `text` from match to match, learns where each begins and ends, and gives their
/// number. Stops at an empty match. Keeps a reference to the text.
using Walk = std::function<std::size_t()>;

/// By RE2, in UTF-8. Its \w, \d and \b are those of ASCII, so that the expression has to name the
/// properties.
Walk WalkWithRe2(const std::string& expression, const std::string& text);

/// By PCRE2, in UTF-8, compiled to machine code, with the properties of Unicode behind \w and \d.
Walk WalkWithPcre2(const std::string& expression, const std::string& text);

/// A search for one match and its groups, in a text of bytes; null for an expression that isn't
/// taken. Throws a std::runtime_error when the library gives up. Keeps a reference to the text.
using Search = std::function<bool()>;
Search SearchByRe2(const std::string& expression, const std::string& text);
/// Compiled to machine code, with its own limit.
Search SearchByPcre2(const std::string& expression, const std::string& text);

}  // namespace RegexClass::benchmarks

#endif  // REGEXCLASS_BENCHMARKS_PEERS_HPP
