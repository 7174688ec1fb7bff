#include "fakes/loopback_server.h"

namespace vantrel::testing {

LoopbackServer::LoopbackServer(bool close_on_accept) : close_on_accept_(close_on_accept) {
  // A failed listen leaves port 0, which no client reaches: the test fails there.
  platform::IgnoreResult(platform::ListenSocket("127.0.0.1", 0, &listener_, &port_));
  thread_ = std::thread([this] { Serve(); });
}

LoopbackServer::~LoopbackServer() {
  stop_ = true;
  thread_.join();
  CloseAccepted();
  platform::CloseSocket(listener_);
}

void LoopbackServer::CloseAccepted() {
  MutexLock hold(mutex_);
  for (platform::SocketHandle socket : open_) platform::CloseSocket(socket);
  open_.clear();
}

void LoopbackServer::Serve() {
  while (!stop_) {
    platform::SocketHandle connection = platform::kInvalidSocket;
    if (platform::AcceptSocket(listener_, 50, &connection) != 0) continue;
    ++accepted_;
    if (close_on_accept_) {
      platform::CloseSocket(connection);
      continue;
    }
    MutexLock hold(mutex_);
    open_.push_back(connection);
  }
}

}  // namespace vantrel::testing
