// The lock family: OCriticalSection inside the process, OMutex across
// processes, both behind OSynchronizer; OLock takes one for a scope.
#pragma once

#include <atomic>
#include <cstdint>
#include <memory>
#include <mutex>
#include <string>

#include "platform/named_mutex.h"

namespace vantrel {

class OSynchronizer {
 public:
  virtual ~OSynchronizer() = default;
  virtual void Lock() = 0;
  virtual void Unlock() = 0;
};

// A recursive lock inside the process.
class OCriticalSection : public OSynchronizer {
 public:
  OCriticalSection();
  ~OCriticalSection() override;
  // Blocks until the calling thread holds the section; the holder may enter
  // again and must leave as often. Any thread.
  void Lock() override;
  // Leaves once; only the holding thread may call it.
  void Unlock() override;

 private:
  std::unique_ptr<std::recursive_mutex> section_;
};

// A mutex shared between processes by name (empty name: unnamed). Lock waits
// at most the time-out and then proceeds as if it held the mutex; a caller that
// must know uses TryLock.
class OMutex : public OSynchronizer {
 public:
  // Does no system call; the mutex is created by the first Lock or TryLock.
  explicit OMutex(std::string name = {}, uint32_t timeout_ms = platform::kInfiniteWait);
  ~OMutex() override;
  // Blocks up to the time-out, then returns whether or not it got the mutex.
  // Throws OException when the mutex cannot be created. Any thread.
  void Lock() override;
  // Releases once when the calling thread holds the mutex; otherwise, and
  // before the first Lock, does nothing. Never throws.
  void Unlock() override;
  // Like Lock, but tells what the wait gave: kAcquired or kAbandoned when the
  // caller now holds it, kTimeout or kFailed when not. Throws OException when
  // the mutex cannot be created.
  platform::WaitResult TryLock();

  const std::string& name() const { return name_; }
  uint32_t timeout_ms() const { return timeout_ms_; }

 private:
  platform::NamedMutex& Handle();

  const std::string name_;
  const uint32_t timeout_ms_;
  // Not std::once_flag: its MinGW implementation hangs after a throwing
  // first call, and a failed creation must be retried by the next Lock.
  std::mutex create_mutex_;
  std::unique_ptr<platform::NamedMutex> mutex_;  // set once, under create_mutex_
  std::atomic<bool> ready_{false};               // mutex_ is set
};

// Holds an OSynchronizer for a scope.
class OLock {
 public:
  explicit OLock(OSynchronizer& lock) : lock_(lock) { lock_.Lock(); }
  ~OLock() { lock_.Unlock(); }
  OLock(const OLock&) = delete;
  OLock& operator=(const OLock&) = delete;

 private:
  OSynchronizer& lock_;
};

}  // namespace vantrel
