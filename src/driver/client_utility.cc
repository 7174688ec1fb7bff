#include "driver/client_utility.h"

#include <map>
#include <memory>

#include "platform/registry_value.h"
#include "support/event_log.h"
#include "support/http_message.h"
#include "support/registry.h"

namespace vantrel {

namespace {

// A boolean setting is present only as exactly one byte.
bool ReadBool(PrinterRegistry& registry, std::string_view path, bool fallback) {
  platform::RegistryValue value;
  if (registry.ReadValue(path, &value) != 0 || value.data.size() != 1) return fallback;
  return value.data[0] != 0;
}

// A numeric setting is present only as exactly four bytes.
std::optional<uint32_t> ReadNumber(PrinterRegistry& registry, std::string_view path) {
  platform::RegistryValue value;
  if (registry.ReadValue(path, &value) != 0 || value.data.size() != 4) return std::nullopt;
  return value.data[0] | (value.data[1] << 8) | (value.data[2] << 16) |
         (static_cast<uint32_t>(value.data[3]) << 24);
}

PrinterRegistry RegistryFor(const XpmlPrinterContext& context, platform::SettingsStore* store) {
  return PrinterRegistry(context.printer, context.server, {}, {}, 0, store);
}

}  // namespace

struct ClientUtility::Settings {
  bool enabled = true;
  std::string host;
  uint32_t port = 0;
  std::optional<uint32_t> local_port;  // published by a service on this computer
  uint32_t retries = kDefaultConnectionRetries;
  uint32_t timeout_ms = kDefaultConnectionTimeoutMs;
};

// The settings last read for each printer, with the store's change stamp and
// the discovered port they were read under.
class ClientUtility::SettingsMemo {
 public:
  std::optional<Settings> Find(const std::string& key, uint64_t stamp,
                               const std::optional<uint32_t>& discovered) {
    MutexLock hold(mutex_);
    const auto found = entries_.find(key);
    if (found == entries_.end() || found->second.stamp != stamp ||
        found->second.discovered != discovered)
      return std::nullopt;
    return found->second.settings;
  }

  void Keep(const std::string& key, uint64_t stamp, const std::optional<uint32_t>& discovered,
            const Settings& settings) {
    MutexLock hold(mutex_);
    if (entries_.size() >= kMostPrinters && entries_.count(key) == 0) entries_.clear();
    entries_[key] = Entry{stamp, discovered, settings};
  }

 private:
  static constexpr size_t kMostPrinters = 256;
  struct Entry {
    uint64_t stamp;
    std::optional<uint32_t> discovered;
    Settings settings;
  };
  Mutex mutex_;
  std::map<std::string, Entry> entries_ GUARDED_BY(mutex_);
};

ClientUtility::ClientUtility(std::shared_ptr<TCPSocketManager> manager,
                             platform::SettingsStore* store, Hooks hooks)
    : manager_(manager ? std::move(manager) : TCPSocketManager::Process()),
      store_(store),
      hooks_(std::move(hooks)),
      memo_(std::make_unique<SettingsMemo>()) {}

ClientUtility::~ClientUtility() = default;

void ClientUtility::Log(uint32_t level, const std::string& line) const {
  if (hooks_.log) {
    hooks_.log(level, line);
    return;
  }
  static OEventLogBase* log = [] {
    auto* created = new OEventLogBase(kLogName);  // lives as long as the process
    created->LoadMask();
    return created;
  }();
  log->Write(level, line);
}

std::string ClientUtility::last_transaction_id() const {
  MutexLock hold(mutex_);
  return last_transaction_id_;
}

ClientUtility::Settings ClientUtility::ReadSettings(const XpmlPrinterContext& context) {
  // The spooler is asked before the cross-process mutex is taken: a slow
  // scheduler must not hold up every process's settings.
  const std::optional<uint32_t> discovered = DiscoveredPort(context);
  platform::SettingsStore& store = store_ ? *store_ : platform::DefaultSettingsStore();
  // Read before the settings, so a change made while they are read shows
  // as a new stamp next time.
  const std::optional<uint64_t> stamp = store.ChangeStamp();
  // A port that discovery did not find is logged at every exchange, so
  // that exchange reads anew.
  const bool rememberable = stamp && (discovered || !DiscoversPort(context));
  const std::string key =
      context.printer + '\n' + context.server + '\n' + (context.network_printer ? "1" : "0");
  if (rememberable) {
    if (std::optional<Settings> remembered = memo_->Find(key, *stamp, discovered))
      return *remembered;
  }
  Settings settings = ReadSettingsFromStore(context, discovered);
  if (rememberable) memo_->Keep(key, *stamp, discovered, settings);
  return settings;
}

ClientUtility::Settings ClientUtility::ReadSettingsFromStore(
    const XpmlPrinterContext& context, const std::optional<uint32_t>& discovered) {
  Settings settings;
  PrinterRegistry registry = RegistryFor(context, store_);
  // One hold of the cross-process mutex for all the reads of an exchange.
  PrinterRegistry::Batch batch(registry);
  settings.enabled = ReadBool(
      registry, context.network_printer ? "NETWORK:Network Communication" : "NETWORK:TCP Enabled",
      true);
  settings.retries =
      ReadNumber(registry, "NETWORK:Connection Retries").value_or(kDefaultConnectionRetries);
  settings.timeout_ms =
      ReadNumber(registry, "NETWORK:Connection Timeout").value_or(kDefaultConnectionTimeoutMs);
  // The service runs beside the spooler that holds the printer.
  settings.host = context.server.empty() ? "localhost" : context.server;
  if (ReadBool(registry, "NETWORK:Server Address Override", false)) {
    if (auto address = registry.ReadString("NETWORK:Server Address")) settings.host = *address;
  }
  if (!ReadBool(registry, "NETWORK:Network Bidirectional", true)) settings.host = "localhost";
  // Only this computer's printers can discover their service's port; the
  // service of another server is reached on its configured TCP port.
  settings.port = DiscoversPort(context)
                      ? RefactoredPort(registry, discovered)
                      : ReadNumber(registry, "NETWORK:TCP Port").value_or(kDefaultTcpPort);
  if (!context.network_printer) settings.local_port = ReadNumber(registry, kLocalRoutePortPath);
  return settings;
}

bool ClientUtility::DiscoversPort(const XpmlPrinterContext& context) {
  return !context.network_printer && context.server.empty();
}

std::optional<uint32_t> ClientUtility::DiscoveredPort(const XpmlPrinterContext& context) const {
  if (!DiscoversPort(context)) return std::nullopt;
  return ReadPrinterDataPort(context);
}

uint32_t ClientUtility::GetRefactoredTcpPortNumber(const XpmlPrinterContext& context) {
  const std::optional<uint32_t> discovered = DiscoveredPort(context);
  PrinterRegistry registry = RegistryFor(context, store_);
  PrinterRegistry::Batch batch(registry);
  return RefactoredPort(registry, discovered);
}

uint32_t ClientUtility::RefactoredPort(PrinterRegistry& registry,
                                       const std::optional<uint32_t>& found) {
  static constexpr const char* kFunction = "ClientUtility::GetRefactoredTcpPortNumber: ";
  const std::optional<uint32_t> stored = ReadNumber(registry, "NETWORK:XPML Server Port");
  if (!found) {
    const uint32_t port = stored.value_or(kDefaultXpmlServerPort);
    Log(kLogWarnings, std::string(kFunction) +
                          "Unable to retrieve the XPML port number.  Defaulting to " +
                          std::to_string(port));
    return port;
  }
  if (found != stored) {
    const long error =
        registry.WriteValue("NETWORK:XPML Server Port", platform::MakeDwordValue(*found));
    if (error != 0) {
      Log(kLogErrors, std::string(kFunction) +
                          "Unable to save the new XPML port number : " + std::to_string(error));
    }
  }
  return *found;
}

// The value is read into four bytes, so a longer one (a port written as text
// with its terminator) does not count; a shorter one is zero-extended.
std::optional<uint32_t> ClientUtility::ReadPrinterDataPort(
    const XpmlPrinterContext& context) const {
  platform::SpoolerPrinter* printer = context.handle;
  std::unique_ptr<platform::SpoolerPrinter> opened;
  if (printer == nullptr) {
    platform::Spooler& spooler = hooks_.spooler ? *hooks_.spooler : platform::DefaultSpooler();
    if (spooler.Open(context.printer, platform::kPrinterAccessUse, &opened) != 0)
      return std::nullopt;
    printer = opened.get();
  }
  uint32_t type = 0;
  std::vector<uint8_t> data;
  if (printer->GetData("XPML Server Port", &type, &data) != 0) return std::nullopt;
  if (type < platform::kRegSz || type > platform::kRegDword || data.size() > 4) {
    return std::nullopt;
  }
  uint32_t port = 0;
  for (size_t i = 0; i < data.size(); ++i) port |= static_cast<uint32_t>(data[i]) << (8 * i);
  return port;
}

std::string ClientUtility::BuildRequest(const XpmlPrinterContext& context, std::string_view xpml) {
  uint32_t transaction;
  {
    MutexLock hold(mutex_);
    transaction = next_transaction_++;
  }
  const std::string target = "/xpml?persist=1&transactid=" + std::to_string(transaction) +
                             "&share=" + (context.network_printer ? "1" : "0") +
                             "&printer=" + PercentEncode(context.printer);
  return FormatHttpRequest("POST", target, {}, xpml);
}

std::optional<std::string> ClientUtility::SendReceive(const XpmlPrinterContext& context,
                                                      std::string_view xpml, int* route) {
  if (route != nullptr) *route = kNoRoute;
  const Settings settings = ReadSettings(context);
  const std::string request = BuildRequest(context, xpml);
  std::optional<std::string> reply;
  if (settings.enabled) reply = Exchange(settings.host, settings.port, settings, request);
  if (reply) {
    if (route != nullptr) *route = kTcpRoute;
    return reply;
  }
  // The local route: the service on this computer at the loopback port it
  // published, whatever the TCP route's switch and address say.
  if (!settings.local_port) return std::nullopt;
  reply = Exchange(kLoopbackAddress, *settings.local_port, settings, request);
  if (reply && route != nullptr) *route = kLocalRoute;
  return reply;
}

std::optional<std::string> ClientUtility::Exchange(const std::string& host, uint32_t port,
                                                   const Settings& settings,
                                                   const std::string& request) {
  // A kept connection may have been closed by the service since its last
  // use without the probe seeing it yet: one more try on a new connection.
  for (int round = 0; round < 2; ++round) {
    TCPSocketWithReUse socket(manager_);
    if (socket.Connect(host, port, settings.timeout_ms, settings.retries) != 0) {
      return std::nullopt;
    }
    socket.SetSendTimeout(kXpmlReplyTimeoutMs);
    socket.SetReceiveTimeout(kXpmlReplyTimeoutMs);
    HttpMessageReader reader;
    long error = socket.Send(request);
    char buffer[16384];
    bool replied = false;  // any byte of a reply arrived
    while (error == 0 && reader.state() == HttpMessageReader::State::kNeedMore) {
      size_t received = 0;
      error = socket.Receive(buffer, sizeof(buffer), &received);
      if (error != 0) break;
      if (received == 0) {
        reader.Finish();
        break;
      }
      replied = true;
      reader.Feed(std::string_view(buffer, received));
    }
    if (reader.state() == HttpMessageReader::State::kComplete) {
      const HttpMessage& reply = reader.message();
      const bool keep =
          reply.Field("Connection") != "close" && !reply.Field("Content-Length").empty();
      if (keep) {
        socket.Finish();
      } else {
        socket.Abandon();
      }
      if (reply.start[1] != "200") return std::nullopt;
      {
        MutexLock hold(mutex_);
        last_transaction_id_ = reply.Field("TID");
      }
      return reply.body;
    }
    // Only a kept connection that ended before any reply came is retried: the
    // service closed it unseen. Once part of a reply came, the service took
    // the request, and sending it again could repeat an action.
    const bool retry = socket.reused() && !replied && error != platform::kWsaTimedOut;
    socket.Abandon();
    if (!retry) return std::nullopt;
  }
  return std::nullopt;
}

}  // namespace vantrel
