// The advanced driver interface's status against a driver service on
// loopback: what comes from the device, and every way of falling back to the
// spooler's rules.
#include <gtest/gtest.h>

#include <atomic>
#include <memory>
#include <thread>
#include <vector>

#include "fakes/fake_settings_store.h"
#include "fakes/fake_spooler.h"
#include "platform/registry_value.h"
#include "printers/advanced_driver_interface.h"
#include "printers/status_exchanges.h"
#include "printers/status_reply.h"
#include "printers/status_rules.h"
#include "status_device.h"
#include "support/registry.h"

namespace vantrel::printers {
namespace {

using testing::DeviceState;
using testing::Replying;
using testing::Reporting;
using testing::StatusDevice;

constexpr char kPrinter[] = "Kesto 1";
constexpr uint32_t kPaused = 0x1;
constexpr uint32_t kPaperOut = 0x10;
constexpr uint32_t kRibbonOut = 0x20;

// A closed loopback port: connections are refused at once, as by a service
// that was killed.
uint16_t ClosedPort() {
  platform::SocketHandle listener;
  uint16_t port = 0;
  EXPECT_EQ(platform::ListenSocket("127.0.0.1", 0, &listener, &port), 0);
  platform::CloseSocket(listener);
  return port;
}

class AdvancedStatusTest : public ::testing::Test {
 protected:
  AdvancedStatusTest() {
    spooler_.AddPrinter(kPrinter);
    ClientUtility::Hooks client_hooks;
    client_hooks.spooler = &spooler_;
    client_hooks.log = [](uint32_t, const std::string&) {};
    hooks_.client = std::make_shared<ClientUtility>(nullptr, &store_, client_hooks);
    hooks_.clock = [this] { return now_.load(); };
    hooks_.store = &store_;
    SetStatusTextsForTesting(&english_);
    SetStatusExchangeHooksForTesting(&hooks_);
    driver_ = std::make_unique<AdvancedDriverInterface>();
    SetStatusExchangeHooksForTesting(nullptr);
    EXPECT_EQ(spooler_.Open(kPrinter, platform::kPrinterAccessUse, &handle_), 0);
    driver_->Attach(handle_.get(), kPrinter);
  }

  void UseService(uint16_t port) {
    ASSERT_EQ(Registry().WriteDword("NETWORK:XPML Server Port", port), 0);
  }
  void SetMonitoringMode(uint32_t mode) {
    ASSERT_EQ(Registry().WriteDword(kMonitoringModePath, mode), 0);
  }
  PrinterRegistry Registry() { return PrinterRegistry(kPrinter, {}, {}, {}, 0, &store_); }

  // What the spooler's rules alone give for the printer's word.
  void ExpectSpoolerReading(uint32_t word1) {
    const StatusReading reading = driver_->ReadStatus();
    EXPECT_EQ(reading.source, StatusSource::kSpooler);
    EXPECT_EQ(reading.word1, word1);
    EXPECT_EQ(reading.severity, SeverityOfWord1(word1));
    EXPECT_EQ(reading.word2, SeverityBits(reading.severity));
    EXPECT_EQ(reading.text, StatusTextOfWord1(word1, english_));
    EXPECT_EQ(driver_->GetStatusWord2(), reading.word2);
    EXPECT_EQ(driver_->GetSeverity(), reading.severity);
    EXPECT_EQ(driver_->GetStatusText(), reading.text);
    EXPECT_FALSE(driver_->GetStatusFlag(206));
  }

  ~AdvancedStatusTest() override { SetStatusTextsForTesting(nullptr); }

  // A system without resource libraries, on every target.
  const StatusTextSource english_ = [](const char*, uint32_t) { return std::string(); };
  testing::FakeSpooler spooler_;
  testing::FakeSettingsStore store_;
  std::atomic<uint64_t> now_{100000};
  StatusExchangeHooks hooks_;
  std::unique_ptr<DriverInterface> driver_;
  std::unique_ptr<platform::SpoolerPrinter> handle_;
};

TEST_F(AdvancedStatusTest, DeviceConditionsWithNothingConfigured) {
  StatusDevice device;
  device.Set(Reporting(kRibbonOut, 2, "Ribbon Out"));
  UseService(device.port());
  spooler_.SetStatus(kPrinter, kPaused);

  EXPECT_TRUE(driver_->IsMonitoringOn());  // no monitoring setting at all
  const StatusReading reading = driver_->ReadStatus();
  EXPECT_EQ(reading.source, StatusSource::kDevice);
  EXPECT_EQ(reading.word1, kPaused);
  EXPECT_EQ(reading.word2, 0x80000000u | kRibbonOut);
  EXPECT_EQ(reading.severity, 2u);
  // The spooler's own condition joins the device's text.
  EXPECT_EQ(reading.text, "Ribbon Out, Paused");
  EXPECT_EQ(device.exchanges(), 2);
  EXPECT_EQ(spooler_.Calls("GetInfo6"), 1);

  // Single answers make only the exchange they need.
  EXPECT_TRUE(driver_->GetStatusFlag(206));
  EXPECT_FALSE(driver_->GetStatusFlag(205));
  EXPECT_EQ(device.exchanges_of(kFlagsStateRequest), 3);
  EXPECT_FALSE(driver_->GetStatusFlag(212));
  EXPECT_TRUE(driver_->GetStatusFlag(100));  // a spooler code: no exchange
  EXPECT_EQ(driver_->GetSeverity(), 2u);
  EXPECT_EQ(device.exchanges_of(kSeverityStateRequest), 1);
  EXPECT_EQ(device.exchanges(), 5);
}

TEST_F(AdvancedStatusTest, AnEmptyDeviceTextLeavesTheSpoolersText) {
  StatusDevice device;
  device.Set(Reporting(0, 3, ""));
  UseService(device.port());
  spooler_.SetStatus(kPrinter, 0x81);
  const StatusReading reading = driver_->ReadStatus();
  EXPECT_EQ(reading.source, StatusSource::kDevice);
  EXPECT_EQ(reading.severity, 3u);
  EXPECT_EQ(reading.word2, 0x40000000u);
  EXPECT_EQ(reading.text, "Paused, Offline");
}

TEST_F(AdvancedStatusTest, FallsBackToTheSpoolerWithoutAnError) {
  spooler_.SetStatus(kPrinter, kPaperOut);
  struct Case {
    const char* what;
    DeviceState state;
    int exchanges_per_reading;  // by ReadStatus
  };
  const Case cases[] = {
      {"monitoring not supported", Reporting(kRibbonOut, 2, "Ribbon Out", "0"), 1},
      {"garbage", Replying("1;lots"), 1},
      {"severity out of range", Reporting(kRibbonOut, 9, "Ribbon Out"), 1},
      {"empty reply", Replying(""), 1},
  };
  for (const Case& c : cases) {
    SCOPED_TRACE(c.what);
    StatusDevice device;
    device.Set(c.state);
    UseService(device.port());
    const int before = device.exchanges();
    EXPECT_EQ(driver_->ReadStatus().source, StatusSource::kSpooler);
    EXPECT_EQ(device.exchanges() - before, c.exchanges_per_reading);
    ExpectSpoolerReading(kPaperOut);
  }
  {
    SCOPED_TRACE("service drops every connection");
    StatusDevice dropping(true);
    UseService(dropping.port());
    ExpectSpoolerReading(kPaperOut);
  }
  {
    SCOPED_TRACE("service gone");
    UseService(ClosedPort());
    ExpectSpoolerReading(kPaperOut);
    EXPECT_EQ(driver_->QueryJob(7), "");
  }
}

TEST_F(AdvancedStatusTest, MonitoringOffAsksNothing) {
  StatusDevice device;
  device.Set(Reporting(kRibbonOut, 2, "Ribbon Out"));
  UseService(device.port());
  SetMonitoringMode(0);
  spooler_.SetStatus(kPrinter, kPaperOut);
  EXPECT_FALSE(driver_->IsMonitoringOn());
  ExpectSpoolerReading(kPaperOut);
  EXPECT_EQ(device.exchanges(), 0);
  // Any other number is on.
  SetMonitoringMode(2);
  now_ += kMonitoringCacheMs;
  EXPECT_TRUE(driver_->IsMonitoringOn());
  EXPECT_EQ(driver_->ReadStatus().source, StatusSource::kDevice);
}

TEST_F(AdvancedStatusTest, MonitoringAnswerIsKeptForOneSecond) {
  StatusDevice device;
  device.Set(Reporting(kRibbonOut, 2, "Ribbon Out"));
  UseService(device.port());
  EXPECT_TRUE(driver_->IsMonitoringOn());
  SetMonitoringMode(0);
  now_ += kMonitoringCacheMs - 1;
  EXPECT_TRUE(driver_->IsMonitoringOn());
  EXPECT_TRUE(driver_->GetStatusFlag(206));  // still asks the device
  now_ += 1;
  EXPECT_FALSE(driver_->IsMonitoringOn());
  EXPECT_FALSE(driver_->GetStatusFlag(206));
  const int exchanges = device.exchanges();
  // Turned on again: seen only once the new answer is a second old.
  ASSERT_EQ(Registry().DeleteValue(kMonitoringModePath), 0);
  now_ += kMonitoringCacheMs - 1;
  EXPECT_FALSE(driver_->GetStatusFlag(206));
  EXPECT_EQ(device.exchanges(), exchanges);
  now_ += 1;
  EXPECT_TRUE(driver_->GetStatusFlag(206));
}

TEST_F(AdvancedStatusTest, JobQuerySendsTheJobRequestAndReturnsTheReplyAsIs) {
  StatusDevice device;
  UseService(device.port());
  EXPECT_EQ(driver_->QueryJob(42), "<job status=\"printing\" />");
  EXPECT_EQ(device.exchanges_of("<job id='42' action='get' jobIdentity='true' jobStatus='true' />"
                                "&#00;"),
            1);
}

TEST_F(AdvancedStatusTest, ReadingsFromManyThreadsWhileMonitoringFlips) {
  StatusDevice device;
  device.Set(Reporting(kRibbonOut, 2, "Ribbon Out"));
  UseService(device.port());
  spooler_.SetStatus(kPrinter, kPaperOut);
  std::atomic<bool> stop{false};
  std::thread flipper([&] {
    for (uint32_t mode = 0; !stop; mode ^= 1) {
      SetMonitoringMode(mode);
      now_ += kMonitoringCacheMs;
      std::this_thread::yield();
    }
  });
  std::atomic<int> device_readings{0}, inconsistent{0};
  std::vector<std::thread> readers;
  for (int t = 0; t < 4; ++t)
    readers.emplace_back([&] {
      for (int i = 0; i < 25; ++i) {
        const StatusReading reading = driver_->ReadStatus();
        const bool from_device = reading.source == StatusSource::kDevice;
        device_readings += from_device;
        const uint32_t expected_word2 = from_device ? 0x80000000u | kRibbonOut : 0x80000000u;
        if (reading.word2 != expected_word2 || reading.word1 != kPaperOut) ++inconsistent;
        driver_->IsMonitoringOn();
      }
    });
  for (std::thread& reader : readers) reader.join();
  stop = true;
  flipper.join();
  EXPECT_EQ(inconsistent.load(), 0);
  EXPECT_EQ(device.exchanges(), 2 * device_readings.load());
}

}  // namespace
}  // namespace vantrel::printers
