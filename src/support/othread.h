// Background work: a body implements IThreadable, an OThread runs it.
#pragma once

#include <cstdint>
#include <functional>
#include <memory>
#include "platform/native_thread.h"
#include "platform/thread_annotations.h"

namespace vantrel {

class IThreadable {
 public:
  // `owner` is kept alive while the body exists.
  explicit IThreadable(std::shared_ptr<void> owner = nullptr) : owner_(std::move(owner)) {}
  virtual ~IThreadable() = default;

  // The body, run on the new thread.
  virtual void ThreadStart() = 0;
  // Asks the body to end soon; called from other threads, maybe repeatedly.
  virtual void Stop() = 0;
  // The error frame's source name for the body's thread, as log reports
  // show it ("Caught in [...]"); a body with a thread procedure of its own
  // names it.
  virtual const char* ThreadProcName() const { return "OThread::ThreadProc"; }

  // The owner, or null once released. Any thread.
  std::shared_ptr<void> owner() const EXCLUDES(owner_mutex_) {
    MutexLock hold(owner_mutex_);
    return owner_;
  }
  // Drops the reference to the owner; OThread calls it when the body has
  // returned. Any thread.
  void ReleaseOwner() EXCLUDES(owner_mutex_) {
    std::shared_ptr<void> released;
    {
      MutexLock hold(owner_mutex_);
      released.swap(owner_);
    }
    // The owner may be destroyed here, outside the lock.
  }

 private:
  mutable Mutex owner_mutex_;
  std::shared_ptr<void> owner_ GUARDED_BY(owner_mutex_);
};

// Starts threads; replaceable so that tests can make a start fail.
using ThreadStarter =
    std::function<long(std::function<void()>, std::unique_ptr<platform::NativeThread>*)>;

class OThread {
 public:
  explicit OThread(std::shared_ptr<IThreadable> body,
                   int priority = platform::kThreadPriorityNormal,
                   ThreadStarter starter = platform::StartNativeThread);
  // Closes the handle; a thread still running finishes by itself.
  ~OThread();

  // Runs the body on a new thread at the stored priority (a priority the
  // platform refuses is ignored), inside an error frame named by the body's
  // ThreadProcName. The thread keeps the body alive, reports an exception
  // that escapes it to the log, and releases the body's owner when
  // the body returns. Throws OException "_beginthreadex error in
  // OThread::Start" with the starter's error number when the thread cannot
  // start. Does not block; any thread.
  void Start();

  // Asks the body to stop, repeatedly, and waits for it at most 100 ms,
  // whatever `timeout_ms` says, so that a stuck body never blocks the caller.
  // True when the thread has ended or never started; false when it still runs
  // (it is left to finish by itself). Any thread, including the thread itself
  // (which is then only asked to stop).
  bool Stop(uint32_t timeout_ms = 0);

  // The running or ended thread's identifier; 0 before Start. Any thread.
  uint64_t thread_id() const;
  int priority() const { return priority_; }

 private:
  // True while a started thread has not ended.
  bool IsRunning() const;
  bool IsCurrentThread() const;

  const std::shared_ptr<IThreadable> body_;
  const int priority_;
  const ThreadStarter starter_;
  mutable Mutex thread_mutex_;
  std::unique_ptr<platform::NativeThread> thread_ GUARDED_BY(thread_mutex_);
};

}  // namespace vantrel
