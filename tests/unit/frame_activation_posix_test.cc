// Registration and creation by ProgID on Linux, where the registered keys live
// in the settings store.
#include <gtest/gtest.h>

#include "frame/com_ptr.h"
#include "frame/ole_string.h"
#include "frame/registration.h"
#include "platform/named_mutex.h"
#include "platform/registry_value.h"
#include "platform/win32_errors.h"
#include "unit/frame_test_support.h"

namespace vantrel::frame {
namespace {

using vantrel::testing::RegisteredLibrary;

std::string DefaultValue(platform::SettingsStore& store, const std::string& key) {
  std::unique_ptr<platform::SettingsKey> handle;
  if (store.OpenKey(platform::RegistryRoot::kClassesRoot, key, platform::kKeyRead, &handle) != 0)
    return "<missing>";
  platform::RegistryValue value;
  if (handle->QueryValue("", &value) != 0) return "<no value>";
  return platform::ReadString(value).value_or("<not text>");
}

std::string NamedValue(platform::SettingsStore& store, const std::string& key, const char* name) {
  std::unique_ptr<platform::SettingsKey> handle;
  if (store.OpenKey(platform::RegistryRoot::kClassesRoot, key, platform::kKeyRead, &handle) != 0)
    return "<missing>";
  platform::RegistryValue value;
  if (handle->QueryValue(name, &value) != 0) return "<no value>";
  return platform::ReadString(value).value_or("<not text>");
}

HRESULT CreateByProgId(const char* progid, IUnknown** out) {
  const std::u16string wide(progid, progid + std::char_traits<char>::length(progid));
  CLSID clsid;
  const HRESULT hr = CLSIDFromProgID(reinterpret_cast<LPCOLESTR>(wide.c_str()), &clsid);
  if (FAILED(hr)) return hr;
  return CoCreateInstance(clsid, nullptr, CLSCTX_INPROC_SERVER, IID_IUnknown,
                          reinterpret_cast<void**>(out));
}

TEST(ActivationTest, EveryRegisteredProgIdCreatesItsObjectExceptTheJobSchedule) {
  RegisteredLibrary library;
  const char* progids[] = {"Antrel.CommandParameters.1",
                           "Antrel.CommandParameters",
                           "Vantrel.PrinterPort",
                           "Vantrel.PrinterConfiguratio.1",
                           "Vantrel.PrinterConfiguration",
                           "Vantrel.PrinterQueue",
                           "Vantrel.Jobs",
                           "Vantrel.PrinterStatus",
                           "Vantrel.Kesto",
                           "Vantrel.ImmediateCommand",
                           "Vantrel.Printer",
                           "Vantrel.PrinterConfigurationF",
                           "Vantrel.QueryResponse",
                           "Vantrel.Printers",
                           "Vantrel.PrintersFilter",
                           "Vantrel.Job",
                           "Vantrel.JobStatus",
                           "Vantrel.JobsFilter",
                           "Vantrel.PrintServer",
                           "Vantrel.QueryCommand"};
  for (const char* progid : progids) {
    ComPtr<IUnknown> object;
    EXPECT_EQ(CreateByProgId(progid, object.Receive()), S_OK) << progid;
  }
  ComPtr<IUnknown> schedule;
  EXPECT_EQ(CreateByProgId("Vantrel.PrintJobSchedule", schedule.Receive()),
            CLASS_E_CLASSNOTAVAILABLE);
  EXPECT_EQ(CreateByProgId("Vantrel.NoSuchClass", schedule.Receive()), CO_E_CLASSSTRING);
  // The table's own CLSID creates it.
  EXPECT_EQ(CoCreateInstance(CLSID_PrintJobSchedule, nullptr, CLSCTX_INPROC_SERVER, IID_IUnknown,
                             reinterpret_cast<void**>(schedule.Receive())),
            S_OK);
  const CLSID unregistered = {0x12345678, 0x1234, 0x1234, {1, 2, 3, 4, 5, 6, 7, 8}};
  EXPECT_EQ(CoCreateInstance(unregistered, nullptr, CLSCTX_INPROC_SERVER, IID_IUnknown,
                             reinterpret_cast<void**>(schedule.Receive())),
            REGDB_E_CLASSNOTREG);
}

TEST(ActivationTest, RegistrationWritesTheClassKeysAndTheSharedProgId) {
  RegisteredLibrary library;
  auto& store = library.store();
  EXPECT_EQ(DefaultValue(store, "Vantrel.PrinterConfiguratio.1\\CLSID"),
            "{14C04647-AF9E-429A-9272-F681974E7E69}");
  EXPECT_EQ(DefaultValue(store, "Vantrel.PrinterConfiguration\\CurVer"),
            "Vantrel.PrinterConfiguratio.1");
  EXPECT_EQ(DefaultValue(store, "Vantrel.PrintJobSchedule\\CLSID"),
            "{1E9A3A0F-B984-4ACC-B178-A97DA48AC9C6}");
  const std::string printer = "CLSID\\{9A95CD89-0B17-4598-BE2E-66F0DF4F307F}";
  EXPECT_EQ(DefaultValue(store, printer), "Printer Class");
  EXPECT_EQ(DefaultValue(store, printer + "\\ProgID"), "Vantrel.Printer.1");
  EXPECT_EQ(DefaultValue(store, printer + "\\TypeLib"), "{A9F21314-6355-436C-8A69-CC83C81331CE}");
  EXPECT_NE(DefaultValue(store, printer + "\\InprocServer32"), "<missing>");
  EXPECT_EQ(DefaultValue(store, printer + "\\Programmable"), "<no value>");
  EXPECT_EQ(NamedValue(store, printer + "\\InprocServer32", "ThreadingModel"), "Free");
  const std::string app_id = "{616BF1F1-5F85-46FD-9B2E-031CF04CEE72}";
  EXPECT_EQ(NamedValue(store, printer, "AppID"), app_id);
  EXPECT_EQ(DefaultValue(store, "AppID\\" + app_id), "Vantrel");
  EXPECT_EQ(NamedValue(store, "AppID\\Vantrel.DLL", "AppID"), app_id);

  ASSERT_EQ(UnregisterServer(), S_OK);
  EXPECT_EQ(DefaultValue(store, printer), "<missing>");
  EXPECT_EQ(DefaultValue(store, "Vantrel.Printer.1"), "<missing>");
  std::unique_ptr<platform::SettingsKey> clsid_root;
  EXPECT_EQ(
      store.OpenKey(platform::RegistryRoot::kClassesRoot, "CLSID", platform::kKeyRead, &clsid_root),
      0);                             // the CLSID key itself stays
  ASSERT_EQ(RegisterServer(), S_OK);  // for the fixture's own clean-up
}

// A store that refuses the first value written: registration reports that
// error and writes nothing after it.
TEST(ActivationTest, RegistrationStopsAtTheFirstFailedWrite) {
  vantrel::testing::FakeSettingsStore store;
  platform::SetSettingsStoreForTesting(&store);
  store.InjectFailure(vantrel::testing::FakeSettingsStore::Operation::kSetValue,
                      platform::kErrorAccessDenied, 1);
  const HRESULT hr = RegisterServer();
  const int writes = store.Calls(vantrel::testing::FakeSettingsStore::Operation::kSetValue);
  const std::string after = NamedValue(store, "AppID\\Vantrel.DLL", "AppID");
  platform::SetSettingsStoreForTesting(nullptr);
  EXPECT_EQ(hr, HRESULT_FROM_WIN32(static_cast<DWORD>(platform::kErrorAccessDenied)));
  EXPECT_EQ(writes, 1);
  EXPECT_EQ(after, "<missing>");
}

}  // namespace
}  // namespace vantrel::frame
