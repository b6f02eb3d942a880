// SPDX-License-Identifier: BSL-1.0
// The same outside a browser: reads requests, one a line, and prints the answers, each as a line of
// JSON and a line of numbers with blanks between them.
#include "Bridge.hpp"

#include <iostream>

int main() {
  std::ios::sync_with_stdio(false);
  for (std::string request; std::getline(std::cin, request);) {
    const playground::Answer answer = playground::Run(request);
    std::cout << answer.json << '\n';
    for (const std::int32_t number : answer.spans) std::cout << number << ' ';
    std::cout << std::endl;
  }
}
