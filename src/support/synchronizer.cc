#include "support/synchronizer.h"

#include "platform/platform_error.h"
#include "platform/native_thread.h"
#include "support/exceptions.h"

namespace vantrel {

OCriticalSection::OCriticalSection() : section_(std::make_unique<RecursiveMutex>()) {}

OCriticalSection::~OCriticalSection() = default;

void OCriticalSection::Lock() { section_->Lock(); }

void OCriticalSection::Unlock() { section_->Unlock(); }

OMutex::OMutex(std::string name, uint32_t timeout_ms)
    : name_(std::move(name)), timeout_ms_(timeout_ms) {}

OMutex::~OMutex() = default;

platform::NamedMutex& OMutex::Handle() {
  if (ready_.load()) return *mutex_;
  MutexLock hold(create_mutex_);
  if (mutex_ == nullptr) {
    const long error = platform::CreateNamedMutex(name_, &mutex_);
    if (error != 0) {
      throw OException("CreateMutex error in OMutex::Lock", error,
                       platform::PlatformErrorMessage(error),
                       ExceptionOrigin{"OMutex::Handle", __FILE__, __LINE__});
    }
    ready_.store(true);
  }
  return *mutex_;
}

void OMutex::Lock() {
  // Whatever the wait gives, the caller goes on as the holder: a stuck holder
  // must not stop the work that is waiting.
  Handle().Wait(timeout_ms_);
}

void OMutex::Unlock() {
  if (ready_.load()) mutex_->Release();
}

platform::WaitResult OMutex::TryLock() { return Handle().Wait(timeout_ms_); }

}  // namespace vantrel
