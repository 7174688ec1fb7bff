#include "platform/named_mutex.h"

#include <windows.h>

#include <sddl.h>

#include "platform/wide_text_win.h"
#include "platform/win32_errors.h"

namespace vantrel::platform {
namespace {

// Full access for everyone, inherited by objects and containers, so that
// processes of other users and services can open the same mutex.
constexpr wchar_t kEveryoneAccess[] = L"D:(A;OICI;GA;;;WD)";

class WindowsNamedMutex : public NamedMutex {
 public:
  explicit WindowsNamedMutex(HANDLE handle) : handle_(handle) {}
  ~WindowsNamedMutex() override { CloseHandle(handle_); }

  WaitResult Wait(uint32_t timeout_ms) override {
    switch (WaitForSingleObject(handle_, timeout_ms)) {
      case WAIT_OBJECT_0:
        return WaitResult::kAcquired;
      case WAIT_ABANDONED:
        return WaitResult::kAbandoned;
      case WAIT_TIMEOUT:
        return WaitResult::kTimeout;
      default:
        return WaitResult::kFailed;
    }
  }

  bool Release() override { return ReleaseMutex(handle_) != 0; }

 private:
  const HANDLE handle_;
};

}  // namespace

long CreateNamedMutex(const std::string& name, std::unique_ptr<NamedMutex>* mutex) {
  PSECURITY_DESCRIPTOR descriptor = nullptr;
  if (!ConvertStringSecurityDescriptorToSecurityDescriptorW(kEveryoneAccess, SDDL_REVISION_1,
                                                            &descriptor, nullptr)) {
    return static_cast<long>(GetLastError());
  }
  SECURITY_ATTRIBUTES attributes{sizeof attributes, descriptor, FALSE};
  const std::wstring wide_name = Widen(name);
  const HANDLE handle =
      CreateMutexW(&attributes, FALSE, name.empty() ? nullptr : wide_name.c_str());
  const long error = handle == nullptr ? static_cast<long>(GetLastError()) : kErrorSuccess;
  LocalFree(descriptor);
  if (handle == nullptr) return error;
  *mutex = std::make_unique<WindowsNamedMutex>(handle);
  return kErrorSuccess;
}

}  // namespace vantrel::platform
