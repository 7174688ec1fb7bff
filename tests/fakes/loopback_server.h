// A TCP listener on 127.0.0.1 for socket tests: accepts connections on its own
// thread and either keeps them open or closes each at once.
#pragma once

#include <atomic>
#include <cstdint>
#include <mutex>
#include <thread>
#include <vector>

#include "platform/tcp_socket.h"
#include "platform/thread_annotations.h"

namespace vantrel::testing {

class LoopbackServer {
 public:
  explicit LoopbackServer(bool close_on_accept = false);
  ~LoopbackServer();
  uint16_t port() const { return port_; }
  int accepted() const { return accepted_.load(); }
  // Closes every connection accepted so far (their peers see the end).
  void CloseAccepted();

 private:
  void Serve();

  const bool close_on_accept_;
  platform::SocketHandle listener_ = platform::kInvalidSocket;
  uint16_t port_ = 0;
  std::atomic<bool> stop_{false};
  std::atomic<int> accepted_{0};
  Mutex mutex_;
  std::vector<platform::SocketHandle> open_ GUARDED_BY(mutex_);
  std::thread thread_;
};

}  // namespace vantrel::testing
