// SPDX-License-Identifier: BSL-1.0
#include "platform/Error.hpp"

#include <cerrno>

namespace RegexClass::platform {

bool LeadsNowhere(Error error) { return error == ENOENT || error == ENOTDIR || error == ELOOP; }
bool IsOutOfSpace(Error error) { return error == ENOSPC || error == EDQUOT; }

const Error kErrorBroken = EIO;
const Error kErrorStale = ESTALE;
const Error kErrorTooLarge = EFBIG;
const Error kErrorDenied = EACCES;
const Error kErrorExists = EEXIST;
const Error kErrorManyNames = EMLINK;

}  // namespace RegexClass::platform
