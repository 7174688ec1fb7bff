// Linux: system failures reach callers as Windows error numbers.
#include <gtest/gtest.h>

#include <cerrno>

#include "platform/platform_error.h"
#include "platform/native_thread.h"
#include "platform/platform_error_posix.h"
#include "platform/win32_errors.h"

namespace vantrel::platform {
namespace {

TEST(PlatformErrorPosixTest, ErrnoValuesBecomeTheirWindowsNumbers) {
  const std::pair<int, long> expected[] = {
      {0, kErrorSuccess},
      {ENOENT, kErrorFileNotFound},
      {EACCES, kErrorAccessDenied},
      {EPERM, kErrorAccessDenied},
      {ENOMEM, kErrorNotEnoughMemory},
      {EAGAIN, kErrorNotEnoughMemory},
      {EINVAL, kErrorInvalidParameter},
      {EEXIST, kErrorAlreadyExists},
      {ETIMEDOUT, kErrorTimeout},
      {EHWPOISON, kErrorInternalError},
  };
  for (const auto& [errno_value, windows_error] : expected) {
    EXPECT_EQ(WindowsErrorFromErrno(errno_value), windows_error) << errno_value;
  }
  errno = ENOENT;
  EXPECT_EQ(LastPlatformError(), kErrorFileNotFound);
}

TEST(PlatformErrorPosixTest, EveryNumberTheLibraryUsesHasAText) {
  for (const long error :
       {kErrorSuccess,       kErrorFileNotFound,     kErrorPathNotFound,       kErrorAccessDenied,
        kErrorInvalidHandle, kErrorNotEnoughMemory,  kErrorInvalidData,        kErrorOutOfMemory,
        kErrorNotSupported,  kErrorInvalidParameter, kErrorInsufficientBuffer, kErrorInvalidName,
        kErrorBusy,          kErrorAlreadyExists,    kErrorMoreData,           kErrorWaitTimeout,
        kErrorNoMoreItems,   kErrorBadPathname,      kErrorBadDbFormat,        kErrorCantRead,
        kErrorCantWrite,     kErrorRegistryIoFailed, kErrorKeyDeleted,         kErrorKeyHasChildren,
        kErrorInternalError, kErrorTimeout}) {
    EXPECT_NE(PlatformErrorMessage(error).rfind("Error ", 0), 0u) << error;
  }
}

}  // namespace
}  // namespace vantrel::platform
