// SPDX-License-Identifier: BSL-1.0
#include "platform/Error.hpp"

#include <cerrno>

namespace RegexClass::platform {

bool LeadsNowhere(Error error) { return error == ENOENT || error == ENOTDIR || error == ELOOP; }
bool IsOutOfSpace(Error error) { return error == ENOSPC || error == EDQUOT; }

const Error kErrorBroken = EIO;
const Error kErrorStale = ESTALE;
const Error kErrorTooLarge = EFBIG;

}  // namespace RegexClass::platform
