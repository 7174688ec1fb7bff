// Windows error numbers used across the library. Both targets report platform
// failures with these values, so callers keep one set of rules; the Linux
// adapters translate their own failures into them.
#pragma once

#include <cstdint>

namespace vantrel::platform {

// What a platform call answers: 0 or a Windows error number. A call whose
// answer is dropped does not compile (-Werror), so an error cannot be lost
// by accident; a deliberate drop says so with IgnoreResult. It converts to
// and from long, so `if (const long error = Call())` and `return error;`
// read as before.
class [[nodiscard]] PlatformResult {
 public:
  constexpr PlatformResult(long error = 0) : error_(error) {}  // NOLINT: implicit by design
  constexpr operator long() const { return error_; }           // NOLINT: implicit by design

 private:
  long error_;
};

// Drops a platform call's answer on purpose; the caller says why beside it.
constexpr void IgnoreResult(PlatformResult) {}

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
