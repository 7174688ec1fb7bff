// The simulated printer's listeners: the raw port (one connection, one job),
// the XPML service and the control interface. One thread per listener and
// one per connection; the state sits under one mutex, which is never held
// while a socket is written or a delay is waited out.
#pragma once

#include <atomic>
#include <cstdint>
#include <memory>
#include <mutex>
#include <string>
#include <thread>
#include <vector>

#include "platform/tcp_socket.h"
#include "printer-sim/sim_state.h"

namespace vantrel::sim {

struct ServerOptions {
  std::string address = "127.0.0.1";  // numeric; "" for every address
  uint16_t raw_port = 0;              // 0: a free port
  uint16_t xpml_port = 0;
  bool control = false;
  uint16_t control_port = 0;
  std::string jobs_folder;  // where each job is also written; empty: nowhere
  // Also serve the XPML service on a free loopback port: the local route a
  // client takes when its TCP route is off or fails.
  bool local_route = false;
};

class Server {
 public:
  explicit Server(ServerOptions options);
  // Stops and joins every thread.
  ~Server();

  // Opens the listeners and starts serving. 0, or the socket error of the
  // listener that could not be opened (nothing is served then). Main thread.
  long Start();
  // Stops listening, ends the connections within about 200 ms and joins
  // their threads. Idempotent; the thread that called Start.
  void Stop();

  uint16_t raw_port() const { return bound_[kRaw]; }
  uint16_t xpml_port() const { return bound_[kXpml]; }
  uint16_t control_port() const { return bound_[kControl]; }
  uint16_t local_route_port() const { return bound_[kLocalXpml]; }

 private:
  enum Service { kRaw, kXpml, kControl, kLocalXpml, kServices };

  void AcceptLoop(Service service, platform::SocketHandle listener);
  void Serve(Service service, platform::SocketHandle connection);
  void ServeRaw(platform::SocketHandle connection);
  void ServeHttp(Service service, platform::SocketHandle connection);
  void StoreJob(std::string bytes);
  void Pause(uint32_t ms) const;
  void ReapFinished();

  struct Connection {
    std::thread thread;
    std::atomic<bool> done{false};
  };

  const ServerOptions options_;
  std::atomic<bool> stopping_{false};
  platform::SocketHandle listeners_[kServices] = {
      platform::kInvalidSocket, platform::kInvalidSocket, platform::kInvalidSocket,
      platform::kInvalidSocket};
  uint16_t bound_[kServices] = {0, 0, 0, 0};
  std::vector<std::thread> accept_threads_;  // the Start/Stop thread only

  std::mutex connections_mutex_;
  std::vector<std::unique_ptr<Connection>> connections_;  // guarded by connections_mutex_

  std::mutex state_mutex_;
  SimState state_;  // guarded by state_mutex_
};

}  // namespace vantrel::sim
