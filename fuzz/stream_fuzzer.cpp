// SPDX-License-Identifier: BSL-1.0
// Reads any bytes as an object's settings. What could be read must come back when it is written.

#include <cstddef>
#include <cstdint>
#include <sstream>
#include <string>

#include "Check.hpp"
#include "RegularExpression.hpp"

extern "C" int LLVMFuzzerTestOneInput(const std::uint8_t* data, std::size_t size);
int LLVMFuzzerTestOneInput(const std::uint8_t* data, std::size_t size) {
  std::istringstream in(std::string(reinterpret_cast<const char*>(data), size));
  RegexClass::RegularExpression object;
  in >> object;

  // Whatever became of the reading, the object is whole and can be kept.
  std::stringstream kept;
  kept << object;
  RegexClass::RegularExpression copy;
  kept >> copy;
  Check(!kept.fail(), "a record that was written can be read");
  Check(kept.peek() == std::stringstream::traits_type::eof(), "a record is read to its end");
  Check(copy == object, "what is read equals what was written");
  return 0;
}
