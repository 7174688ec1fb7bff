#include "platform/loadable_module.h"

#include <dlfcn.h>

namespace vantrel::platform {
namespace {

class PosixModule final : public LoadableModule {
 public:
  explicit PosixModule(void* handle) : handle_(handle) {}
  ~PosixModule() override { dlclose(handle_); }
  void* Symbol(const char* name) const override { return dlsym(handle_, name); }

 private:
  void* handle_;
};

}  // namespace

std::unique_ptr<LoadableModule> LoadModule(const std::string& path, std::string* error) {
  // RTLD_NODELETE: the module stays mapped after its last close. Objects and
  // text it handed out may outlive the handle (its class objects, the
  // sanitizer runtimes' tables for it), as on Windows where a library is
  // rarely freed before exit.
  void* handle = dlopen(path.c_str(), RTLD_NOW | RTLD_LOCAL | RTLD_NODELETE);
  if (handle == nullptr) {
    const char* reason = dlerror();
    if (error) *error = reason ? reason : "cannot load " + path;
    return nullptr;
  }
  return std::make_unique<PosixModule>(handle);
}

}  // namespace vantrel::platform
