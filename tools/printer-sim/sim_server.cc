#include "printer-sim/sim_server.h"

#include <algorithm>
#include <chrono>
#include <cstdio>
#include <fstream>

#include "printer-sim/sim_answer.h"
#include "printer-sim/sim_control.h"
#include "printer-sim/sim_request_reader.h"

namespace vantrel::sim {

namespace {

using platform::SocketHandle;

// How often idle loops look at the stop flag.
constexpr uint32_t kPollMs = 200;
// How long a reply may wait for the peer to take it.
constexpr uint32_t kSendTimeoutMs = 5000;
// Connections served at once; more are closed at once.
constexpr size_t kMaxConnections = 256;
// A job's bytes past this are not kept.
constexpr size_t kMaxJobBytes = 256u * 1024 * 1024;
const std::string kLoopback = "127.0.0.1";

}  // namespace

Server::Server(ServerOptions options) : options_(std::move(options)) {}

Server::~Server() { Stop(); }

long Server::Start() {
  const uint16_t wanted[kServices] = {options_.raw_port, options_.xpml_port, options_.control_port,
                                      0};
  for (int service = 0; service < kServices; ++service) {
    if (service == kControl && !options_.control) continue;
    if (service == kLocalXpml && !options_.local_route) continue;
    // The local route is this computer's only, whatever the other listeners use.
    const std::string& address = service == kLocalXpml ? kLoopback : options_.address;
    const long error =
        platform::ListenSocket(address, wanted[service], &listeners_[service], &bound_[service]);
    if (error != 0) {
      for (SocketHandle& listener : listeners_) {
        platform::CloseSocket(listener);
        listener = platform::kInvalidSocket;
      }
      return error;
    }
  }
  for (int service = 0; service < kServices; ++service) {
    if (listeners_[service] == platform::kInvalidSocket) continue;
    accept_threads_.emplace_back(&Server::AcceptLoop, this, static_cast<Service>(service),
                                 listeners_[service]);
  }
  return 0;
}

void Server::Stop() {
  stopping_ = true;
  for (std::thread& thread : accept_threads_) thread.join();
  accept_threads_.clear();
  for (SocketHandle& listener : listeners_) {
    platform::CloseSocket(listener);
    listener = platform::kInvalidSocket;
  }
  std::vector<std::unique_ptr<Connection>> connections;
  {
    MutexLock hold(connections_mutex_);
    connections.swap(connections_);
  }
  for (auto& connection : connections) connection->thread.join();
}

void Server::ReapFinished() {
  std::vector<std::unique_ptr<Connection>> finished;
  {
    MutexLock hold(connections_mutex_);
    auto done = std::stable_partition(connections_.begin(), connections_.end(),
                                      [](const auto& c) { return !c->done.load(); });
    std::move(done, connections_.end(), std::back_inserter(finished));
    connections_.erase(done, connections_.end());
  }
  for (auto& connection : finished) connection->thread.join();
}

void Server::AcceptLoop(Service service, SocketHandle listener) {
  while (!stopping_) {
    SocketHandle accepted = platform::kInvalidSocket;
    const long error = platform::AcceptSocket(listener, kPollMs, &accepted);
    if (error == platform::kWsaTimedOut) continue;
    if (error != 0) {
      Pause(kPollMs);  // a failing accept is not worth a busy loop
      continue;
    }
    ReapFinished();
    MutexLock hold(connections_mutex_);
    if (connections_.size() >= kMaxConnections) {
      platform::CloseSocket(accepted);
      continue;
    }
    auto connection = std::make_unique<Connection>();
    Connection* raw = connection.get();
    connection->thread = std::thread([this, service, accepted, raw] {
      Serve(service, accepted);
      raw->done = true;
    });
    connections_.push_back(std::move(connection));
  }
}

void Server::Serve(Service service, SocketHandle connection) {
  if (service == kRaw) {
    ServeRaw(connection);
  } else {
    ServeHttp(service, connection);
  }
  platform::CloseSocket(connection);
}

void Server::Pause(uint32_t ms) const {
  const auto until = std::chrono::steady_clock::now() + std::chrono::milliseconds(ms);
  while (!stopping_ && std::chrono::steady_clock::now() < until) {
    std::this_thread::sleep_for(std::chrono::milliseconds(std::min<uint32_t>(ms, 20)));
  }
}

void Server::ServeRaw(SocketHandle connection) {
  std::string job;
  std::vector<char> buffer(64 * 1024);
  while (true) {
    size_t received = 0;
    const long error =
        platform::ReceiveSome(connection, buffer.data(), buffer.size(), kPollMs, &received);
    if (error == platform::kWsaTimedOut) {
      if (stopping_) break;
      continue;
    }
    if (error != 0 || received == 0) break;
    job.append(buffer.data(), std::min(received, kMaxJobBytes - job.size()));
  }
  // A connection that sent nothing (a probe) is no job.
  if (!job.empty()) StoreJob(std::move(job));
}

void Server::StoreJob(std::string bytes) {
  size_t index = 0;
  std::string copy = options_.jobs_folder.empty() ? std::string() : bytes;
  {
    MutexLock hold(state_mutex_);
    index = state_.jobs.size();
    state_.jobs.push_back(std::move(bytes));
  }
  if (options_.jobs_folder.empty()) return;
  char name[32];
  std::snprintf(name, sizeof(name), "/job-%04zu.prn", index + 1);
  std::ofstream file(options_.jobs_folder + name, std::ios::binary | std::ios::trunc);
  file.write(copy.data(), static_cast<std::streamsize>(copy.size()));
  if (!file) {
    std::fprintf(stderr, "printer-sim: cannot write %s%s\n", options_.jobs_folder.c_str(), name);
  }
}

void Server::ServeHttp(Service service, SocketHandle connection) {
  RequestReader reader;
  char buffer[16384];
  while (true) {
    if (reader.state() == RequestReader::State::kNeedMore) {
      size_t received = 0;
      const long error =
          platform::ReceiveSome(connection, buffer, sizeof(buffer), kPollMs, &received);
      if (error == platform::kWsaTimedOut) {
        if (stopping_) return;
        continue;
      }
      if (error != 0 || received == 0) return;  // the peer went away between requests
      reader.Feed(std::string_view(buffer, received));
    }
    if (reader.state() == RequestReader::State::kFailed) {
      SimReply reply = LineReply(400, "malformed HTTP request");
      reply.fields.emplace_back("Connection", "close");
      // The connection closes next whether or not the peer got the reply.
      platform::IgnoreResult(platform::SendAll(connection, RenderReply(reply), kSendTimeoutMs));
      return;
    }
    if (reader.state() != RequestReader::State::kComplete) continue;
    SimReply reply;
    {
      MutexLock hold(state_mutex_);
      reply = service == kControl ? HandleControl(&state_, reader.request())
                                  : AnswerXpml(&state_, reader.request());
    }
    Pause(reply.fault.delay_ms);
    if (stopping_) return;
    const std::string bytes = RenderReply(reply);
    if (!bytes.empty() && platform::SendAll(connection, bytes, kSendTimeoutMs) != 0) return;
    if (ClosesAfter(reply)) return;
    reader.Next();
  }
}

}  // namespace vantrel::sim
