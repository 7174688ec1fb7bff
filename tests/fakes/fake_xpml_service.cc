#include "fakes/fake_xpml_service.h"

#include "platform/win32_errors.h"

namespace vantrel::testing {

uint16_t ClosedLoopbackPort() {
  platform::SocketHandle listener;
  uint16_t port = 0;
  if (platform::ListenSocket("127.0.0.1", 0, &listener, &port) != 0) return 0;
  platform::CloseSocket(listener);
  return port;
}

FakeXpmlService::FakeXpmlService(Reply reply, bool close_after_reply)
    : reply_(std::move(reply)), close_after_reply_(close_after_reply) {
  // A failed listen leaves port 0, which no client reaches: the test fails there.
  platform::IgnoreResult(platform::ListenSocket("127.0.0.1", 0, &listener_, &port_));
  thread_ = std::thread([this] { Serve(); });
}

FakeXpmlService::~FakeXpmlService() {
  stop_ = true;
  thread_.join();
  for (std::thread& connection : connection_threads_) connection.join();
  platform::CloseSocket(listener_);
}

std::vector<HttpMessage> FakeXpmlService::requests() const {
  MutexLock hold(mutex_);
  return requests_;
}

void FakeXpmlService::Serve() {
  while (!stop_) {
    platform::SocketHandle connection;
    if (platform::AcceptSocket(listener_, 50, &connection) != 0) continue;
    ++connections_;
    // Each connection on its own thread, as a real service serves clients
    // that hold several connections at once.
    connection_threads_.emplace_back([this, connection] {
      while (!stop_ && ServeOne(connection)) {
      }
      platform::CloseSocket(connection);
    });
  }
}

bool FakeXpmlService::ServeOne(platform::SocketHandle connection) {
  HttpMessageReader reader;
  char buffer[4096];
  while (reader.state() == HttpMessageReader::State::kNeedMore) {
    size_t got = 0;
    const long error = platform::ReceiveSome(connection, buffer, sizeof(buffer), 50, &got);
    if (error == platform::kWsaTimedOut && !stop_) continue;
    if (error != 0 || got == 0) return false;
    reader.Feed(std::string_view(buffer, got));
  }
  if (reader.state() != HttpMessageReader::State::kComplete) return false;
  {
    MutexLock hold(mutex_);
    requests_.push_back(reader.message());
  }
  // A client that left early is the test's to notice, not the service's.
  platform::IgnoreResult(platform::SendAll(connection, reply_(reader.message()), 1000));
  return !close_after_reply_;
}

std::string XpmlOk(std::string_view body) { return FormatHttpReply(200, {{"TID", "t-9"}}, body); }

}  // namespace vantrel::testing
