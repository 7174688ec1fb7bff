#include "platform/platform_error.h"
#include "platform/platform_error_posix.h"

#include <string.h>

#include <cerrno>
#include <string>

#include "platform/cups/cups_error_text_posix.h"
#include "platform/native_thread.h"
#include "platform/win32_errors.h"

namespace vantrel::platform {
namespace {

struct ErrnoPair {
  int errno_value;
  long windows_error;
};

// When several errno values share a Windows number, the first row gives that
// number's text.
constexpr ErrnoPair kErrnoTable[] = {
    {ENOENT, kErrorFileNotFound},
    {ENOTDIR, kErrorPathNotFound},
    {EMFILE, 4},  // ERROR_TOO_MANY_OPEN_FILES
    {ENFILE, 4},
    {EACCES, kErrorAccessDenied},
    {EPERM, kErrorAccessDenied},
    {EISDIR, kErrorAccessDenied},
    {EBADF, kErrorInvalidHandle},
    {ENOMEM, kErrorNotEnoughMemory},
    {EAGAIN, kErrorNotEnoughMemory},  // no thread or process slot left
    {EXDEV, 17},                      // ERROR_NOT_SAME_DEVICE
    {EROFS, 19},                      // ERROR_WRITE_PROTECT
    {ENOTSUP, kErrorNotSupported},
    {ENOSYS, kErrorNotSupported},
    {EINVAL, kErrorInvalidParameter},
    {ESRCH, kErrorInvalidParameter},
    {EINTR, 95},       // ERROR_INTERRUPT
    {EPIPE, 109},      // ERROR_BROKEN_PIPE
    {ENOSPC, 112},     // ERROR_DISK_FULL
    {ECHILD, 128},     // ERROR_WAIT_NO_CHILDREN
    {ENOTEMPTY, 145},  // ERROR_DIR_NOT_EMPTY
    {EBUSY, kErrorBusy},
    {EEXIST, kErrorAlreadyExists},
    {ENOEXEC, 193},        // ERROR_BAD_EXE_FORMAT
    {ENAMETOOLONG, 206},   // ERROR_FILENAME_EXCED_RANGE
    {EFBIG, 223},          // ERROR_FILE_TOO_LARGE
    {EIO, 1117},           // ERROR_IO_DEVICE
    {ECONNREFUSED, 1225},  // ERROR_CONNECTION_REFUSED
    {ETIMEDOUT, kErrorTimeout},
    {ELOOP, 1921},  // ERROR_CANT_RESOLVE_FILENAME
};

// Windows numbers without an errno counterpart, with the system's own wording.
struct ErrorText {
  long windows_error;
  const char* text;
};

constexpr ErrorText kTextTable[] = {
    {kErrorInvalidData, "The data is invalid."},
    {kErrorOutOfMemory, "Not enough storage is available to complete this operation."},
    {kErrorInsufficientBuffer, "The data area passed to a system call is too small."},
    {kErrorInvalidName, "The filename, directory name, or volume label syntax is incorrect."},
    {kErrorBadPathname, "The specified path is invalid."},
    {kErrorMoreData, "More data is available."},
    {kErrorWaitTimeout, "The wait operation timed out."},
    {kErrorNoMoreItems, "No more data is available."},
    {kErrorBadDbFormat, "The configuration registry database is corrupt."},
    {kErrorCantRead, "The configuration registry key could not be read."},
    {kErrorCantWrite, "The configuration registry key could not be written."},
    {kErrorRegistryIoFailed, "An I/O operation initiated by the registry failed unrecoverably."},
    {kErrorKeyDeleted,
     "Illegal operation attempted on a registry key that has been marked for deletion."},
    {kErrorKeyHasChildren,
     "Cannot create a symbolic link in a registry key that already has subkeys or values."},
    {kErrorInternalError, "An internal error occurred."},
};

}  // namespace

long WindowsErrorFromErrno(int errno_value) {
  if (errno_value == 0) return kErrorSuccess;
  for (const ErrnoPair& row : kErrnoTable) {
    if (row.errno_value == errno_value) return row.windows_error;
  }
  return kErrorInternalError;
}

int ErrnoFromWindowsError(long error) {
  for (const ErrnoPair& row : kErrnoTable) {
    if (row.windows_error == error) return row.errno_value;
  }
  return 0;
}

long LastPlatformError() { return WindowsErrorFromErrno(errno); }

std::string PlatformErrorMessage(long error) {
  if (error == kErrorSuccess) return "The operation completed successfully.";
  if (std::string text = cups::SpoolerErrorText(error); !text.empty()) return text;
  for (const ErrorText& row : kTextTable) {
    if (row.windows_error == error) return row.text;
  }
  if (const int errno_value = ErrnoFromWindowsError(error); errno_value != 0) {
    char buffer[256];
    // The GNU strerror_r returns the text, which may or may not be in `buffer`.
    return strerror_r(errno_value, buffer, sizeof buffer);
  }
  return "Error " + std::to_string(error);
}

}  // namespace vantrel::platform
