#include "printers/driver_channel.h"

#include "driver/driver_dll_proxy.h"

namespace vantrel::printers {

DriverChannel::DriverChannel() : store_(nullptr) {}

DriverChannel::DriverChannel(std::string module_path, platform::SettingsStore* store)
    : module_path_(std::move(module_path)), store_(store) {}

DriverChannel::~DriverChannel() {
  MutexLock hold(mutex_);
  ForgetLocked();
}

bool DriverChannel::Run(const std::string& printer_name, const Call& call) {
  MutexLock hold(mutex_);
  try {
    if (!OpenLocked(printer_name)) return false;
    call(*proxy_, handle_);
  } catch (...) {
    ForgetLocked();
    throw;
  }
  // A dead pipe stays dead: the next call starts a new host.
  if (proxy_->broken()) ForgetLocked();
  return true;
}

bool DriverChannel::open() const {
  MutexLock hold(mutex_);
  return proxy_ != nullptr;
}

bool DriverChannel::proxied() const {
  MutexLock hold(mutex_);
  return proxy_ != nullptr && proxy_->proxied();
}

bool DriverChannel::OpenLocked(const std::string& printer_name) {
  if (proxy_) return true;
  proxy_ = std::make_unique<DriverDLLProxy>(store_);
  handle_ = module_path_.empty() ? proxy_->Open(printer_name)
                                 : proxy_->OpenModule(module_path_, printer_name);
  if (handle_ != 0) return true;
  // Nothing to close: dropping the proxy frees a loaded module or ends a
  // host that answered no handle.
  proxy_.reset();
  return false;
}

void DriverChannel::ForgetLocked() {
  if (!proxy_) return;
  if (handle_ != 0 && !proxy_->broken()) proxy_->Close(handle_);
  proxy_.reset();
  handle_ = 0;
}

}  // namespace vantrel::printers
