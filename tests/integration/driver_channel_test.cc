// Printer commands and settings through the driver channel and the sample
// module, loaded in-process and run in the module host (the host is
// vantrel-rundll on Linux, RunDLL32 under Wine): the action flags and the
// four answers, a host killed in mid-call, two threads on one channel.
#include "printers/driver_channel.h"

#include <gtest/gtest.h>

#include <future>
#include <optional>
#include <string>
#include <thread>
#include <vector>

#include "driver/driver_dll_proxy.h"
#include "integration/module_store.h"
#include "platform/clock.h"
#include "platform/process.h"
#include "printers/driver_commands.h"
#include "support/registry.h"

namespace vantrel::printers {
namespace {

constexpr int32_t kHoldAction = 9000;  // the sample module sleeps in it

struct Answers {
  bool supported, user_interface, bidirectional, management;
  friend bool operator==(const Answers&, const Answers&) = default;
};

Answers AnswersOf(const CommandRequest& request) {
  return {request.is_supported, request.has_user_interface, request.requires_bidirectional_port,
          request.requires_management_rights};
}

// The flag words the sample module answers for some actions, and what they
// mean to a client.
struct FlagCase {
  int32_t code;
  uint32_t flags;
  Answers answers;
};
const FlagCase kFlagCases[] = {
    {3, 0x33, {true, true, true, true}},           {4, 0x04, {false, false, false, false}},
    {5, 0x08, {false, false, false, false}},       {7, 0x31, {true, false, true, true}},
    {8, 0x22, {false, true, true, false}},  // requirements of an action it lacks
    {9, 0xFFFFFFC0, {false, false, false, false}}, {10, 0x11, {true, false, false, true}},
};

class DriverChannelTest : public ::testing::Test {
 protected:
  static void SetUpTestSuite() {
    store_ = &testing::ModuleStore();
    ForgetPrinters();
  }
  static void TearDownTestSuite() { ForgetPrinters(); }
  void TearDown() override { SetIsolation(false); }
  static void ForgetPrinters() {
    testing::ForgetModulePrinters({"Flags Host", "Flags Local", "Channel Settings",
                                   "Channel Killed Host", "Channel Two Threads"});
  }

  static void SetIsolation(bool on) { ASSERT_TRUE(testing::SetDriverIsolation(on)); }
  static PrinterRegistry Settings(const std::string& printer) {
    return testing::ModuleSettings(printer);
  }
  // A printer of this run whose module answers kFlagCases (and supports the
  // hold action).
  static std::string PrinterWithFlags(const std::string& name) {
    Settings(name).DeleteKey("SETTINGS:");
    for (const FlagCase& c : kFlagCases) {
      EXPECT_EQ(
          Settings(name).WriteDword("SETTINGS:Action Flags/" + std::to_string(c.code), c.flags), 0);
    }
    EXPECT_EQ(Settings(name).WriteDword("SETTINGS:Action Flags/9000", 1), 0);
    return name;
  }
  static std::unique_ptr<DriverChannel> Channel(const std::string& variant = "sample-driver") {
    return std::make_unique<DriverChannel>(testing::SampleModule(variant), store_);
  }

  static CommandRequest Query(DriverChannel& channel, const std::string& printer, int32_t code) {
    CommandRequest request;
    request.execute = false;
    RunDriverAction(channel, printer, code, &request);
    return request;
  }

  static platform::SettingsStore* store_;
};

platform::SettingsStore* DriverChannelTest::store_ = nullptr;

TEST_F(DriverChannelTest, TheFlagWordBecomesTheFourAnswersInProcessAndInTheHost) {
  for (bool isolated : {false, true}) {
    SetIsolation(isolated);
    const std::string printer = PrinterWithFlags(isolated ? "Flags Host" : "Flags Local");
    auto channel = Channel();
    for (const FlagCase& c : kFlagCases) {
      EXPECT_EQ(AnswersOf(Query(*channel, printer, c.code)), c.answers)
          << "code " << c.code << (isolated ? " in the host" : " in-process");
    }
    EXPECT_TRUE(channel->open());
    EXPECT_EQ(channel->proxied(), isolated);
  }
}

// Import and reset save afterwards; export does not. Each reports the module
// reached. (The round trip itself, in the host too, is the proxy's test.)
TEST_F(DriverChannelTest, SettingsCallsSaveAfterImportAndReset) {
  const std::string printer = "Channel Settings";
  Settings(printer).DeleteKey("SETTINGS:");
  auto channel = Channel();
  const std::string file = testing::ModuleStoreFolder() + "/" + printer + ".reg";
  ASSERT_TRUE(ResetDriverSettings(*channel, printer, 0xFFFFFFFF));
  ASSERT_EQ(Settings(printer).WriteDword("SETTINGS:Darkness", 22), 0);
  ASSERT_TRUE(ExportDriverSettings(*channel, printer, file, 0x401));
  ASSERT_TRUE(ResetDriverSettings(*channel, printer, 0xFFFFFFFF));
  ASSERT_TRUE(ImportDriverSettings(*channel, printer, file, 0xFFFFFFFF));
  EXPECT_EQ(Settings(printer).ReadDword("SETTINGS:Darkness"), 22u);
  // Two resets and one import; the export saved nothing. The import brought
  // the count the file held (from the first reset) and then saved once more.
  EXPECT_EQ(Settings(printer).ReadDword("SETTINGS:Save Count"), 2u);
}

// The killed host's call fails with the answers it had; the channel drops the
// dead pipe, and the next call starts a new host instead of failing for ever.
TEST_F(DriverChannelTest, AHostKilledInMidCallIsReplacedByTheNextCall) {
  SetIsolation(true);
  const std::string printer = PrinterWithFlags("Channel Killed Host");
  auto channel = Channel();
  ASSERT_TRUE(Query(*channel, printer, 3).is_supported);
  ASSERT_TRUE(channel->proxied());
  testing::ForgetHeldHost(printer);
  auto held = std::async(std::launch::async, [&] {
    CommandRequest request;  // executes: the module holds the call
    RunDriverAction(*channel, printer, kHoldAction, &request);
    return request;
  });
  const std::optional<uint32_t> host = testing::WaitForHeldHost(printer);
  ASSERT_TRUE(host) << "the host never reached the held action";
  ASSERT_TRUE(platform::KillProcess(*host));
  EXPECT_TRUE(held.get().is_supported) << "the flags came before the host died";
  EXPECT_FALSE(channel->open()) << "the dead pipe was kept";
  EXPECT_EQ(AnswersOf(Query(*channel, printer, 3)), (Answers{true, true, true, true}));
  EXPECT_TRUE(channel->proxied());
}

// Calls on one channel never interleave: through the host an interleaved
// call would read another call's reply.
TEST_F(DriverChannelTest, TwoThreadsCommandingOnePrinterGetTheirOwnAnswers) {
  SetIsolation(true);
  const std::string printer = PrinterWithFlags("Channel Two Threads");
  auto channel = Channel();
  auto ask = [&](size_t first) {
    int wrong = 0;
    for (size_t i = 0; i < 40; ++i) {
      const FlagCase& c = kFlagCases[(first + i) % std::size(kFlagCases)];
      if (AnswersOf(Query(*channel, printer, c.code)) != c.answers) ++wrong;
    }
    return wrong;
  };
  auto other = std::async(std::launch::async, ask, 3);
  EXPECT_EQ(ask(0), 0);
  EXPECT_EQ(other.get(), 0);
  EXPECT_TRUE(channel->proxied());
}

}  // namespace
}  // namespace vantrel::printers
