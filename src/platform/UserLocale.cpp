#include "platform/UserLocale.hpp"

#include <stdexcept>

namespace RegexClass::platform {

std::locale UserLocale() {
  try {
    return std::locale("");
  } catch (const std::runtime_error&) {
    return std::locale::classic();
  }
}

}  // namespace RegexClass::platform
