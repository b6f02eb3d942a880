// SPDX-License-Identifier: BSL-1.0
// An object and an operation on a string in other notations.
#ifndef REGEXCLASS_PLAYGROUND_EXPORTS_HPP
#define REGEXCLASS_PLAYGROUND_EXPORTS_HPP

#include <RegularExpression.hpp>
#include <string>

namespace playground {

/// A C++ program that makes an object equal to `object`, calls the operation and prints what comes
/// of it. A text of more than some KB is read from standard input.
std::string Program(const RegexClass::RegularExpression& object, const std::string& operation);

/// The settings as they go to a stream.
std::string Record(const RegexClass::RegularExpression& object);

/// What does the same in a shell with the tool; a text that can't be an argument is read from a
/// file.
std::string CommandLine(const RegexClass::RegularExpression& object, const std::string& operation);

/// Bytes as a literal of C++, and as a word of a shell. Neither has characters in it that can't be
/// seen or that change the order of others.
std::string CppLiteral(const std::string& bytes);
std::string ShellWord(const std::string& bytes);

}  // namespace playground

#endif  // REGEXCLASS_PLAYGROUND_EXPORTS_HPP
