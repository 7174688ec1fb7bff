// The channel to one printer's driver interface module: one DriverDLLProxy
// and the driver handle it opened, made on the first call that needs the
// module and kept for the next ones.
//
// When the module cannot be had (no module named in the printer's data, a
// file that is missing or has no open entry, a module host that never
// answered) the call is not run and the next call tries again. When a call
// broke the pipe to the module host (the host died or closed mid-call), the
// channel forgets the proxy and its handle as soon as that call ends, so the
// next call starts a new host instead of failing on the dead pipe for ever.
// A module loaded in-process never breaks and is kept until the channel goes.
//
// Calls are serialised by the channel's own lock: the pipe has no framing to
// match replies, and a module may not expect two calls at once on one
// handle. The lock is held while the module runs, so it must be taken with no
// other lock of the library held (the caller's context lock included);
// nothing else is ever taken under it.
#pragma once

#include <cstdint>
#include <functional>
#include <memory>
#include <string>

#include "platform/settings_store.h"
#include "platform/thread_annotations.h"

namespace vantrel {
class DriverDLLProxy;
}

namespace vantrel::printers {

class DriverChannel {
 public:
  // Reaches the module that the printer's data value "Kesto Interface V3"
  // (else "Kesto Interface") names.
  DriverChannel();
  // Reaches the module at `module_path` whatever the printer's data says.
  // `store` holds the machine setting that asks for driver isolation; null
  // means the process's store.
  DriverChannel(std::string module_path, platform::SettingsStore* store);
  // Closes the driver handle (one more call into the module) and frees the
  // module or ends the pipe. Blocks while the module closes.
  ~DriverChannel();
  DriverChannel(const DriverChannel&) = delete;
  DriverChannel& operator=(const DriverChannel&) = delete;

  using Call = std::function<void(DriverDLLProxy& proxy, uint64_t handle)>;

  // Runs `call` with the open proxy and the driver's handle for
  // `printer_name`, opening them first when needed. True when `call` ran;
  // false when the module could not be had (`call` did not run). Blocks
  // while another thread's call runs, while the module host starts (up to
  // 10 s) and while the module works. Throws what opening the module throws
  // (OException "Internal STOP() issued." for a version that cannot be
  // read) and what `call` throws; either leaves the channel closed, to be
  // opened again by the next call. Any thread, holding no lock of ours.
  bool Run(const std::string& printer_name, const Call& call) EXCLUDES(mutex_);

  // Whether the channel holds an open module now, and whether it reaches it
  // through the module host. For reports and tests; any thread.
  bool open() const EXCLUDES(mutex_);
  bool proxied() const EXCLUDES(mutex_);

 private:
  // Opens the proxy and the handle when there are none; false when the
  // module cannot be had (and nothing is kept).
  bool OpenLocked(const std::string& printer_name) REQUIRES(mutex_);
  void ForgetLocked() REQUIRES(mutex_);

  const std::string module_path_;  // empty: the printer's data names it
  platform::SettingsStore* const store_;

  // Held for each whole call into the module, never with another lock of
  // ours, and nothing else is taken under it.
  mutable Mutex mutex_;
  std::unique_ptr<DriverDLLProxy> proxy_ GUARDED_BY(mutex_);
  uint64_t handle_ GUARDED_BY(mutex_) = 0;
};

}  // namespace vantrel::printers
