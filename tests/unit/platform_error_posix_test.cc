// Linux: system failures reach callers as Windows error numbers.
#include <gtest/gtest.h>

#include <cerrno>
#include <cstdlib>
#include <string>
#include <thread>

#include "platform/platform_error.h"
#include "platform/spooler.h"
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

// The scheduler's address is read once per thread, so each one is tried on a
// thread of its own.
TEST(PlatformErrorPosixTest, SpoolerErrorsNameTheSchedulerAndItsAddress) {
  const char* before = std::getenv("CUPS_SERVER");
  const std::string kept = before != nullptr ? before : "";
  auto message_with = [](const char* server, long error) {
    setenv("CUPS_SERVER", server, 1);
    std::string text;
    std::thread([&] { text = PlatformErrorMessage(error); }).join();
    return text;
  };
  EXPECT_EQ(message_with("printhost:8631", kErrorSpoolerUnavailable),
            "the print scheduler at printhost:8631 is not running");
  EXPECT_EQ(message_with("/run/labels/cups.sock", kErrorSpoolerUnavailable),
            "the print scheduler at /run/labels/cups.sock is not running");
  EXPECT_EQ(message_with("[::1]:8631", kErrorInvalidPrinterName),
            "the print scheduler at [::1]:8631 has no such queue");
  EXPECT_EQ(message_with("printhost", kErrorSpoolerUnavailable),
            "the print scheduler at printhost:631 is not running");  // the IPP port
  if (before != nullptr) {
    setenv("CUPS_SERVER", kept.c_str(), 1);
  } else {
    unsetenv("CUPS_SERVER");
  }
}

}  // namespace
}  // namespace vantrel::platform
