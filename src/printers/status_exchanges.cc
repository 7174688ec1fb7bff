#include "printers/status_exchanges.h"

#include <atomic>

#include "platform/clock.h"
#include "support/registry.h"

namespace vantrel::printers {
namespace {

std::atomic<const StatusExchangeHooks*> hooks_for_testing{nullptr};

StatusExchangeHooks CurrentHooks() {
  const StatusExchangeHooks* hooks = hooks_for_testing.load();
  return hooks ? *hooks : StatusExchangeHooks{};
}

// One client for every printer of the process, so that the connections to a
// service are kept and shared.
std::shared_ptr<ClientUtility> ProcessClient() {
  static const auto client = std::make_shared<ClientUtility>();
  return client;
}

}  // namespace

void SetStatusExchangeHooksForTesting(const StatusExchangeHooks* hooks) {
  hooks_for_testing.store(hooks);
}

AdvancedDriverInterface::StatusExchanges::StatusExchanges() : StatusExchanges(CurrentHooks()) {}

AdvancedDriverInterface::StatusExchanges::StatusExchanges(const StatusExchangeHooks& hooks)
    : client_(hooks.client ? hooks.client : ProcessClient()),
      clock_(hooks.clock ? hooks.clock : platform::TickCount64),
      store_(hooks.store) {}

bool AdvancedDriverInterface::StatusExchanges::IsMonitoringOn() {
  const uint64_t now = clock_();
  {
    MutexLock hold(mutex_);
    if (monitoring_read_at_ && now - *monitoring_read_at_ < kMonitoringCacheMs) return monitoring_;
  }
  // Read outside the lock: two threads may both read, and either answer is
  // current.
  const bool on = ReadMonitoringSetting();
  MutexLock hold(mutex_);
  monitoring_ = on;
  monitoring_read_at_ = now;
  return on;
}

bool AdvancedDriverInterface::StatusExchanges::ReadMonitoringSetting() const {
  PrinterRegistry registry(printer_.printer, printer_.server, {}, {}, 0, store_);
  const std::optional<uint32_t> mode = registry.ReadDword(kMonitoringModePath);
  return !mode || *mode != 0;
}

std::optional<std::string> AdvancedDriverInterface::StatusExchanges::Send(
    std::string_view request) {
  return client_->SendReceive(printer_, request);
}

std::optional<std::string> AdvancedDriverInterface::StatusExchanges::Ask(std::string_view request) {
  if (!IsMonitoringOn()) return std::nullopt;
  return Send(request);
}

std::shared_ptr<AdvancedDriverInterface::StatusExchanges>
AdvancedDriverInterface::MakeStatusExchanges() {
  return std::make_shared<StatusExchanges>();
}

}  // namespace vantrel::printers
