// A file's date as the driver properties show it.
#pragma once

#include <cstdint>
#include <string>

#include "platform/win32_errors.h"

namespace vantrel::platform {

// When the file was made, in seconds since 1970 (UTC): its creation time on
// Windows, its last modification on Linux (what packages set and `ls -l`
// shows). kErrorFileNotFound and the like when it cannot be read. Any thread.
PlatformResult ReadFileDate(const std::string& path, int64_t* seconds);

// A date for people: on Windows the user's short date format
// (GetDateFormatW), on Linux ISO 8601 "YYYY-MM-DD"; both in local time.
// Empty for 0 or a time that cannot be converted. Any thread.
std::string FormatFileDate(int64_t seconds);

}  // namespace vantrel::platform
