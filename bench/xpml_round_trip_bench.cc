// One "Status Flags 2" request through the XPML client to a service on
// loopback:
// - over a kept connection against a new connection per request (the service
//   answers "Connection: close", so the client must connect again): what
//   keeping connections saves;
// - over a kept connection against the bare exchange of the same bytes on a
//   kept socket: what the client itself costs (settings read at every
//   exchange, the pool, the envelope) above the physical floor.
#include <benchmark/benchmark.h>

#include "bare_exchange.h"

#include <atomic>
#include <cstdlib>
#include <filesystem>
#include <memory>
#include <string>
#include <thread>
#include <vector>

#include "driver/client_utility.h"
#include "driver/xpml_encoding.h"
#include "platform/registry_value.h"
#include "platform/tcp_socket.h"
#include "support/http_message.h"
#include "support/registry.h"

namespace {

using namespace vantrel;

// Answers every request with a fixed state reply; one thread per connection.
class StateService {
 public:
  explicit StateService(bool close_each) : close_each_(close_each) {
    if (platform::ListenSocket("127.0.0.1", 0, &listener_, &port_) != 0) std::abort();
    acceptor_ = std::thread([this] { Accept(); });
  }
  ~StateService() {
    stop_ = true;
    acceptor_.join();
    for (std::thread& connection : connections_) connection.join();
    platform::CloseSocket(listener_);
  }
  uint16_t port() const { return port_; }

 private:
  void Accept() {
    while (!stop_) {
      platform::SocketHandle connection = platform::kInvalidSocket;
      if (platform::AcceptSocket(listener_, 50, &connection) != 0) continue;
      connections_.emplace_back([this, connection] { Serve(connection); });
    }
  }
  void Serve(platform::SocketHandle connection) {
    HttpFields fields{{"TID", "1"}};
    if (close_each_) fields.emplace_back("Connection", "close");
    const std::string reply = FormatHttpReply(200, fields, "1;16;3");
    HttpMessageReader reader;
    char buffer[4096];
    while (!stop_) {
      size_t received = 0;
      const long error = platform::ReceiveSome(connection, buffer, sizeof(buffer), 50, &received);
      if (error == platform::kWsaTimedOut) continue;
      if (error != 0 || received == 0) break;
      if (reader.Feed(std::string_view(buffer, received)) != HttpMessageReader::State::kComplete) {
        continue;
      }
      if (platform::SendAll(connection, reply, 1000) != 0 || close_each_) break;
      reader = HttpMessageReader();
    }
    platform::CloseSocket(connection);
  }

  const bool close_each_;
  platform::SocketHandle listener_ = platform::kInvalidSocket;
  uint16_t port_ = 0;
  std::atomic<bool> stop_{false};
  std::vector<std::thread> connections_;  // only the acceptor and the destructor touch it
  std::thread acceptor_;
};

// A printer shared from another server: no spooler lookup; the service is
// on its configured TCP port.
const XpmlPrinterContext kContext{"Bench", {}, true};

std::filesystem::path FreshFolder() {
  const auto folder = std::filesystem::temp_directory_path() / "vantrel-bench-xpml";
  std::filesystem::remove_all(folder);
  return folder;
}

void RoundTrips(benchmark::State& state, bool close_each) {
  const auto folder = FreshFolder();
  auto store = platform::OpenSettingsStoreAt(folder.string());
  StateService service(close_each);
  PrinterRegistry(kContext.printer, {}, {}, {}, 0, store.get())
      .WriteValue("NETWORK:TCP Port", platform::MakeDwordValue(service.port()));
  ClientUtilityHooks hooks;
  hooks.log = [](uint32_t, const std::string&) {};
  TCPSocketManagerHooks manager_hooks = TCPSocketManagerHooks::Platform();
  manager_hooks.log = nullptr;
  ClientUtility client(TCPSocketManager::Create(manager_hooks), store.get(), hooks);
  for (auto _ : state) {
    if (!client.SendReceive(kContext, kStateRequestStatusFlags2)) std::abort();
  }
  std::filesystem::remove_all(folder);
}

// The same request bytes the client sends, on one kept socket, the reply
// read and framed as the client does: the floor for an exchange.
void BM_BareHttpExchangeOverKeptConnection(benchmark::State& state) {
  StateService service(false);
  const platform::SocketHandle socket = bench::ConnectOrAbort(service.port());
  const std::string request = FormatHttpRequest(
      "POST", "/xpml?persist=1&transactid=1&share=1&printer=Bench", {}, kStateRequestStatusFlags2);
  for (auto _ : state) benchmark::DoNotOptimize(bench::BareExchange(socket, request));
  platform::CloseSocket(socket);
}
BENCHMARK(BM_BareHttpExchangeOverKeptConnection)->Unit(benchmark::kMicrosecond);

void BM_StateRequestOverKeptConnection(benchmark::State& state) { RoundTrips(state, false); }
BENCHMARK(BM_StateRequestOverKeptConnection)->Unit(benchmark::kMicrosecond);

void BM_StateRequestOverNewConnection(benchmark::State& state) { RoundTrips(state, true); }
BENCHMARK(BM_StateRequestOverNewConnection)->Unit(benchmark::kMicrosecond);

}  // namespace

BENCHMARK_MAIN();
