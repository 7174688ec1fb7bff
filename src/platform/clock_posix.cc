#include "platform/clock.h"

#include <time.h>

#include <cerrno>

namespace vantrel::platform {

uint64_t TickCount64() {
  timespec now{};
  // CLOCK_MONOTONIC counts from boot and is not changed by setting the date.
  clock_gettime(CLOCK_MONOTONIC, &now);
  return static_cast<uint64_t>(now.tv_sec) * 1000u + static_cast<uint64_t>(now.tv_nsec) / 1000000u;
}

void SleepMilliseconds(uint32_t ms) {
  timespec rest{static_cast<time_t>(ms / 1000), static_cast<long>(ms % 1000) * 1000000L};
  // A signal cuts nanosleep short; sleep the remainder so callers get the full time.
  while (nanosleep(&rest, &rest) != 0 && errno == EINTR) {
  }
}

}  // namespace vantrel::platform
