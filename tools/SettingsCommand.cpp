// SPDX-License-Identifier: BSL-1.0
// settings: shows a set-up, or keeps it in a file.

#include <RegularExpression.hpp>
#include <iostream>

#include "Commands.hpp"

namespace tool {

ExitStatus RunSettings(const Request& request) {
  RE object;
  Apply(request.setUp, object);
  if (request.writeTo) {
    WriteSettings(object, *request.writeTo);
  } else {
    std::cout << (request.style.json ? InJson(object) : InWords(object));
  }
  return kMatch;
}

}  // namespace tool
