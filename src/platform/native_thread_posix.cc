#include "platform/native_thread.h"

#include <sys/resource.h>
#include <unistd.h>

#include <atomic>
#include <condition_variable>
#include <mutex>
#include <new>
#include <system_error>
#include <thread>

#include "platform/platform_error_posix.h"
#include "platform/win32_errors.h"
#include "platform/thread_annotations.h"

namespace vantrel::platform {
namespace {

// Shared by the thread and its NativeThread object, so that a detached thread
// still has it after the object is gone.
struct ThreadState {
  std::atomic<bool> finished{false};
  // Held while the kernel id is used from outside, and taken by the thread when
  // it finishes: the id cannot be reused by another thread in between.
  Mutex id_mutex;
  std::condition_variable id_published;
  pid_t kernel_id GUARDED_BY(id_mutex) = 0;
};

// Nice values for the THREAD_PRIORITY_* levels; other levels are refused.
bool NiceValueFor(int priority, int* nice_value) {
  switch (priority) {
    case kThreadPriorityIdle:
      *nice_value = 19;
      return true;
    case kThreadPriorityLowest:
      *nice_value = 10;
      return true;
    case kThreadPriorityBelowNormal:
      *nice_value = 5;
      return true;
    case kThreadPriorityNormal:
      *nice_value = 0;
      return true;
    case kThreadPriorityAboveNormal:
      *nice_value = -5;
      return true;
    case kThreadPriorityHighest:
      *nice_value = -10;
      return true;
    case kThreadPriorityTimeCritical:
      *nice_value = -20;
      return true;
    default:
      return false;
  }
}

class PosixThread : public NativeThread {
 public:
  explicit PosixThread(std::shared_ptr<ThreadState> state) : state_(std::move(state)) {}

  ~PosixThread() override {
    // A finished thread is joined to free its resources; a running one is left
    // to end by itself, keeping its state alive through its own reference.
    if (!thread_.joinable()) return;
    if (state_->finished.load()) {
      thread_.join();
    } else {
      thread_.detach();
    }
  }

  bool IsRunning() const override { return !state_->finished.load(); }

  uint64_t Id() const override {
    MutexLock hold(state_->id_mutex);
    return static_cast<uint64_t>(state_->kernel_id);
  }

  // Starts the thread. Throws std::system_error when it cannot.
  void Start(std::function<void()> body);

  bool SetPriority(int priority) override {
    int nice_value = 0;
    if (!NiceValueFor(priority, &nice_value)) return false;
    MutexLock hold(state_->id_mutex);
    if (state_->finished.load()) return false;
    // Linux keeps a nice value per thread; raising priority needs privilege.
    return setpriority(PRIO_PROCESS, static_cast<id_t>(state_->kernel_id), nice_value) == 0;
  }

 private:
  std::thread thread_;
  std::shared_ptr<ThreadState> state_;
};

void RunThread(const std::shared_ptr<ThreadState>& state, const std::function<void()>& body) {
  {
    MutexLock hold(state->id_mutex);
    state->kernel_id = gettid();
  }
  state->id_published.notify_all();
  body();
  MutexLock hold(state->id_mutex);
  state->finished.store(true);
}

void PosixThread::Start(std::function<void()> body) {
  thread_ = std::thread(RunThread, state_, std::move(body));
  // The id is known to the caller as soon as the start returns.
  MutexLock hold(state_->id_mutex);
  while (state_->kernel_id == 0) hold.Wait(state_->id_published);
}

}  // namespace

PlatformResult StartNativeThread(std::function<void()> body,
                                 std::unique_ptr<NativeThread>* thread) {
  try {
    auto native = std::make_unique<PosixThread>(std::make_shared<ThreadState>());
    native->Start(std::move(body));
    *thread = std::move(native);
    return kErrorSuccess;
  } catch (const std::system_error& e) {
    return WindowsErrorFromErrno(e.code().value());
  } catch (const std::bad_alloc&) {
    return kErrorNotEnoughMemory;
  }
}

uint64_t CurrentThreadId() { return static_cast<uint64_t>(gettid()); }

}  // namespace vantrel::platform
