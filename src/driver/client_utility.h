// Carries one XPML text to a printer driver's local service and returns the
// reply: an HTTP/1.1 POST to "/xpml" over a kept connection of the
// TCPSocketManager. The connection settings are read through PrinterRegistry
// and remembered per printer with the settings store's change stamp, so a
// change made by any process applies to the next exchange while an unchanged
// store costs no read at all.
#pragma once

#include <cstdint>
#include <functional>
#include <memory>
#include <optional>
#include <string>
#include <string_view>

#include "driver/tcp_socket_manager.h"
#include "platform/settings_store.h"
#include "platform/spooler.h"
#include "platform/thread_annotations.h"

namespace vantrel {

class PrinterRegistry;

// The printer an exchange is for.
struct XpmlPrinterContext {
  std::string printer;           // the printer's name
  std::string server;            // empty for this computer
  bool network_printer = false;  // a connection to a printer shared by another server
  // The printer already open, where its data value "XPML Server Port" is
  // read; null: the printer is opened for each exchange. Must outlive the
  // exchange.
  platform::SpoolerPrinter* handle = nullptr;
};

// Defaults of the settings under "NETWORK:".
constexpr uint32_t kDefaultTcpPort = 6160;
constexpr uint32_t kDefaultConnectionRetries = 2;
constexpr uint32_t kDefaultConnectionTimeoutMs = 1000;
constexpr uint32_t kDefaultXpmlServerPort = 5130;
// How long a reply may take once the request is sent.
constexpr uint32_t kXpmlReplyTimeoutMs = 30000;
// Where a service on this computer publishes the loopback port of its local
// route (a 4-byte value under the machine's driver key).
constexpr const char* kLocalRoutePortPath = "LOCAL:XPML/Local Port";
constexpr const char* kLoopbackAddress = "127.0.0.1";

// What a test replaces; empty members mean the process's own.
struct ClientUtilityHooks {
  // Where a local printer's data value "XPML Server Port" is read. Null:
  // the process's spooler.
  platform::Spooler* spooler = nullptr;
  // Receives event lines. Null: the log "Marlock Client Utility V3".
  std::function<void(uint32_t level, const std::string& line)> log;
};

class ClientUtility {
 public:
  static constexpr const char* kLogName = "Marlock Client Utility V3";

  using Hooks = ClientUtilityHooks;

  // A null manager means the process's; a null store the process's store.
  explicit ClientUtility(std::shared_ptr<TCPSocketManager> manager = nullptr,
                         platform::SettingsStore* store = nullptr, Hooks hooks = {});
  ~ClientUtility();

  // Which route answered an exchange.
  static constexpr int kNoRoute = 0;
  static constexpr int kTcpRoute = 1;
  static constexpr int kLocalRoute = 2;

  // Sends `xpml` and returns the reply body. The TCP route comes first: the
  // configured server and port, unless its switch is off. When it yields
  // nothing and the printer is not a connection to another server's printer,
  // the local route follows: the service of this computer on the loopback
  // port it published (kLocalRoutePortPath), if it did. Nothing when neither
  // route gave a complete "200" answer within the configured attempts,
  // time-outs and bounds. `route`, when given, is set to the route that
  // answered or kNoRoute. Blocks for the exchange; any thread.
  std::optional<std::string> SendReceive(const XpmlPrinterContext& context, std::string_view xpml,
                                         int* route = nullptr);

  // The service's port: "NETWORK:XPML Server Port" (5130 when absent),
  // replaced by the printer's own "XPML Server Port" data value when it has
  // one, which is then stored. Only a printer of this computer has such a
  // value; the TCP route of any other uses "NETWORK:TCP Port" (6160 when
  // absent) instead. Blocks on the store and spooler; any thread.
  uint32_t GetRefactoredTcpPortNumber(const XpmlPrinterContext& context);

  // The transaction id the service sent with the last reply ("TID").
  std::string last_transaction_id() const;

 private:
  struct Settings;
  class SettingsMemo;
  // The settings of an exchange: remembered ones while the store is
  // unchanged, else read anew.
  Settings ReadSettings(const XpmlPrinterContext& context);
  Settings ReadSettingsFromStore(const XpmlPrinterContext& context,
                                 const std::optional<uint32_t>& discovered);
  static bool DiscoversPort(const XpmlPrinterContext& context);
  // The printer's own "XPML Server Port" data value, for a printer of this
  // computer; asks the spooler.
  std::optional<uint32_t> DiscoveredPort(const XpmlPrinterContext& context) const;
  // The port to use given what discovery found, storing a new one; expects
  // the registry's mutex held.
  uint32_t RefactoredPort(PrinterRegistry& registry, const std::optional<uint32_t>& found);
  std::optional<std::string> Exchange(const std::string& host, uint32_t port,
                                      const Settings& settings, const std::string& request);
  std::string BuildRequest(const XpmlPrinterContext& context, std::string_view xpml);
  std::optional<uint32_t> ReadPrinterDataPort(const XpmlPrinterContext& context) const;
  void Log(uint32_t level, const std::string& line) const;

  const std::shared_ptr<TCPSocketManager> manager_;
  platform::SettingsStore* const store_;
  const Hooks hooks_;
  const std::unique_ptr<SettingsMemo> memo_;
  mutable Mutex mutex_;
  uint32_t next_transaction_ GUARDED_BY(mutex_) = 1;
  std::string last_transaction_id_ GUARDED_BY(mutex_);
};

}  // namespace vantrel
