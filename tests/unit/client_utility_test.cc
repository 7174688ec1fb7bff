#include "driver/client_utility.h"

#include <gtest/gtest.h>

#include <atomic>
#include <mutex>
#include <string>
#include <thread>
#include <vector>

#include "driver/xpml_encoding.h"
#include "fakes/fake_spooler.h"
#include "fakes/fake_xpml_service.h"
#include "fakes/fake_settings_store.h"
#include "platform/settings_store.h"
#include "unit/scratch.h"
#include "platform/clock.h"
#include "platform/registry_value.h"
#include "platform/win32_errors.h"
#include "support/http_message.h"
#include "support/registry.h"

namespace vantrel {
namespace {

using testing::FakeXpmlService;

std::string Ok(std::string_view body) { return FormatHttpReply(200, {{"TID", "t-9"}}, body); }

class ClientUtilityTest : public ::testing::Test {
 protected:
  ClientUtilityTest() {
    TCPSocketManagerHooks hooks = TCPSocketManagerHooks::Platform();
    hooks.log = nullptr;
    // The real connection, counted: a refused port answers one attempt as
    // fast as three.
    hooks.connect = [this, connect = hooks.connect](std::string_view host, uint32_t port,
                                                    uint32_t timeout_ms, uint32_t attempts,
                                                    platform::SocketHandle* socket) {
      connect_attempts_ += attempts;
      return connect(host, port, timeout_ms, attempts, socket);
    };
    manager_ = TCPSocketManager::Create(hooks);
    ClientUtility::Hooks client_hooks;
    client_hooks.log = [this](uint32_t, const std::string& line) {
      std::lock_guard<std::mutex> hold(mutex_);
      events_.push_back(line);
    };
    client_hooks.spooler = &spooler_;
    spooler_.AddPrinter(context_.printer);
    client_ = std::make_unique<ClientUtility>(manager_, &store_, client_hooks);
  }

  void SetNumber(const char* path, uint32_t value) {
    ASSERT_EQ(registry().WriteValue(path, platform::MakeDwordValue(value)), 0);
  }
  void SetBool(const char* path, bool value) {
    ASSERT_EQ(
        registry().WriteValue(path, platform::MakeBinaryValue({value ? uint8_t{1} : uint8_t{0}})),
        0);
  }
  PrinterRegistry registry() { return PrinterRegistry(context_.printer, {}, {}, {}, 0, &store_); }
  std::vector<std::string> events() {
    std::lock_guard<std::mutex> hold(mutex_);
    return events_;
  }

  testing::FakeSettingsStore store_;
  std::shared_ptr<TCPSocketManager> manager_;
  std::atomic<uint32_t> connect_attempts_{0};
  std::unique_ptr<ClientUtility> client_;
  XpmlPrinterContext context_{"Label Printer 1", {}, false};
  testing::FakeSpooler spooler_;
  std::mutex mutex_;
  std::vector<std::string> events_;
};

TEST_F(ClientUtilityTest, StateRequestsRoundTripOverOneKeptConnection) {
  FakeXpmlService service([](const HttpMessage& request) {
    return Ok(request.body == kStateRequestSeverity ? "1;2" : "1;16;3");
  });
  SetNumber("NETWORK:XPML Server Port", service.port());
  EXPECT_EQ(client_->SendReceive(context_, kStateRequestStatusFlags2), "1;16;3");
  EXPECT_EQ(client_->SendReceive(context_, kStateRequestSeverity), "1;2");
  EXPECT_EQ(client_->last_transaction_id(), "t-9");
  EXPECT_EQ(service.connections(), 1);
  const std::vector<HttpMessage> requests = service.requests();
  ASSERT_EQ(requests.size(), 2u);
  const HttpMessage& first = requests[0];
  EXPECT_EQ(first.start[0], "POST");
  EXPECT_EQ(first.start[1].substr(0, 6), "/xpml?");
  EXPECT_NE(first.start[1].find("printer=Label%20Printer%201"), std::string::npos);
  EXPECT_NE(first.start[1].find("transactid="), std::string::npos);
  EXPECT_EQ(first.start[2], "HTTP/1.1");
  EXPECT_EQ(first.Field("Content-Type"), "application/octet-stream");
  EXPECT_EQ(first.Field("Cache-Control"), "no-cache");
  EXPECT_EQ(first.body, kStateRequestStatusFlags2);
  EXPECT_NE(requests[1].start[1], first.start[1]);  // a new transaction id
}

TEST_F(ClientUtilityTest, ConnectionClosedByTheServiceIsReplacedForTheNextExchange) {
  FakeXpmlService service([](const HttpMessage&) { return Ok("1"); }, true);
  SetNumber("NETWORK:XPML Server Port", service.port());
  EXPECT_EQ(client_->SendReceive(context_, "a"), "1");
  EXPECT_EQ(client_->SendReceive(context_, "b"), "1");
  EXPECT_EQ(service.connections(), 2);

  // The close not yet seen by the liveness probe: the kept connection is
  // taken, ends before any reply, and the request goes out once more.
  TCPSocketManagerHooks hooks = TCPSocketManagerHooks::Platform();
  hooks.log = nullptr;
  hooks.is_alive = [](platform::SocketHandle) { return true; };
  ClientUtility::Hooks client_hooks;
  client_hooks.log = [](uint32_t, const std::string&) {};
  client_hooks.spooler = &spooler_;
  ClientUtility unaware(TCPSocketManager::Create(hooks), &store_, client_hooks);
  EXPECT_EQ(unaware.SendReceive(context_, "c"), "1");
  platform::SleepMilliseconds(50);  // the service has closed it by now
  EXPECT_EQ(unaware.SendReceive(context_, "d"), "1");
  EXPECT_EQ(service.connections(), 4);
}

TEST_F(ClientUtilityTest, RouteSwitchedOffSendsNothing) {
  FakeXpmlService service([](const HttpMessage&) { return Ok("1"); });
  SetNumber("NETWORK:XPML Server Port", service.port());
  SetBool("NETWORK:TCP Enabled", false);
  EXPECT_FALSE(client_->SendReceive(context_, "x"));
  // A network printer reads its own switch, still on.
  context_.network_printer = true;
  SetNumber("NETWORK:TCP Port", service.port());
  EXPECT_EQ(client_->SendReceive(context_, "x"), "1");
  SetBool("NETWORK:Network Communication", false);
  EXPECT_FALSE(client_->SendReceive(context_, "x"));
  EXPECT_EQ(service.requests().size(), 1u);
}

TEST_F(ClientUtilityTest, SwitchOfTheWrongSizeCountsAsAbsent) {
  FakeXpmlService service([](const HttpMessage&) { return Ok("1"); });
  SetNumber("NETWORK:XPML Server Port", service.port());
  SetNumber("NETWORK:TCP Enabled", 0);  // four bytes: not a boolean
  EXPECT_EQ(client_->SendReceive(context_, "x"), "1");
}

TEST_F(ClientUtilityTest, ServiceGoneFailsWithinTheConfiguredAttempts) {
  platform::SocketHandle listener;
  uint16_t port = 0;
  ASSERT_EQ(platform::ListenSocket("127.0.0.1", 0, &listener, &port), 0);
  platform::CloseSocket(listener);
  SetNumber("NETWORK:XPML Server Port", port);
  SetNumber("NETWORK:Connection Retries", 1);  // the default is 2
  SetNumber("NETWORK:Connection Timeout", 200);
  const uint64_t start = platform::TickCount64();
  EXPECT_FALSE(client_->SendReceive(context_, "x"));
  EXPECT_LT(platform::TickCount64() - start, 5000u);
  EXPECT_EQ(connect_attempts_.load(), 2u) << "one retry: two attempts in all";
  EXPECT_EQ(manager_->EntryCount(), 0u);
}

TEST_F(ClientUtilityTest, BadRepliesAreFailedExchanges) {
  for (const std::string& reply :
       {std::string("HTTP/1.1 200 OK\r\nContent-Length: 99999999\r\n\r\n"),
        std::string("not http at all\r\n\r\n"),
        std::string("HTTP/1.1 200 OK\r\nContent-Length: 9\r\n\r\n1")}) {
    FakeXpmlService service([&](const HttpMessage&) { return reply; }, true);
    SetNumber("NETWORK:XPML Server Port", service.port());
    EXPECT_FALSE(client_->SendReceive(context_, "x")) << reply;
  }
  // A connection whose reply could not be framed is never kept.
  EXPECT_EQ(manager_->EntryCount(), 0u);
  FakeXpmlService refusing([&](const HttpMessage&) { return FormatHttpReply(500, {}, "1"); });
  SetNumber("NETWORK:XPML Server Port", refusing.port());
  EXPECT_FALSE(client_->SendReceive(context_, "x"));
}

TEST_F(ClientUtilityTest, PortDiscoveryStoresANewPortAndReportsAMissingOne) {
  EXPECT_EQ(client_->GetRefactoredTcpPortNumber(context_), 5130u);
  ASSERT_EQ(events().size(), 1u);
  EXPECT_EQ(events()[0],
            "ClientUtility::GetRefactoredTcpPortNumber: Unable to retrieve the XPML port "
            "number.  Defaulting to 5130");
  spooler_.SetData(context_.printer, "XPML Server Port", {0x59, 0x1b, 0, 0});
  EXPECT_EQ(client_->GetRefactoredTcpPortNumber(context_), 7001u);
  EXPECT_EQ(registry().ReadDword("NETWORK:XPML Server Port"), 7001u);
  EXPECT_EQ(events().size(), 1u);
  store_.SetReadOnly(true);
  spooler_.SetData(context_.printer, "XPML Server Port", {0x5a, 0x1b});
  EXPECT_EQ(client_->GetRefactoredTcpPortNumber(context_), 7002u);
  ASSERT_EQ(events().size(), 2u);
  EXPECT_EQ(events()[1],
            "ClientUtility::GetRefactoredTcpPortNumber: Unable to save the new XPML port "
            "number : " +
                std::to_string(platform::kErrorAccessDenied));
}

// The TCP route first; the local route (the loopback port a service of this
// computer published) when it is off or fails, never for another server's
// printer, whose service is on its own TCP port.
TEST_F(ClientUtilityTest, LocalRouteAnswersWhenTheTcpRouteCannotAndSaysWhichAnswered) {
  FakeXpmlService tcp([](const HttpMessage&) { return Ok("tcp"); });
  FakeXpmlService local([](const HttpMessage&) { return Ok("local"); });
  SetNumber("NETWORK:XPML Server Port", tcp.port());
  SetNumber("NETWORK:TCP Port", local.port());  // not the port of a local printer
  int route = -1;
  EXPECT_EQ(client_->SendReceive(context_, "x", &route), "tcp");
  EXPECT_EQ(route, ClientUtility::kTcpRoute);

  SetNumber(kLocalRoutePortPath, local.port());
  SetBool("NETWORK:TCP Enabled", false);
  EXPECT_EQ(client_->SendReceive(context_, "x", &route), "local");
  EXPECT_EQ(route, ClientUtility::kLocalRoute);
  EXPECT_EQ(local.requests().back().body, "x");

  SetBool("NETWORK:TCP Enabled", true);
  SetNumber("NETWORK:XPML Server Port", testing::ClosedLoopbackPort());  // the TCP route fails
  EXPECT_EQ(client_->SendReceive(context_, "x", &route), "local");
  EXPECT_EQ(route, ClientUtility::kLocalRoute);

  XpmlPrinterContext shared = context_;
  shared.network_printer = true;
  SetNumber("NETWORK:TCP Port", tcp.port());
  EXPECT_EQ(client_->SendReceive(shared, "x", &route), "tcp");
  SetNumber("NETWORK:TCP Port", testing::ClosedLoopbackPort());
  EXPECT_FALSE(client_->SendReceive(shared, "x", &route));
  EXPECT_EQ(route, ClientUtility::kNoRoute);
  EXPECT_EQ(local.requests().size(), 2u);
}

// Only a local printer's own data counts, and only a value that fits the
// four bytes it is read into.
TEST_F(ClientUtilityTest, PortDiscoveryIgnoresRemoteContextsAndOversizedValues) {
  SetNumber("NETWORK:XPML Server Port", 6001);
  spooler_.SetData(context_.printer, "XPML Server Port", {'7', '0', '0', '1', 0});
  EXPECT_EQ(client_->GetRefactoredTcpPortNumber(context_), 6001u);
  spooler_.SetData(context_.printer, "XPML Server Port", {0x59, 0x1b, 0, 0});
  XpmlPrinterContext shared = context_;
  shared.network_printer = true;
  EXPECT_EQ(client_->GetRefactoredTcpPortNumber(shared), 6001u);
  EXPECT_EQ(client_->GetRefactoredTcpPortNumber(context_), 7001u);
}

// Settings are remembered while the store is unchanged; a change written
// through another handle on the same files, as another process writes, is
// seen by the very next exchange.
TEST(ClientUtilitySettingsTest, AChangeByAnyWriterAppliesToTheNextExchange) {
  testing::ScratchFolder folder;
  const auto store = platform::OpenSettingsStoreAt(folder.path().string());
  const auto other_writer = platform::OpenSettingsStoreAt(folder.path().string());
  const XpmlPrinterContext context{"Dock", {}, false};
  FakeXpmlService service([](const HttpMessage&) { return Ok("1"); });
  testing::FakeSpooler spooler;
  spooler.AddPrinter(context.printer);
  const uint16_t port = service.port();
  spooler.SetData(context.printer, "XPML Server Port",
                  {static_cast<uint8_t>(port), static_cast<uint8_t>(port >> 8)});
  ClientUtility::Hooks hooks;
  hooks.log = [](uint32_t, const std::string&) {};
  hooks.spooler = &spooler;
  ClientUtility client(nullptr, store.get(), hooks);
  PrinterRegistry elsewhere(context.printer, {}, {}, {}, 0, other_writer.get());

  EXPECT_EQ(client.SendReceive(context, "a"), "1");
  EXPECT_EQ(client.SendReceive(context, "b"), "1");  // answered from what was remembered
  ASSERT_EQ(elsewhere.WriteValue("NETWORK:TCP Enabled", platform::MakeBinaryValue({0})), 0);
  EXPECT_FALSE(client.SendReceive(context, "c"));
  ASSERT_EQ(elsewhere.WriteValue("NETWORK:TCP Enabled", platform::MakeBinaryValue({1})), 0);
  EXPECT_EQ(client.SendReceive(context, "d"), "1");
  EXPECT_EQ(service.requests().size(), 3u);
}

}  // namespace
}  // namespace vantrel
