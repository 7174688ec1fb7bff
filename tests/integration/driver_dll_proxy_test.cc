#include "driver/driver_dll_proxy.h"

#include <gtest/gtest.h>

#include <filesystem>
#include <fstream>
#include <future>
#include <string>

#include "platform/clock.h"
#include "platform/environment.h"
#include "platform/module_version.h"
#include "platform/process.h"
#include "platform/registry_value.h"
#include "integration/module_store.h"
#include "support/registry.h"

namespace vantrel {
namespace {

using testing::SampleModule;

constexpr uint32_t kHoldAction = 9000;  // the sample module sleeps in it
constexpr uint32_t kEchoAction = 9001;  // the sample module answers it at once

class DriverProxyTest : public ::testing::Test {
 protected:
  static void SetUpTestSuite() {
    store_ = &testing::ModuleStore();
    ForgetPrinters();
  }
  static void TearDownTestSuite() { ForgetPrinters(); }
  void SetUp() override { SetIsolation(false); }
  void TearDown() override { SetIsolation(false); }

  static void SetIsolation(bool on) { ASSERT_TRUE(testing::SetDriverIsolation(on)); }
  static PrinterRegistry Settings(const std::string& printer) {
    return testing::ModuleSettings(printer);
  }
  static void ForgetPrinters() {
    testing::ForgetModulePrinters(
        {"InProcess", "Isolated", "NoUI", "Settings Host", "Settings Local", "Killed Host"});
  }
  static std::string TempFile(const std::string& name) {
    return (std::filesystem::path(testing::ModuleStoreFolder()) / name).string();
  }

  static platform::SettingsStore* store_;
};

platform::SettingsStore* DriverProxyTest::store_ = nullptr;

TEST_F(DriverProxyTest, VersionTablesAreReadWithoutLoadingTheModule) {
  platform::ModuleVersionInfo info;
  ASSERT_EQ(platform::ReadModuleVersion(SampleModule("sample-driver"), &info), 0);
  ASSERT_TRUE(info.has_table);
  EXPECT_EQ(std::vector<uint16_t>(info.version, info.version + 4),
            (std::vector<uint16_t>{7, 2, 3, 0}));
  EXPECT_EQ(info.product_version, "7.2.3.0");
  EXPECT_EQ(info.build_date, "2026-11-20, 09:30:00");
  for (const char* module : {"sample-driver-unversioned", "no-such-module"}) {
    info.has_table = true;
    ASSERT_EQ(platform::ReadModuleVersion(SampleModule(module), &info), 0) << module;
    EXPECT_FALSE(info.has_table) << module;
  }
}

// The test program is a 64-bit process loading modules built like itself:
// without isolation nothing goes to the host, whatever the module's version.
TEST_F(DriverProxyTest, WithoutIsolationA64BitProcessNeverProxies) {
  for (const char* module : {"sample-driver", "sample-driver-7229", "sample-driver-unversioned"}) {
    EXPECT_FALSE(platform::ModuleNeedsHostProcess(SampleModule(module))) << module;
    DriverDLLProxy proxy(store_);
    const uint64_t handle = proxy.OpenModule(SampleModule(module), "InProcess");
    EXPECT_NE(handle, 0u) << module;
    EXPECT_FALSE(proxy.proxied()) << module;
    proxy.Close(handle);
  }
}

TEST_F(DriverProxyTest, AnInProcessModuleAnswersOnlyItsOwnOpenHandles) {
  DriverDLLProxy proxy(store_);
  const uint64_t handle = proxy.OpenModule(SampleModule("sample-driver"), "InProcess");
  ASSERT_NE(handle, 0u);
  EXPECT_EQ(proxy.ActionFlag(handle, 3), 1u);
  EXPECT_EQ(proxy.ActionFlag(handle, 99), 0u);
  EXPECT_EQ(proxy.ActionFlag(handle + 1, 3), 0u) << "a handle the module never gave";
  proxy.Close(handle);
  EXPECT_EQ(proxy.ActionFlag(handle, 3), 0u) << "closed";
  EXPECT_EQ(DriverDLLProxy(store_).OpenModule("", "InProcess"), 0u);
}

TEST_F(DriverProxyTest, IsolationSendsOnlyNewVersionedModulesToTheHost) {
  SetIsolation(true);
  struct Case {
    const char* module;
    bool proxied;
  } cases[] = {
      {"sample-driver", true}, {"sample-driver-7229", false}, {"sample-driver-unversioned", false}};
  for (const Case& c : cases) {
    DriverDLLProxy proxy(store_);
    const uint64_t handle = proxy.OpenModule(SampleModule(c.module), "Isolated");
    EXPECT_NE(handle, 0u) << c.module;
    EXPECT_EQ(proxy.proxied(), c.proxied) << c.module;
    EXPECT_EQ(proxy.ActionFlag(handle, 4), 1u) << c.module;
    EXPECT_TRUE(proxy.Action(handle, kEchoAction)) << c.module;
    proxy.Close(handle);
  }
}

// A module path that names no file has no version table: it is tried
// in-process, which fails quietly, instead of raising.
TEST_F(DriverProxyTest, AMissingModuleUnderIsolationOpensNothingAndRaisesNothing) {
  SetIsolation(true);
  DriverDLLProxy proxy(store_);
  uint64_t handle = 1;
  EXPECT_NO_THROW(handle = proxy.OpenModule(SampleModule("no-such-module"), "Missing"));
  EXPECT_EQ(handle, 0u);
  EXPECT_FALSE(proxy.proxied());
  EXPECT_EQ(proxy.ActionFlag(handle, 3), 0u);
}

TEST_F(DriverProxyTest, ActionUIFallsBackToActionWhenTheModuleLacksIt) {
  DriverDLLProxy proxy(store_);
  const uint64_t handle = proxy.OpenModule(SampleModule("sample-driver-no-action-ui"), "NoUI");
  ASSERT_NE(handle, 0u);
  EXPECT_TRUE(proxy.ActionUI(handle, 0x1234, kEchoAction));
  EXPECT_FALSE(proxy.ActionUI(handle, 0x1234, 77)) << "no printer service to carry it to";
}

// Export, change, import and reset, through the host and in-process alike.
TEST_F(DriverProxyTest, SettingsRoundTripThroughTheFileAndBackToDefaults) {
  for (bool isolated : {true, false}) {
    SetIsolation(isolated);
    const std::string printer = isolated ? "Settings Host" : "Settings Local";
    DriverDLLProxy proxy(store_);
    const uint64_t handle = proxy.OpenModule(SampleModule("sample-driver"), printer);
    ASSERT_NE(handle, 0u);
    ASSERT_EQ(proxy.proxied(), isolated);
    proxy.SettingsReset(handle, 0);
    EXPECT_EQ(Settings(printer).ReadDword("SETTINGS:Darkness"), 15u);
    ASSERT_EQ(Settings(printer).WriteDword("SETTINGS:Darkness", 27), 0);
    const std::string file = TempFile(printer + ".reg");
    proxy.SettingsExport(handle, file, 0);
    proxy.SettingsReset(handle, 0);
    EXPECT_EQ(Settings(printer).ReadDword("SETTINGS:Darkness"), 15u);
    proxy.SettingsImport(handle, file, 0);
    EXPECT_EQ(Settings(printer).ReadDword("SETTINGS:Darkness"), 27u);
    proxy.SettingsSave(handle);
    proxy.SettingsSave(handle);
    EXPECT_EQ(Settings(printer).ReadDword("SETTINGS:Save Count"), 2u);
    proxy.Close(handle);
  }
}

TEST_F(DriverProxyTest, AKilledHostFailsItsCallAndEveryLaterOne) {
  SetIsolation(true);
  const std::string printer = "Killed Host";
  DriverDLLProxy proxy(store_);
  const uint64_t handle = proxy.OpenModule(SampleModule("sample-driver"), printer);
  ASSERT_TRUE(proxy.proxied());
  testing::ForgetHeldHost(printer);
  auto held = std::async(std::launch::async, [&] { return proxy.Action(handle, kHoldAction); });
  const std::optional<uint32_t> host = testing::WaitForHeldHost(printer);
  ASSERT_TRUE(host) << "the host never reached the held action";
  ASSERT_TRUE(platform::KillProcess(*host));
  EXPECT_FALSE(held.get());
  EXPECT_EQ(proxy.ActionFlag(handle, 3), 0u);
  EXPECT_FALSE(proxy.Action(handle, kEchoAction));
  proxy.Close(handle);
  // A new proxy starts a new host.
  DriverDLLProxy again(store_);
  const uint64_t second = again.OpenModule(SampleModule("sample-driver"), printer);
  EXPECT_TRUE(again.proxied());
  EXPECT_EQ(again.ActionFlag(second, 3), 1u);
}

}  // namespace
}  // namespace vantrel
