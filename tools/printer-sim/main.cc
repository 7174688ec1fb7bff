// printer-sim: a simulated label printer for tests and the demo. A raw port
// that keeps each job, the driver's XPML service, and a control interface
// that changes the printer's answers while it runs.
#include <CLI/CLI.hpp>

#include <atomic>
#include <chrono>
#include <csignal>
#include <cstdio>
#include <optional>
#include <string>
#include <thread>

#include "platform/tcp_socket.h"
#include "printer-sim/sim_server.h"
#include "support/registry.h"

namespace {

volatile std::sig_atomic_t signalled = 0;
std::atomic<bool> stdin_closed{false};

extern "C" void OnStopSignal(int) { signalled = 1; }

// Where clients of this computer look for the local route's port.
constexpr const char* kLocalRoutePortPath = "LOCAL:XPML/Local Port";

// Publishes the local route in the settings store (VANTREL_HOME) for as long
// as the simulator runs.
class PublishedLocalRoute {
 public:
  explicit PublishedLocalRoute(uint16_t port) {
    if (const long error = vantrel::ORegistry().WriteDword(kLocalRoutePortPath, port)) {
      std::fprintf(stderr, "printer-sim: cannot publish the local route: error %ld\n", error);
    }
  }
  ~PublishedLocalRoute() { vantrel::ORegistry().DeleteValue(kLocalRoutePortPath); }
};

// Reads standard input away until it ends; the caller then stops, so a test
// that dies does not leave the simulator running.
void WatchStandardInput() {
  std::thread([] {
    char buffer[256];
    while (std::fread(buffer, 1, sizeof(buffer), stdin) > 0) {
    }
    stdin_closed = true;
  }).detach();
}

}  // namespace

int main(int argc, char** argv) {
  CLI::App app{"printer-sim: a simulated label printer (raw port, XPML service, control)"};
  vantrel::sim::ServerOptions options;
  int control_port = -1;
  bool exit_on_stdin_eof = false;
  app.add_option("--raw-port", options.raw_port, "Raw job port (0: a free port)")->required();
  app.add_option("--xpml-port", options.xpml_port, "XPML service port (0: a free port)")
      ->required();
  app.add_option("--control-port", control_port, "Control interface port (0: a free port)")
      ->check(CLI::Range(0, 65535));
  app.add_option("--listen", options.address, "Numeric address to listen on (\"\": all)");
  app.add_option("--jobs-dir", options.jobs_folder, "Also write each job into this folder")
      ->check(CLI::ExistingDirectory);
  app.add_flag("--exit-on-stdin-eof", exit_on_stdin_eof, "Stop when standard input closes");
  app.add_flag(
      "--local-route", options.local_route,
      "Also serve XPML on a loopback port published as " + std::string(kLocalRoutePortPath));
  CLI11_PARSE(app, argc, argv);
  options.control = control_port >= 0;
  if (options.control) options.control_port = static_cast<uint16_t>(control_port);
  const bool picked = options.raw_port == 0 || options.xpml_port == 0 ||
                      (options.control && options.control_port == 0) || options.local_route;

  vantrel::sim::Server server(options);
  if (const long error = server.Start(); error != 0) {
    std::fprintf(stderr, "printer-sim: cannot listen: %s\n",
                 vantrel::platform::SocketErrorText(error).c_str());
    return 1;
  }
  std::optional<PublishedLocalRoute> published;
  if (options.local_route) published.emplace(server.local_route_port());
  std::signal(SIGTERM, OnStopSignal);
  std::signal(SIGINT, OnStopSignal);
  if (exit_on_stdin_eof) WatchStandardInput();
  if (picked) {
    std::printf("ports raw=%u xpml=%u", server.raw_port(), server.xpml_port());
    if (options.control) std::printf(" control=%u", server.control_port());
    if (options.local_route) std::printf(" local=%u", server.local_route_port());
    std::printf("\n");
  }
  std::printf("ready\n");
  std::fflush(stdout);
  while (!signalled && !(exit_on_stdin_eof && stdin_closed)) {
    std::this_thread::sleep_for(std::chrono::milliseconds(50));
  }
  server.Stop();
  return 0;
}
