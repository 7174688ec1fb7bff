#include "platform/local_time.h"

#include <windows.h>

namespace vantrel::platform {

LocalDateTime CurrentLocalTime() {
  SYSTEMTIME now{};
  GetLocalTime(&now);
  return LocalDateTime{now.wYear, now.wMonth, now.wDay, now.wHour, now.wMinute, now.wSecond};
}

}  // namespace vantrel::platform
