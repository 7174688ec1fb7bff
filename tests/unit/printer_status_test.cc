// PrinterStatus through the object model: a Printer created and initialized
// as a client does, its Status read by name through IDispatch and as a whole
// through the private reading interface, over the fake spooler and a driver
// service on loopback.
#include "printers/printer_status.h"

#include <gtest/gtest.h>

#include <memory>
#include <string>

#include "dispatch_calls.h"
#include "fakes/fake_settings_store.h"
#include "fakes/fake_spooler.h"
#include "frame/com_ptr.h"
#include "frame/ole_string.h"
#include "platform/spooler.h"
#include "printers/printer.h"
#include "printers/status_exchanges.h"
#include "printers/status_reply.h"
#include "printers/status_rules.h"
#include "status_device.h"
#include "support/registry.h"

namespace vantrel {
namespace {

using frame::ComPtr;
using testing::GetByName;
using testing::ScopedVariant;
using testing::StatusDevice;

constexpr char kBasic[] = "Plain Labels";
constexpr char kAdvanced[] = "Kesto Labels";
constexpr HRESULT kNotInitialized = static_cast<HRESULT>(0x80042100);

class PrinterStatusTest : public ::testing::Test {
 protected:
  PrinterStatusTest() {
    spooler_.AddPrinter(kBasic);
    spooler_.AddPrinter(kAdvanced);
    spooler_.SetData(kAdvanced, "Kesto Interface V3");
    platform::SetSpoolerForTesting(&spooler_);
    platform::SetSettingsStoreForTesting(&store_);
    // The process's client on the process's (fake) spooler and store; the
    // discovery note that no port was published goes nowhere.
    ClientUtility::Hooks client_hooks;
    client_hooks.log = [](uint32_t, const std::string&) {};
    hooks_.client = std::make_shared<ClientUtility>(nullptr, nullptr, client_hooks);
    printers::SetStatusExchangeHooksForTesting(&hooks_);
    printers::SetStatusTextsForTesting(&english_);
  }
  ~PrinterStatusTest() override {
    printers::SetStatusTextsForTesting(nullptr);
    printers::SetStatusExchangeHooksForTesting(nullptr);
    platform::SetSettingsStoreForTesting(nullptr);
    platform::SetSpoolerForTesting(nullptr);
  }

  // The Status of a new Printer initialized to `name`, as a client gets it.
  ComPtr<IPrinterStatus> StatusOf(const char* name) {
    ComPtr<IPrinter> printer =
        testing::CreateThroughClassObject<IPrinter>(CLSID_Printer, IID_IPrinter);
    EXPECT_TRUE(printer);
    frame::Bstr bstr(name);
    EXPECT_EQ(printer->Initialize(bstr.get()), S_OK);
    IPrinterStatus* status = nullptr;
    EXPECT_EQ(printer->get_Status(&status), S_OK);
    return ComPtr<IPrinterStatus>::Adopt(status);
  }

  bool Condition(IPrinterStatus* status, const char* name) {
    ScopedVariant value;
    EXPECT_EQ(GetByName(*status, name, value.get()), S_OK) << name;
    EXPECT_EQ(value.type(), VT_BOOL) << name;
    return V_BOOL(value.get()) == VARIANT_TRUE;
  }
  std::string Text(IPrinterStatus* status) {
    frame::Bstr text;
    EXPECT_EQ(status->get_Text(text.receive()), S_OK);
    return frame::BstrToUtf8(text.get());
  }
  static ComPtr<IStatusReading> Reading(IPrinterStatus* status) {
    IStatusReading* reading = nullptr;
    EXPECT_EQ(status->QueryInterface(IID_IStatusReading, reinterpret_cast<void**>(&reading)), S_OK);
    return ComPtr<IStatusReading>::Adopt(reading);
  }
  StatusReadingRecord Read(IPrinterStatus* status) {
    StatusReadingRecord record{};
    EXPECT_EQ(Reading(status)->ReadStatus(&record), S_OK);
    return record;
  }
  std::string TakeText(StatusReadingRecord* record) {
    const std::string text = frame::BstrToUtf8(record->text);
    SysFreeString(record->text);
    return text;
  }
  int StatusRequests() {
    return spooler_.Calls("GetInfo2") + spooler_.Calls("GetInfo4") + spooler_.Calls("GetInfo5") +
           spooler_.Calls("GetInfo6");
  }
  void UseService(uint16_t port) {
    ASSERT_EQ(PrinterRegistry(kAdvanced).WriteDword("NETWORK:XPML Server Port", port), 0);
  }

  // A system without resource libraries, on every target.
  const printers::StatusTextSource english_ = [](const char*, uint32_t) { return std::string(); };
  testing::FakeSpooler spooler_;
  testing::FakeSettingsStore store_;
  printers::StatusExchangeHooks hooks_;
};

TEST_F(PrinterStatusTest, EachConditionPropertyReadsItsOwnSpoolerBit) {
  ComPtr<IPrinterStatus> status = StatusOf(kBasic);
  for (const printers::StatusCondition& condition : printers::kStatusConditions) {
    SCOPED_TRACE(condition.name);
    const printers::StatusCodeBit where = printers::BitOfStatusCode(condition.code);
    if (where.word == 1) {
      spooler_.SetStatus(kBasic, where.bit);
      EXPECT_TRUE(Condition(status.Get(), condition.name));
      spooler_.SetStatus(kBasic, ~where.bit);
      EXPECT_FALSE(Condition(status.Get(), condition.name));
    } else {
      // A printer without the driver's interface has no word 2.
      spooler_.SetStatus(kBasic, 0xFFFFFFFF);
      EXPECT_FALSE(Condition(status.Get(), condition.name));
    }
  }
}

// The summary properties follow the rules' severity; a spooler that cannot
// read the printer gives word 0.
TEST_F(PrinterStatusTest, SummaryAndTextOfABasicPrinter) {
  ComPtr<IPrinterStatus> status = StatusOf(kBasic);
  spooler_.SetStatus(kBasic, 0x2);
  EXPECT_TRUE(Condition(status.Get(), "HasError"));
  EXPECT_EQ(Text(status.Get()), "Error");
  spooler_.SetStatus(kBasic, 0x20000);
  EXPECT_TRUE(Condition(status.Get(), "HasWarning"));
  EXPECT_FALSE(Condition(status.Get(), "HasError"));
  spooler_.SetStatus(kBasic, 0x10);
  spooler_.BreakRecords(kBasic);
  EXPECT_EQ(Text(status.Get()), "Ready");
  EXPECT_FALSE(Condition(status.Get(), "PaperOut"));
}

TEST_F(PrinterStatusTest, RefusesBeforeItsPrinterIsInitializedAndNullPointers) {
  ComPtr<IPrinter> printer =
      testing::CreateThroughClassObject<IPrinter>(CLSID_Printer, IID_IPrinter);
  IPrinterStatus* unbound = nullptr;
  ASSERT_EQ(printer->get_Status(&unbound), S_OK);
  const auto held = ComPtr<IPrinterStatus>::Adopt(unbound);
  VARIANT_BOOL flag = 7;
  EXPECT_EQ(unbound->get_PaperOut(&flag), kNotInitialized);
  EXPECT_EQ(flag, 7);
  StatusReadingRecord record{};
  EXPECT_EQ(Reading(unbound)->ReadStatus(&record), kNotInitialized);

  ComPtr<IPrinterStatus> status = StatusOf(kBasic);
  EXPECT_EQ(status->get_PaperOut(nullptr), E_INVALIDARG);
  EXPECT_EQ(status->get_Text(nullptr), E_INVALIDARG);
  EXPECT_EQ(Reading(status.Get())->ReadStatus(nullptr), E_INVALIDARG);
}

TEST_F(PrinterStatusTest, AWholeReadingCostsOneSpoolerRequestAndAtMostTwoExchanges) {
  StatusDevice device;
  device.Set(testing::Reporting(0x20, 2, "Ribbon Out"));
  UseService(device.port());
  spooler_.SetStatus(kAdvanced, 0x1);
  ComPtr<IPrinterStatus> status = StatusOf(kAdvanced);

  int requests = StatusRequests();
  StatusReadingRecord record = Read(status.Get());
  EXPECT_EQ(StatusRequests() - requests, 1);
  EXPECT_EQ(device.exchanges(), 2);
  EXPECT_EQ(record.source, kStatusFromDevice);
  EXPECT_EQ(record.word1, 0x1u);
  EXPECT_EQ(record.word2, 0x80000020u);
  EXPECT_EQ(record.severity, 2u);
  EXPECT_EQ(TakeText(&record), "Ribbon Out, Paused");

  // One property: one answer, not a reading.
  requests = StatusRequests();
  EXPECT_TRUE(Condition(status.Get(), "RibbonOut"));
  EXPECT_EQ(StatusRequests(), requests);
  EXPECT_EQ(device.exchanges(), 3);
  EXPECT_TRUE(Condition(status.Get(), "Paused"));
  EXPECT_EQ(StatusRequests() - requests, 1);
  EXPECT_EQ(device.exchanges(), 3);
  EXPECT_TRUE(Condition(status.Get(), "HasError"));
  EXPECT_EQ(device.exchanges_of(printers::kSeverityStateRequest), 1);

  UseService(0);  // nothing listens there: the spooler's reading
  spooler_.SetStatus(kAdvanced, 0x10);
  record = Read(status.Get());
  EXPECT_EQ(record.source, kStatusFromSpooler);
  EXPECT_EQ(record.word2, 0x80000000u);
  EXPECT_EQ(TakeText(&record), "Out of Paper");
  EXPECT_TRUE(Condition(status.Get(), "PaperOut"));
  EXPECT_FALSE(Condition(status.Get(), "RibbonOut"));
}

}  // namespace
}  // namespace vantrel
