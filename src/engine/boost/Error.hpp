// SPDX-License-Identifier: BSL-1.0
// The errors of Boost.Regex in our terms.
#ifndef REGEXCLASS_ENGINE_BOOST_ERROR_HPP
#define REGEXCLASS_ENGINE_BOOST_ERROR_HPP

#include "engine/Error.hpp"
#include "engine/boost/BoostRegex.hpp"

namespace RegexClass::engine {

/// What a compile that has thrown `error` comes to.
Error ToError(const boost::regex_error& error);

}  // namespace RegexClass::engine

#endif  // REGEXCLASS_ENGINE_BOOST_ERROR_HPP
