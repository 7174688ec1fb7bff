// Operating-system threads: start, watch, priority.
#pragma once

#include <cstdint>
#include <functional>
#include <memory>
#include <string>
#include "platform/win32_errors.h"

namespace vantrel::platform {

// Thread priorities, with the values of the Windows THREAD_PRIORITY_* names.
constexpr int kThreadPriorityIdle = -15;
constexpr int kThreadPriorityLowest = -2;
constexpr int kThreadPriorityBelowNormal = -1;
constexpr int kThreadPriorityNormal = 0;
constexpr int kThreadPriorityAboveNormal = 1;
constexpr int kThreadPriorityHighest = 2;
constexpr int kThreadPriorityTimeCritical = 15;

class NativeThread {
 public:
  // Closes the handle. A thread still running is left to finish by itself.
  virtual ~NativeThread() = default;

  // True while the body has not returned (the exit code is still active).
  virtual bool IsRunning() const = 0;
  virtual uint64_t Id() const = 0;
  // Applies a THREAD_PRIORITY_* value. On Linux this changes the thread's
  // nice value where permitted; refusal is not an error (returns false).
  virtual bool SetPriority(int priority) = 0;
};

// Starts `body` on a new thread with the default stack. Returns a Windows
// error number; on success `thread` is set.
PlatformResult StartNativeThread(std::function<void()> body, std::unique_ptr<NativeThread>* thread);

uint64_t CurrentThreadId();

}  // namespace vantrel::platform
