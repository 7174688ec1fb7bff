#include <sys/stat.h>
#include <time.h>

#include "platform/file_date.h"
#include "platform/platform_error_posix.h"

namespace vantrel::platform {

PlatformResult ReadFileDate(const std::string& path, int64_t* seconds) {
  struct stat facts {};
  if (stat(path.c_str(), &facts) != 0) return WindowsErrorFromErrno(errno);
  *seconds = static_cast<int64_t>(facts.st_mtime);
  return kErrorSuccess;
}

std::string FormatFileDate(int64_t seconds) {
  if (seconds <= 0) return {};
  const time_t when = static_cast<time_t>(seconds);
  struct tm local {};
  if (localtime_r(&when, &local) == nullptr) return {};
  char text[32];
  if (strftime(text, sizeof text, "%Y-%m-%d", &local) == 0) return {};
  return text;
}

}  // namespace vantrel::platform
