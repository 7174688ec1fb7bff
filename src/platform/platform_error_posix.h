// Linux only: translation between errno values and the Windows error numbers
// every platform function reports. One table serves both directions.
#pragma once

namespace vantrel::platform {

// The Windows error number for an errno value; 0 stays 0, and an errno the
// table does not know becomes kErrorInternalError.
long WindowsErrorFromErrno(int errno_value);

// The errno value whose text describes a Windows error number, or 0 when the
// table has none.
int ErrnoFromWindowsError(long error);

}  // namespace vantrel::platform
