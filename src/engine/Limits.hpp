// SPDX-License-Identifier: BSL-1.0
// What no search may do.
#ifndef REGEXCLASS_ENGINE_LIMITS_HPP
#define REGEXCLASS_ENGINE_LIMITS_HPP

#include <cstdint>
#include <limits>
#include <stdexcept>

#include <boost/regex.hpp>

namespace RegexClass::engine {

/// Gives up on a match that ends before it begins, or that begins before `from`, the end of the
/// match before: \K in a look-ahead or a look-behind can bring that about. The engine would find
/// the one for ever, and text of two matches can't be replaced twice.
template <class Iterator>
void RequireProgress(const boost::match_results<Iterator>& results, Iterator from) {
  if (results[0].second < results[0].first || results[0].first < from) {
    throw boost::regex_error(boost::regex_constants::error_complexity);
  }
}

/// Positions are told as numbers of 32 bits with a sign.
inline void RequireAddressable(const char* first, const char* last) {
  if (last - first > std::numeric_limits<std::int32_t>::max()) {
    throw std::length_error("RegexClass: a text of more than 2147483647 bytes");
  }
}

}  // namespace RegexClass::engine

#endif  // REGEXCLASS_ENGINE_LIMITS_HPP
