// SPDX-License-Identifier: BSL-1.0
// What the operations cost, beside what they are made of and beside the tools that people know.
//
//   regexclass-benchmarks [--benchmark_...] [FILTER]
//
// measures the rows whose operation or text holds FILTER, and prints one table.

#include <string>
#include <vector>

#include "Table.hpp"

int main(int argc, char** argv) {
  // Before those of the command line, which overrule them.
  std::vector<std::string> arguments = {argv[0], "--benchmark_enable_random_interleaving=true",
                                        "--benchmark_min_time=0.004"};
  arguments.insert(arguments.end(), argv + 1, argv + argc);
  std::vector<char*> pointers;
  pointers.reserve(arguments.size() + 1);
  for (std::string& argument : arguments) pointers.push_back(argument.data());
  pointers.push_back(nullptr);
  int count = static_cast<int>(arguments.size());
  benchmark::Initialize(&count, pointers.data());

  RegexClass::benchmarks::Table table(count > 1 ? pointers[1] : "");
  RegexClass::benchmarks::MeasureStrings(table);
  RegexClass::benchmarks::MeasureFiles(table);
}
