#include "platform/clock.h"

#include <windows.h>

namespace vantrel::platform {

uint64_t TickCount64() { return GetTickCount64(); }

void SleepMilliseconds(uint32_t ms) { Sleep(ms); }

}  // namespace vantrel::platform
