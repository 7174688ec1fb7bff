// Windows error numbers used across the library. Both targets report platform
// failures with these values, so callers keep one set of rules; the Linux
// adapters translate their own failures into them.
#pragma once

#include <cstdint>

namespace vantrel::platform {

constexpr long kErrorSuccess = 0;
constexpr long kErrorFileNotFound = 2;
constexpr long kErrorPathNotFound = 3;
constexpr long kErrorAccessDenied = 5;
constexpr long kErrorInvalidHandle = 6;
constexpr long kErrorNotEnoughMemory = 8;
constexpr long kErrorInvalidData = 13;
constexpr long kErrorOutOfMemory = 14;
constexpr long kErrorNotSupported = 50;
constexpr long kErrorInvalidParameter = 87;
constexpr long kErrorInsufficientBuffer = 122;
constexpr long kErrorInvalidName = 123;
constexpr long kErrorBusy = 170;
constexpr long kErrorAlreadyExists = 183;
constexpr long kErrorMoreData = 234;
constexpr long kErrorWaitTimeout = 258;
constexpr long kErrorNoMoreItems = 259;
constexpr long kErrorBrokenPipe = 109;
constexpr long kErrorBadPathname = 161;
constexpr long kErrorStillActive = 259;   // exit code of a running thread
constexpr long kErrorBadDbFormat = 1004;  // ERROR_BADDB: the store file is damaged
constexpr long kErrorCantRead = 1012;
constexpr long kErrorCantWrite = 1013;
constexpr long kErrorRegistryIoFailed = 1016;
constexpr long kErrorKeyDeleted = 1018;
constexpr long kErrorKeyHasChildren = 1020;
constexpr long kErrorInternalError = 1359;
constexpr long kErrorTimeout = 1460;

}  // namespace vantrel::platform
