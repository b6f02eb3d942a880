// SPDX-License-Identifier: BSL-1.0
// settings: shows a set-up, or keeps it in a file.

#include <RegularExpression.hpp>
#include <iostream>

#include "cli/Commands.hpp"
#include "output/Printable.hpp"
#include "output/ShownSettings.hpp"

namespace tool {

ExitStatus RunSettings(const Request& request) {
  RE object;
  Apply(request.setUp, object);
  if (request.writeTo) {
    WriteSettings(object, *request.writeTo);
  } else {
    const std::string text = request.style.json ? InJson(object).dump() + '\n' : InWords(object);
    std::cout << (OutputIsTerminal() ? PrintableText(text) : text);
  }
  return kMatch;
}

}  // namespace tool
