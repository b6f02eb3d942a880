// SPDX-License-Identifier: BSL-1.0
// What is searched, and for what, in strings and in files.
#ifndef REGEXCLASS_BENCHMARKS_SAMPLES_HPP
#define REGEXCLASS_BENCHMARKS_SAMPLES_HPP

#include <cstddef>
#include <cstdint>
#include <filesystem>
#include <string>
#include <vector>

namespace RegexClass::benchmarks {

/// From words to what no literal part helps with.
constexpr const char* kExpressions[] = {"template",
                                        "[A-Z][a-z]+Error",
                                        "\\bint\\b",
                                        "[0-9]{4}",
                                        "return\\s+[a-z_]+\\(",
                                        "[0-9]{4}-[0-9]{2}-[0-9]{2}",
                                        "(foo|bar|baz)[0-9]+",
                                        "\\w+\\s*=\\s*new\\b"};

/// The cell of a table that tells what is searched for in what.
std::string OnExpression(const std::string& in, std::string expression);

/// A copy of up to `size` bytes of what the system has in the folders `sources`, each of which
/// gives at most `most`; one that is there already is taken as it is.
std::filesystem::path Tree(const std::string& name, const std::vector<const char*>& sources,
                           std::uintmax_t size, std::uintmax_t most);
/// The tree of the headers that the system has.
std::filesystem::path HeaderTree();
/// About the first `size` bytes of them.
std::string Headers(std::size_t size);

}  // namespace RegexClass::benchmarks

#endif  // REGEXCLASS_BENCHMARKS_SAMPLES_HPP
