#include "platform/local_time.h"

#include <time.h>

namespace vantrel::platform {

LocalDateTime CurrentLocalTime() {
  const time_t now = time(nullptr);
  struct tm parts {};
  localtime_r(&now, &parts);  // the reentrant form: loggers call this from any thread
  return LocalDateTime{parts.tm_year + 1900, parts.tm_mon + 1, parts.tm_mday,
                       parts.tm_hour,        parts.tm_min,     parts.tm_sec};
}

}  // namespace vantrel::platform
