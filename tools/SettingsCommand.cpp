// settings: shows a set-up, or keeps it in a file.

#include <RegularExpression.hpp>

#include "Commands.hpp"

namespace tool {

ExitStatus RunSettings(const Request& request) {
  RE object;
  Apply(request.setUp, object);
  const Printer printer(request.style, false, false);
  if (request.writeTo) {
    WriteSettings(object, *request.writeTo);
  } else {
    printer.Raw(request.style.json ? InJson(object) : InWords(object));
  }
  return kMatch;
}

}  // namespace tool
