// What the advanced driver interface needs to ask a printer's driver service
// for its state: the XPML client, the printer's identity for it, and the
// monitoring switch with its cache.
//
// The monitoring switch is the driver setting
// "SETTINGS:Status/Status Monitoring Mode": absent means on, 0 means off,
// any other number on. It is re-read at most every 1000 ms.
#pragma once

#include <cstdint>
#include <functional>
#include <memory>
#include <optional>
#include <string>
#include <string_view>

#include "driver/client_utility.h"
#include "platform/thread_annotations.h"
#include "printers/advanced_driver_interface.h"

namespace vantrel::printers {

constexpr const char* kMonitoringModePath = "SETTINGS:Status/Status Monitoring Mode";
constexpr uint64_t kMonitoringCacheMs = 1000;

// What a status exchange takes from the process; empty members mean the
// process's own (one shared XPML client, the monotonic clock, the process's
// settings store).
struct StatusExchangeHooks {
  std::shared_ptr<ClientUtility> client;
  std::function<uint64_t()> clock;
  platform::SettingsStore* store = nullptr;
};

// Replaces the hooks of every interface made from now on, until called with
// null (tests only). The hooks must outlive the interfaces made with them.
void SetStatusExchangeHooksForTesting(const StatusExchangeHooks* hooks);

class AdvancedDriverInterface::StatusExchanges {
 public:
  // Takes the process's hooks of the moment, or the given ones.
  StatusExchanges();
  explicit StatusExchanges(const StatusExchangeHooks& hooks);

  // The printer the exchanges are for; set once, before any exchange.
  void SetPrinter(XpmlPrinterContext printer) { printer_ = std::move(printer); }

  // Whether monitoring is on: the cached answer when younger than 1000 ms,
  // else the setting read anew. Blocks on the settings store when it reads.
  // Any thread.
  bool IsMonitoringOn();

  // One exchange with the driver's service: the reply, or nothing when the
  // service is silent or the exchange failed. Takes no lock of ours. Any
  // thread.
  std::optional<std::string> Send(std::string_view request);
  // Send, when monitoring is on; nothing when it is off.
  std::optional<std::string> Ask(std::string_view request);

 private:
  bool ReadMonitoringSetting() const;

  const std::shared_ptr<ClientUtility> client_;
  const std::function<uint64_t()> clock_;
  platform::SettingsStore* const store_;
  XpmlPrinterContext printer_;  // set once by SetPrinter, then only read

  Mutex mutex_;  // the monitoring cache; never held while reading the setting
  bool monitoring_ GUARDED_BY(mutex_) = true;
  std::optional<uint64_t> monitoring_read_at_ GUARDED_BY(mutex_);
};

}  // namespace vantrel::printers
