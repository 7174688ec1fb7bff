// The platform's error numbers: every platform function reports failure as a
// Windows error number (win32_errors.h); these two read and explain one.
#pragma once

#include <string>

namespace vantrel::platform {

// The calling thread's last platform error, as a Windows error number
// (GetLastError; errno translated on Linux). Any thread.
long LastPlatformError();
// The system's text for a Windows error number; never empty. Any thread.
std::string PlatformErrorMessage(long error);

}  // namespace vantrel::platform
