// The traits of the three locale models. Each is a type of this library's own, so that no
// instantiation of the engine in here is ever mixed up with one of the application's.
#ifndef REGEXCLASS_ENGINE_TRAITS_HPP
#define REGEXCLASS_ENGINE_TRAITS_HPP

#include <boost/regex.hpp>

#include "platform/UserLocale.hpp"

namespace RegexClass::engine {

/// CppLocale: whatever std::locale is imbued.
struct CppTraits : boost::cpp_regex_traits<char> {};

/// W32Locale: the system locale of the user who runs the process.
struct W32Traits : boost::cpp_regex_traits<char> {
  W32Traits() { imbue(platform::UserLocale()); }
};

/// CLocale: the C library's locale at the time of use.
struct CTraits : boost::c_regex_traits<char> {};

}  // namespace RegexClass::engine

#endif  // REGEXCLASS_ENGINE_TRAITS_HPP
