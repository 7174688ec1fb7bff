// The advanced driver interface's status against a driver service on
// loopback: what comes from the device, and every way of falling back to the
// spooler's rules.
#include <gtest/gtest.h>

#include <atomic>
#include <memory>
#include <thread>
#include <utility>
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
constexpr uint32_t kPaperOut = 0x10;
constexpr uint32_t kRibbonOut = 0x20;

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

  // What the spooler's rules alone give for a printer out of paper, read as a
  // whole and answer by answer.
  void ExpectSpoolerReading() {
    const StatusReading reading = driver_->ReadStatus();
    EXPECT_EQ(reading.source, StatusSource::kSpooler);
    EXPECT_EQ(reading.word1, kPaperOut);
    EXPECT_EQ(reading.word2, 0x80000000u);
    EXPECT_EQ(reading.text, "Out of Paper");
    EXPECT_EQ(driver_->GetStatusWord2(), 0x80000000u);
    EXPECT_EQ(driver_->GetSeverity(), 2u);
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

TEST_F(AdvancedStatusTest, AnEmptyDeviceTextLeavesTheSpoolersText) {
  StatusDevice device;
  device.Set(Reporting(0, 3, ""));
  UseService(device.port());
  spooler_.SetStatus(kPrinter, 0x81);
  const StatusReading reading = driver_->ReadStatus();
  EXPECT_EQ(reading.word2, 0x40000000u);  // from the device: a warning
  EXPECT_EQ(reading.text, "Paused, Offline");
}

// A reply that cannot be used ends the reading after its one exchange.
TEST_F(AdvancedStatusTest, FallsBackToTheSpoolerWithoutAnError) {
  spooler_.SetStatus(kPrinter, kPaperOut);
  const std::pair<const char*, DeviceState> cases[] = {
      {"monitoring not supported", Reporting(kRibbonOut, 2, "Ribbon Out", "0")},
      {"garbage", Replying("1;lots")},
      {"severity out of range", Reporting(kRibbonOut, 9, "Ribbon Out")},
      {"empty reply", Replying("")},
  };
  for (const auto& [what, state] : cases) {
    SCOPED_TRACE(what);
    StatusDevice device;
    device.Set(state);
    UseService(device.port());
    EXPECT_EQ(driver_->ReadStatus().source, StatusSource::kSpooler);
    EXPECT_EQ(device.exchanges(), 1);
    ExpectSpoolerReading();
  }
  {
    SCOPED_TRACE("service drops every connection");
    StatusDevice dropping(true);
    UseService(dropping.port());
    ExpectSpoolerReading();
  }
  {
    SCOPED_TRACE("service gone");
    UseService(testing::ClosedLoopbackPort());
    ExpectSpoolerReading();
    EXPECT_EQ(driver_->QueryJob(7), "");
  }
}

// Monitoring off (0) asks the device nothing; any other number, or none, is
// on. The answer is kept for a second, so a change shows only after that.
TEST_F(AdvancedStatusTest, MonitoringSettingIsReadAtMostOnceASecond) {
  StatusDevice device;
  device.Set(Reporting(kRibbonOut, 2, "Ribbon Out"));
  UseService(device.port());
  spooler_.SetStatus(kPrinter, kPaperOut);
  EXPECT_TRUE(driver_->IsMonitoringOn());  // no setting at all
  SetMonitoringMode(0);
  now_ += kMonitoringCacheMs - 1;
  EXPECT_TRUE(driver_->GetStatusFlag(206));  // still asks the device
  now_ += 1;
  EXPECT_FALSE(driver_->IsMonitoringOn());
  const int exchanges = device.exchanges();
  ExpectSpoolerReading();
  EXPECT_EQ(device.exchanges(), exchanges);

  SetMonitoringMode(2);
  now_ += kMonitoringCacheMs - 1;
  EXPECT_FALSE(driver_->GetStatusFlag(206));
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
