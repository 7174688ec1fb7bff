// Lock rules the compiler checks: Clang's thread-safety attributes as macros,
// and annotated mutexes with scoped holders for code that needs std::mutex or
// std::recursive_mutex.
//
// Under Clang with -Wthread-safety a field marked GUARDED_BY(mu) read or
// written without `mu` held, a function marked REQUIRES(mu) called without it,
// or a lock taken against a declared order is a compile error (the
// thread-safety build makes the warnings errors; the order checks need
// -Wthread-safety-beta, which that build turns on too). Under GCC and MinGW every
// macro is empty and the wrappers are plain mutexes.
//
// The standard library's mutexes carry no attributes, so a field guarded by
// one is invisible to the analysis: guard fields with vantrel::Mutex (or
// RecursiveMutex, or the OSynchronizer family) instead.
#pragma once

#include <chrono>
#include <condition_variable>
#include <mutex>

#if defined(__clang__)
#define VANTREL_THREAD_ANNOTATION(x) __attribute__((x))
#else
#define VANTREL_THREAD_ANNOTATION(x)
#endif

// A type that is a lock ("mutex"), or a holder that takes one for its scope.
#define CAPABILITY(x) VANTREL_THREAD_ANNOTATION(capability(x))
#define SCOPED_CAPABILITY VANTREL_THREAD_ANNOTATION(scoped_lockable)

// A field read and written only with the lock held; for a pointer, the
// pointed-to data.
#define GUARDED_BY(x) VANTREL_THREAD_ANNOTATION(guarded_by(x))
#define PT_GUARDED_BY(x) VANTREL_THREAD_ANNOTATION(pt_guarded_by(x))

// Lock order: this lock is taken after (before) the named ones, never the
// other way round.
#define ACQUIRED_AFTER(...) VANTREL_THREAD_ANNOTATION(acquired_after(__VA_ARGS__))
#define ACQUIRED_BEFORE(...) VANTREL_THREAD_ANNOTATION(acquired_before(__VA_ARGS__))

// The caller must hold (must not hold) the locks.
#define REQUIRES(...) VANTREL_THREAD_ANNOTATION(requires_capability(__VA_ARGS__))
#define REQUIRES_SHARED(...) VANTREL_THREAD_ANNOTATION(requires_shared_capability(__VA_ARGS__))
#define EXCLUDES(...) VANTREL_THREAD_ANNOTATION(locks_excluded(__VA_ARGS__))

// The function takes, tries to take, or releases the locks (none named: the
// object it is called on).
#define ACQUIRE(...) VANTREL_THREAD_ANNOTATION(acquire_capability(__VA_ARGS__))
#define TRY_ACQUIRE(...) VANTREL_THREAD_ANNOTATION(try_acquire_capability(__VA_ARGS__))
#define RELEASE(...) VANTREL_THREAD_ANNOTATION(release_capability(__VA_ARGS__))

// The function checks at run time that the lock is held (the analysis then
// takes it as held); the function returns a reference to the lock.
#define ASSERT_CAPABILITY(x) VANTREL_THREAD_ANNOTATION(assert_capability(x))
#define RETURN_CAPABILITY(x) VANTREL_THREAD_ANNOTATION(lock_returned(x))

// Turns the analysis off for one function. Only for code whose locking the
// analysis cannot follow; say why beside each use.
#define NO_THREAD_SAFETY_ANALYSIS VANTREL_THREAD_ANNOTATION(no_thread_safety_analysis)

namespace vantrel {

// std::mutex as the analysis sees it.
class CAPABILITY("mutex") Mutex {
 public:
  Mutex() = default;
  Mutex(const Mutex&) = delete;
  Mutex& operator=(const Mutex&) = delete;

  // Blocks until the calling thread holds the mutex; not recursive. Any thread.
  void Lock() ACQUIRE() { mutex_.lock(); }
  // Only the holding thread may call it.
  void Unlock() RELEASE() { mutex_.unlock(); }

 private:
  friend class MutexLock;
  std::mutex mutex_;
};

// Holds a Mutex for a scope; may release it early, take it again, and wait on
// a condition variable.
class SCOPED_CAPABILITY MutexLock {
 public:
  explicit MutexLock(Mutex& mutex) ACQUIRE(mutex) : lock_(mutex.mutex_) {}
  ~MutexLock() RELEASE() {}
  MutexLock(const MutexLock&) = delete;
  MutexLock& operator=(const MutexLock&) = delete;

  // Releases the mutex before the end of the scope; the destructor then
  // leaves it alone.
  void Unlock() RELEASE() { lock_.unlock(); }
  // Takes it again after Unlock.
  void Lock() ACQUIRE() { lock_.lock(); }

  // Releases the mutex while waiting for a notification (or a spurious
  // wake-up) and holds it again on return: callers loop on their condition,
  // so that the condition's guarded reads stay where the analysis sees the
  // lock held.
  void Wait(std::condition_variable& condition) { condition.wait(lock_); }
  // As Wait, for at most `timeout`; false when the time ran out.
  template <class Rep, class Period>
  bool WaitFor(std::condition_variable& condition,
               const std::chrono::duration<Rep, Period>& timeout) {
    return condition.wait_for(lock_, timeout) == std::cv_status::no_timeout;
  }
  // As Wait, until `deadline`; false when it has passed.
  template <class Clock, class Duration>
  bool WaitUntil(std::condition_variable& condition,
                 const std::chrono::time_point<Clock, Duration>& deadline) {
    return condition.wait_until(lock_, deadline) == std::cv_status::no_timeout;
  }

 private:
  std::unique_lock<std::mutex> lock_;
};

// std::recursive_mutex as the analysis sees it. The analysis does not know
// that the holder may take it again: a function that does must take it in a
// callee the analysis sees as a separate step (or not at all).
class CAPABILITY("mutex") RecursiveMutex {
 public:
  RecursiveMutex() = default;
  RecursiveMutex(const RecursiveMutex&) = delete;
  RecursiveMutex& operator=(const RecursiveMutex&) = delete;

  // Blocks until the calling thread holds the mutex; the holder may take it
  // again and must release it as often. Any thread.
  void Lock() ACQUIRE() { mutex_.lock(); }
  // Releases once; only the holding thread may call it.
  void Unlock() RELEASE() { mutex_.unlock(); }

 private:
  std::recursive_mutex mutex_;
};

// Holds a RecursiveMutex for a scope.
class SCOPED_CAPABILITY RecursiveMutexLock {
 public:
  explicit RecursiveMutexLock(RecursiveMutex& mutex) ACQUIRE(mutex) : mutex_(mutex) {
    mutex_.Lock();
  }
  ~RecursiveMutexLock() RELEASE() { mutex_.Unlock(); }
  RecursiveMutexLock(const RecursiveMutexLock&) = delete;
  RecursiveMutexLock& operator=(const RecursiveMutexLock&) = delete;

 private:
  RecursiveMutex& mutex_;
};

}  // namespace vantrel
