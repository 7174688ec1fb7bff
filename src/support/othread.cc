#include "support/othread.h"

#include <algorithm>

#include "platform/platform_error.h"
#include "platform/clock.h"
#include "support/exception_handler.h"
#include "support/exceptions.h"

namespace vantrel {
namespace {

constexpr uint64_t kStopWaitMs = 100;
// Short naps while waiting, so that a thread that ends quickly is seen at once.
constexpr uint64_t kStopPollMs = 5;

void ThreadProc(const std::shared_ptr<IThreadable>& body) {
  OExceptionHandler(body->ThreadProcName(), kReportLevelThread).Run([&] { body->ThreadStart(); });
  body->ReleaseOwner();
}

}  // namespace

OThread::OThread(std::shared_ptr<IThreadable> body, int priority, ThreadStarter starter)
    : body_(std::move(body)), priority_(priority), starter_(std::move(starter)) {}

// Destroying the handle leaves a running thread to finish; it holds its own
// reference to the body.
OThread::~OThread() = default;

void OThread::Start() {
  std::unique_ptr<platform::NativeThread> started;
  const long error = starter_([body = body_] { ThreadProc(body); }, &started);
  if (error != 0 || started == nullptr) {
    throw OException("_beginthreadex error in OThread::Start", error,
                     platform::PlatformErrorMessage(error),
                     ExceptionOrigin{"OThread::Start", __FILE__, __LINE__});
  }
  started->SetPriority(priority_);
  MutexLock hold(thread_mutex_);
  thread_ = std::move(started);
}

bool OThread::Stop(uint32_t /*timeout_ms: the wait is bounded on purpose*/) {
  const uint64_t start = platform::TickCount64();
  while (IsRunning()) {
    body_->Stop();
    // A thread cannot wait for itself to end.
    if (IsCurrentThread()) return false;
    const uint64_t elapsed = platform::TickCount64() - start;
    if (elapsed > kStopWaitMs) return false;
    const uint64_t pause = std::clamp<uint64_t>(kStopWaitMs - elapsed, 1, kStopPollMs);
    platform::SleepMilliseconds(static_cast<uint32_t>(pause));
  }
  return true;
}

uint64_t OThread::thread_id() const {
  MutexLock hold(thread_mutex_);
  return thread_ != nullptr ? thread_->Id() : 0;
}

bool OThread::IsRunning() const {
  MutexLock hold(thread_mutex_);
  return thread_ != nullptr && thread_->IsRunning();
}

bool OThread::IsCurrentThread() const { return thread_id() == platform::CurrentThreadId(); }

}  // namespace vantrel
