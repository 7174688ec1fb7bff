// The wall clock in the computer's local time zone.
#pragma once

namespace vantrel::platform {

struct LocalDateTime {
  int year = 0;    // four digits
  int month = 0;   // 1-12
  int day = 0;     // 1-31
  int hour = 0;    // 0-23
  int minute = 0;  // 0-59
  int second = 0;  // 0-59 (60 during a leap second on Linux)
};

// The current local date and time. Never fails; any thread.
LocalDateTime CurrentLocalTime();

}  // namespace vantrel::platform
