// A named mutex shared between processes, with a timed wait.
//
// It behaves as a Windows mutex: the owning thread may take it again (each
// Wait must be matched by a Release), it is released when its holding process
// dies, and the next waiter is told that it was abandoned. An empty name makes
// a mutex private to the process. On Linux a named mutex is a lock file in a
// runtime folder every user may use (VANTREL_RUNTIME_DIR, else
// /tmp/vantrel-locks); any name is allowed.
#pragma once

#include <cstdint>
#include <memory>
#include <string>

namespace vantrel::platform {

constexpr uint32_t kInfiniteWait = 0xFFFFFFFF;

enum class WaitResult {
  kAcquired,
  kAbandoned,  // acquired; the previous holder died holding it
  kTimeout,
  kFailed,
};

class NamedMutex {
 public:
  virtual ~NamedMutex() = default;

  // Blocks up to `timeout_ms` (kInfiniteWait: no limit). Any thread.
  virtual WaitResult Wait(uint32_t timeout_ms) = 0;
  // False when the calling thread does not hold the mutex.
  virtual bool Release() = 0;
};

// Creates the mutex or opens the existing one of that name. Returns a Windows
// error number; on success `mutex` is set.
long CreateNamedMutex(const std::string& name, std::unique_ptr<NamedMutex>* mutex);

}  // namespace vantrel::platform
