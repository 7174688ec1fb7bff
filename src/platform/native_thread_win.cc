#include "platform/native_thread.h"

#include <windows.h>

#include <process.h>

#include <cerrno>

#include "platform/win32_errors.h"

namespace vantrel::platform {
namespace {

class WindowsThread : public NativeThread {
 public:
  WindowsThread(HANDLE handle, DWORD id) : handle_(handle), id_(id) {}
  // Closing the handle does not end the thread.
  ~WindowsThread() override { CloseHandle(handle_); }

  bool IsRunning() const override {
    DWORD code = 0;
    return GetExitCodeThread(handle_, &code) && code == STILL_ACTIVE;
  }
  uint64_t Id() const override { return id_; }
  bool SetPriority(int priority) override { return SetThreadPriority(handle_, priority) != 0; }

 private:
  const HANDLE handle_;
  const DWORD id_;
};

unsigned __stdcall ThreadEntry(void* argument) {
  std::unique_ptr<std::function<void()>> body(static_cast<std::function<void()>*>(argument));
  (*body)();
  return 0;
}

// _beginthreadex reports through errno and does not always set the last error.
long StartFailure() {
  if (const DWORD last = GetLastError(); last != 0) return static_cast<long>(last);
  switch (errno) {
    case EACCES:
      return kErrorAccessDenied;
    case EINVAL:
      return kErrorInvalidParameter;
    default:
      return kErrorNotEnoughMemory;
  }
}

}  // namespace

PlatformResult StartNativeThread(std::function<void()> body,
                                 std::unique_ptr<NativeThread>* thread) {
  auto owned = std::make_unique<std::function<void()>>(std::move(body));
  unsigned id = 0;
  SetLastError(0);
  const uintptr_t handle = _beginthreadex(nullptr, 0, ThreadEntry, owned.get(), 0, &id);
  if (handle == 0) return StartFailure();
  owned.release();  // the thread owns it now
  *thread = std::make_unique<WindowsThread>(reinterpret_cast<HANDLE>(handle), id);
  return kErrorSuccess;
}

uint64_t CurrentThreadId() { return GetCurrentThreadId(); }

}  // namespace vantrel::platform
