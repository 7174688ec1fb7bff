// Monotonic time and sleeping.
#pragma once

#include <cstdint>

namespace vantrel::platform {

// Milliseconds since an arbitrary fixed point (boot); never goes backwards.
uint64_t TickCount64();

// The low 32 bits of TickCount64, wrapping after 49.7 days, as GetTickCount.
inline uint32_t TickCount() { return static_cast<uint32_t>(TickCount64()); }

void SleepMilliseconds(uint32_t ms);

}  // namespace vantrel::platform
