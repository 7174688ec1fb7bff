#include <windows.h>

#include <string>

#include "platform/platform_error.h"
#include "platform/native_thread.h"
#include "platform/wide_text_win.h"

namespace vantrel::platform {

long LastPlatformError() { return static_cast<long>(GetLastError()); }

std::string PlatformErrorMessage(long error) {
  wchar_t* buffer = nullptr;
  const DWORD flags =
      FORMAT_MESSAGE_ALLOCATE_BUFFER | FORMAT_MESSAGE_FROM_SYSTEM | FORMAT_MESSAGE_IGNORE_INSERTS;
  const DWORD length = FormatMessageW(flags, nullptr, static_cast<DWORD>(error),
                                      MAKELANGID(LANG_NEUTRAL, SUBLANG_DEFAULT),
                                      reinterpret_cast<wchar_t*>(&buffer), 0, nullptr);
  if (length == 0 || buffer == nullptr) return "Error " + std::to_string(error);
  std::string text = Narrow(std::wstring_view(buffer, length));
  LocalFree(buffer);
  return text;
}

}  // namespace vantrel::platform
