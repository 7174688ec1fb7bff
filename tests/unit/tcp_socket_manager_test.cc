#include "driver/tcp_socket_manager.h"

#include <gtest/gtest.h>

#include <atomic>
#include <chrono>
#include <filesystem>
#include <fstream>
#include <mutex>
#include <random>
#include <sstream>
#include <string>
#include <thread>
#include <vector>

#include "fakes/loopback_server.h"
#include "platform/clock.h"
#include "platform/environment.h"
#include "platform/folders.h"
#include "support/event_log.h"
#include "support/exceptions.h"

namespace vantrel {
namespace {

// Real sockets on loopback; the clock, the closer's waits and the log are
// the test's.
class TcpSocketManagerTest : public ::testing::Test {
 protected:
  std::shared_ptr<TCPSocketManager> MakeManager(std::function<bool(uint32_t)> wait = nullptr) {
    TCPSocketManagerHooks hooks = TCPSocketManagerHooks::Platform();
    hooks.now = [this] { return clock_.load(); };
    // The log outlives the fixture: a closer may write its last line after
    // it has said it is no longer running.
    hooks.log = [log = log_](uint32_t, const std::string& line) {
      std::lock_guard<std::mutex> hold(log->mutex);
      log->lines.push_back(line);
    };
    hooks.wait = std::move(wait);
    managers_.push_back(TCPSocketManager::Create(std::move(hooks)));
    return managers_.back();
  }

  // The closers use the fixture through their hooks: let them end first.
  void TearDown() override {
    release_ = true;
    for (const auto& manager : managers_) {
      EXPECT_TRUE(WaitUntil([&] { return !manager->IsCloserRunning(); }));
    }
  }

  // Holds the closer in its first wait until the test ends.
  std::function<bool(uint32_t)> BlockingWait() {
    return [this](uint32_t) {
      while (!release_.load()) platform::SleepMilliseconds(5);
      return true;
    };
  }

  std::shared_ptr<TCPSocketEntry> Get(TCPSocketManager& manager, uint16_t port,
                                      bool* reused = nullptr) {
    long error = -1;
    auto entry = manager.GetSocketEntry("127.0.0.1", port, 0, 2000, &error, reused);
    EXPECT_EQ(error, 0);
    return entry;
  }

  std::vector<std::string> Log() {
    std::lock_guard<std::mutex> hold(log_->mutex);
    return log_->lines;
  }

  bool Logged(const std::string& prefix) {
    for (const std::string& line : Log()) {
      if (line.rfind(prefix, 0) == 0) return true;
    }
    return false;
  }

  static bool WaitUntil(const std::function<bool()>& done) {
    for (int i = 0; i < 400; ++i) {
      if (done()) return true;
      platform::SleepMilliseconds(10);
    }
    return done();
  }

  std::atomic<uint64_t> clock_{1000000};
  std::atomic<bool> release_{false};
  std::vector<std::shared_ptr<TCPSocketManager>> managers_;
  struct LogLines {
    std::mutex mutex;
    std::vector<std::string> lines;  // guarded by mutex
  };
  const std::shared_ptr<LogLines> log_ = std::make_shared<LogLines>();
};

TEST_F(TcpSocketManagerTest, SameThreadGetsItsIdleConnectionBack) {
  testing::LoopbackServer server;
  auto manager = MakeManager(BlockingWait());
  auto first = Get(*manager, server.port());
  ASSERT_TRUE(first);
  manager->MoveToIdle(first);
  EXPECT_EQ(manager->IdleCount(), 1u);
  bool reused = false;
  auto second = Get(*manager, server.port(), &reused);
  EXPECT_EQ(second, first);
  EXPECT_TRUE(reused);
  EXPECT_EQ(manager->IdleCount(), 0u);
  EXPECT_TRUE(WaitUntil([&] { return server.accepted() == 1; }));
  const std::string expected = "TCPSocketManager: Entry Re-Used. Id: " + first->IdText() +
                               ", Host:127.0.0.1, Port: " + std::to_string(server.port()) +
                               ", Retries: 0, ReUse Count:1";
  EXPECT_TRUE(Logged(expected)) << expected;
  EXPECT_TRUE(Logged("Created new Entry. Id: 0x1, Host:127.0.0.1, Port: "));
}

TEST_F(TcpSocketManagerTest, TwoThreadsNeverShareAConnection) {
  testing::LoopbackServer server;
  auto manager = MakeManager(BlockingWait());
  auto mine = Get(*manager, server.port());
  manager->MoveToIdle(mine);  // idle, yet still this thread's
  std::shared_ptr<TCPSocketEntry> theirs;
  std::thread other([&] { theirs = Get(*manager, server.port()); });
  other.join();
  ASSERT_TRUE(mine && theirs);
  EXPECT_NE(mine, theirs);
  EXPECT_NE(mine->socket(), theirs->socket());
  EXPECT_EQ(manager->EntryCount(), 2u);
  EXPECT_EQ(manager->IdleCount(), 1u);
}

TEST_F(TcpSocketManagerTest, ConnectionClosedByThePeerIsReplaced) {
  testing::LoopbackServer server;
  auto manager = MakeManager(BlockingWait());
  auto first = Get(*manager, server.port());
  ASSERT_TRUE(first);
  manager->MoveToIdle(first);
  ASSERT_TRUE(WaitUntil([&] { return server.accepted() == 1; }));
  server.CloseAccepted();
  ASSERT_TRUE(WaitUntil([&] { return !platform::IsSocketAlive(first->socket()); }));
  bool reused = true;
  auto second = Get(*manager, server.port(), &reused);
  ASSERT_TRUE(second);
  EXPECT_NE(second, first);
  EXPECT_FALSE(reused);
  EXPECT_TRUE(Logged("TCPSocketManager: IsSocketAlive returns false."));
  EXPECT_EQ(manager->EntryCount(), 1u);
  EXPECT_EQ(first->socket(), platform::kInvalidSocket);
}

TEST_F(TcpSocketManagerTest, FailedConnectReportsTheSocketError) {
  platform::SocketHandle listener;
  uint16_t port = 0;
  ASSERT_EQ(platform::ListenSocket("127.0.0.1", 0, &listener, &port), 0);
  platform::CloseSocket(listener);  // nobody listens there now
  auto manager = MakeManager();
  long error = 0;
  EXPECT_FALSE(manager->GetSocketEntry("127.0.0.1", port, 1, 500, &error));
  EXPECT_EQ(error, platform::kWsaConnectionRefused);
  EXPECT_TRUE(Logged("SocketException occurred. "));
  EXPECT_EQ(manager->EntryCount(), 0u);
}

TEST_F(TcpSocketManagerTest, AnyOtherFailureWhileConnectingIsAFailedConnection) {
  TCPSocketManagerHooks hooks = TCPSocketManagerHooks::Platform();
  hooks.log = [log = log_](uint32_t, const std::string& line) {
    std::lock_guard<std::mutex> hold(log->mutex);
    log->lines.push_back(line);
  };
  hooks.connect = [](std::string_view, uint32_t, uint32_t, uint32_t,
                     platform::SocketHandle*) -> long { throw std::bad_alloc(); };
  auto manager = TCPSocketManager::Create(hooks);
  long error = 0;
  bool reused = true;
  std::shared_ptr<TCPSocketEntry> entry;
  EXPECT_NO_THROW(entry = manager->GetSocketEntry("127.0.0.1", 9, 0, 500, &error, &reused));
  EXPECT_FALSE(entry);
  EXPECT_NE(error, 0);
  EXPECT_FALSE(reused);
  EXPECT_TRUE(Logged("General Exception occurred. "));
  EXPECT_EQ(manager->EntryCount(), 0u);
}

TEST_F(TcpSocketManagerTest, CloserWaitsWithinItsBoundsAndClosesAnExpiredEntry) {
  testing::LoopbackServer server;
  std::mutex waits_mutex;
  std::vector<uint32_t> waits;
  // The first wait ends 1 s before the entry expires; later ones run out.
  auto manager = MakeManager([&](uint32_t ms) {
    std::lock_guard<std::mutex> hold(waits_mutex);
    clock_ += waits.empty() ? ms - 1000 : ms;
    waits.push_back(ms);
    return false;
  });
  auto entry = Get(*manager, server.port());
  ASSERT_TRUE(entry);
  manager->MoveToIdle(entry);
  ASSERT_TRUE(WaitUntil([&] { return Logged("terminating due to empty queues"); }));
  {
    std::lock_guard<std::mutex> hold(waits_mutex);
    EXPECT_EQ(waits, (std::vector<uint32_t>{120000, 5000}));
  }
  EXPECT_EQ(manager->EntryCount(), 0u);
  EXPECT_EQ(entry->socket(), platform::kInvalidSocket);
  const std::vector<std::string> expected = {
      "Blocking for: 120000 milliseconds",      "Unblocked due to timeout",
      "Blocking for: 5000 milliseconds",        "Unblocked due to timeout",
      "Entry timed out Id: " + entry->IdText(), "terminating due to empty queues"};
  std::vector<std::string> closer_lines;
  for (const std::string& line : Log()) {
    if (line.rfind("Created", 0) != 0) closer_lines.push_back(line);
  }
  EXPECT_EQ(closer_lines, expected);
}

TEST_F(TcpSocketManagerTest, CloserStaysWhileUsersRemainAndEndsOnTerminate) {
  std::atomic<int> waits{0};
  auto manager = MakeManager([&](uint32_t ms) {
    EXPECT_EQ(ms, kLazyCloseMaxWaitMs);
    return ++waits == 3;  // the third wait sees the terminate signal
  });
  manager->Obtain();
  ASSERT_TRUE(WaitUntil([&] { return !manager->IsCloserRunning(); }));
  EXPECT_EQ(waits.load(), 3);
  EXPECT_TRUE(Logged("Unblocked due to _hTerminateEvent"));
  EXPECT_TRUE(Logged("Obtain Count:1"));
  manager->Release();
  EXPECT_TRUE(Logged("Count:0"));
}

TEST_F(TcpSocketManagerTest, RealCloserEndsWhenTheManagerGoes) {
  TCPSocketManagerHooks hooks = TCPSocketManagerHooks::Platform();
  hooks.log = nullptr;
  auto manager = TCPSocketManager::Create(hooks);
  manager->Obtain();  // a user is counted: the closer waits its longest, 120 s
  const std::weak_ptr<TCPLazyCloseThread> closer = manager->closer();
  ASSERT_FALSE(closer.expired());
  const std::weak_ptr<TCPSocketManager> watched = manager;
  manager.reset();
  // The closer holds the manager only between its waits (it may be the last
  // holder for a moment), never while it waits.
  EXPECT_TRUE(WaitUntil([&] { return watched.expired(); }));
  // The thread drops the closer when it ends: it must wake on the signal.
  EXPECT_TRUE(WaitUntil([&] { return closer.expired(); }));
}

TEST_F(TcpSocketManagerTest, SocketWithReUseReturnsCompletedExchangesOnly) {
  testing::LoopbackServer server;
  auto manager = MakeManager(BlockingWait());
  {
    TCPSocketWithReUse socket(manager);
    ASSERT_EQ(socket.Connect("127.0.0.1", server.port(), 1000, 0), 0);
    EXPECT_EQ(socket.Send("ping"), 0);
    socket.Finish();
  }
  {
    TCPSocketWithReUse socket(manager);
    ASSERT_EQ(socket.Connect("127.0.0.1", server.port(), 1000, 0), 0);
    EXPECT_TRUE(socket.reused());
    // Left without Finish: a half-done exchange is never re-used.
  }
  EXPECT_EQ(manager->EntryCount(), 0u);
  EXPECT_EQ(manager->use_count(), 0);
}

}  // namespace
}  // namespace vantrel
