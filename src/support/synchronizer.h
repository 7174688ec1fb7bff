// The lock family: OCriticalSection inside the process, OMutex across
// processes, both behind OSynchronizer; OLock takes one for a scope.
#pragma once

#include <atomic>
#include <cstdint>
#include <memory>
#include <mutex>
#include <string>

#include "platform/named_mutex.h"
#include "platform/thread_annotations.h"

namespace vantrel {

// A lock as the thread-safety analysis sees it: GUARDED_BY, REQUIRES and
// ACQUIRED_AFTER may name any of the family.
class CAPABILITY("mutex") OSynchronizer {
 public:
  virtual ~OSynchronizer() = default;
  virtual void Lock() ACQUIRE() = 0;
  virtual void Unlock() RELEASE() = 0;
};

// A recursive lock inside the process.
class OCriticalSection : public OSynchronizer {
 public:
  OCriticalSection();
  ~OCriticalSection() override;
  // Blocks until the calling thread holds the section; the holder may enter
  // again and must leave as often (the analysis does not know that: nest
  // only through calls it sees as separate steps). Any thread.
  void Lock() override ACQUIRE();
  // Leaves once; only the holding thread may call it.
  void Unlock() override RELEASE();

 private:
  std::unique_ptr<RecursiveMutex> section_;
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
  void Lock() override ACQUIRE();
  // Releases once when the calling thread holds the mutex; otherwise, and
  // before the first Lock, does nothing. Never throws.
  void Unlock() override RELEASE();
  // Like Lock, but tells what the wait gave: kAcquired or kAbandoned when the
  // caller now holds it, kTimeout or kFailed when not. Throws OException when
  // the mutex cannot be created. Not annotated: the analysis cannot read an
  // enumeration as "held".
  platform::WaitResult TryLock();

  const std::string& name() const { return name_; }
  uint32_t timeout_ms() const { return timeout_ms_; }

 private:
  platform::NamedMutex& Handle();

  const std::string name_;
  const uint32_t timeout_ms_;
  // Not std::once_flag: its MinGW implementation hangs after a throwing
  // first call, and a failed creation must be retried by the next Lock.
  Mutex create_mutex_;
  // Set once, under create_mutex_; read without it once ready_ says it is set.
  std::unique_ptr<platform::NamedMutex> mutex_;
  std::atomic<bool> ready_{false};
};

// Holds an OSynchronizer for a scope.
class SCOPED_CAPABILITY OLock {
 public:
  explicit OLock(OSynchronizer& lock) ACQUIRE(lock) : lock_(lock) { lock_.Lock(); }
  ~OLock() RELEASE() { lock_.Unlock(); }
  OLock(const OLock&) = delete;
  OLock& operator=(const OLock&) = delete;

 private:
  OSynchronizer& lock_;
};

}  // namespace vantrel
