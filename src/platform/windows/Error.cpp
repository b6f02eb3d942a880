// SPDX-License-Identifier: BSL-1.0
#include "platform/Error.hpp"

#include <windows.h>

namespace RegexClass::platform {

bool LeadsNowhere(Error error) {
  switch (error) {
    case ERROR_FILE_NOT_FOUND:
    case ERROR_PATH_NOT_FOUND:
    case ERROR_INVALID_DRIVE:
    case ERROR_INVALID_NAME:
    case ERROR_BAD_NETPATH:
    case ERROR_BAD_NET_NAME:
    case ERROR_BAD_PATHNAME:
    case ERROR_DIRECTORY:
    case ERROR_CANT_ACCESS_FILE:
    case ERROR_CANT_RESOLVE_FILENAME:
      return true;
    default:
      return false;
  }
}

bool IsOutOfSpace(Error error) {
  return error == ERROR_DISK_FULL || error == ERROR_HANDLE_DISK_FULL;
}

const Error kErrorBroken = ERROR_HANDLE_EOF;
const Error kErrorStale = ERROR_FILE_INVALID;
const Error kErrorTooLarge = ERROR_FILE_TOO_LARGE;
const Error kErrorDenied = ERROR_ACCESS_DENIED;
const Error kErrorExists = ERROR_ALREADY_EXISTS;
const Error kErrorManyNames = ERROR_TOO_MANY_LINKS;

}  // namespace RegexClass::platform
