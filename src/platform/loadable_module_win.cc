#include "platform/platform_error.h"
#include "platform/loadable_module.h"

#include <windows.h>

#include "platform/native_thread.h"
#include "platform/wide_text_win.h"

namespace vantrel::platform {
namespace {

class WindowsModule final : public LoadableModule {
 public:
  explicit WindowsModule(HMODULE handle) : handle_(handle) {}
  ~WindowsModule() override { FreeLibrary(handle_); }
  void* Symbol(const char* name) const override {
    return reinterpret_cast<void*>(GetProcAddress(handle_, name));
  }

 private:
  HMODULE handle_;
};

}  // namespace

std::unique_ptr<LoadableModule> LoadModule(const std::string& path, std::string* error) {
  HMODULE handle = LoadLibraryW(Widen(path).c_str());
  if (handle == nullptr) {
    if (error) *error = path + ": " + PlatformErrorMessage(LastPlatformError());
    return nullptr;
  }
  return std::make_unique<WindowsModule>(handle);
}

}  // namespace vantrel::platform
