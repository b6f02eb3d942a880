#include "platform/Error.hpp"

#include <cerrno>

namespace RegexClass::platform {

bool LeadsNowhere(Error error) { return error == ENOENT || error == ENOTDIR || error == ELOOP; }

}  // namespace RegexClass::platform
