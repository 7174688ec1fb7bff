// An XPML service on loopback for unit tests, a thread per connection: answers each request
// with what `reply` returns for it (raw bytes: status line, fields, body),
// and may close the connection after each reply. Counts connections and
// keeps every request.
#pragma once

#include <atomic>
#include <functional>
#include <string>
#include <thread>
#include <vector>

#include "platform/tcp_socket.h"
#include "platform/thread_annotations.h"
#include "support/http_message.h"

namespace vantrel::testing {

// A loopback port nobody listens on: connections are refused at once, as by
// a service that was killed.
uint16_t ClosedLoopbackPort();

class FakeXpmlService {
 public:
  using Reply = std::function<std::string(const HttpMessage& request)>;
  explicit FakeXpmlService(Reply reply, bool close_after_reply = false);
  ~FakeXpmlService();
  uint16_t port() const { return port_; }
  int connections() const { return connections_.load(); }
  std::vector<HttpMessage> requests() const;

 private:
  void Serve();
  // False when the connection is to be closed.
  bool ServeOne(platform::SocketHandle connection);

  const Reply reply_;
  const bool close_after_reply_;
  platform::SocketHandle listener_ = platform::kInvalidSocket;
  uint16_t port_ = 0;
  std::atomic<bool> stop_{false};
  std::atomic<int> connections_{0};
  mutable Mutex mutex_;
  std::vector<HttpMessage> requests_ GUARDED_BY(mutex_);
  std::thread thread_;                           // accepts
  std::vector<std::thread> connection_threads_;  // only the accepting thread adds
};

// A "200" reply carrying `body`, as the service sends it.
std::string XpmlOk(std::string_view body);

}  // namespace vantrel::testing
