// Creation through the system's COM runtime after Vantrel.dll registered
// itself: what the registered identity gives a client under Windows.
#include <gtest/gtest.h>

#include <memory>
#include <string>

#include "frame/automation.h"
#include "frame/com_ptr.h"
#include "platform/library_folder.h"
#include "platform/loadable_module.h"

namespace vantrel::frame {
namespace {

using EntryPoint = HRESULT (*)();

// Vantrel.dll beside the test program, registered for the life of the object.
class RegisteredDll {
 public:
  RegisteredDll() {
    std::string error;
    module_ = platform::LoadModule(platform::LibraryFolder() + "\\Vantrel.dll", &error);
    if (!module_) return;
    auto do_register = reinterpret_cast<EntryPoint>(module_->Symbol("DllRegisterServer"));
    registered_ = do_register != nullptr && do_register() == S_OK;
  }
  ~RegisteredDll() {
    if (!registered_) return;
    reinterpret_cast<EntryPoint>(module_->Symbol("DllUnregisterServer"))();
  }
  bool registered() const { return registered_; }
  // The DLL's own class object for `clsid`, as an in-process client asks it.
  HRESULT GetClassObject(REFCLSID clsid, IClassFactory** out) const {
    using GetClassObjectFn = HRESULT (*)(REFCLSID, REFIID, void**);
    auto get = reinterpret_cast<GetClassObjectFn>(module_->Symbol("DllGetClassObject"));
    return get(clsid, IID_IClassFactory, reinterpret_cast<void**>(out));
  }

 private:
  std::unique_ptr<platform::LoadableModule> module_;
  bool registered_ = false;
};

HRESULT CreateByProgId(const wchar_t* progid, IUnknown** out) {
  CLSID clsid;
  const HRESULT hr = CLSIDFromProgID(progid, &clsid);
  if (FAILED(hr)) return hr;
  return CoCreateInstance(clsid, nullptr, CLSCTX_INPROC_SERVER, IID_IUnknown,
                          reinterpret_cast<void**>(out));
}

TEST(ActivationTest, RegisteredIdentityHoldsThroughTheSystemRuntime) {
  ASSERT_TRUE(SUCCEEDED(CoInitializeEx(nullptr, COINIT_MULTITHREADED)));
  {
    RegisteredDll dll;
    ASSERT_TRUE(dll.registered());
    ComPtr<IUnknown> object;
    EXPECT_EQ(CreateByProgId(L"Vantrel.PrintJobSchedule", object.Receive()),
              CLASS_E_CLASSNOTAVAILABLE);
    // Its table CLSID is not registered, so only the DLL itself creates it.
    EXPECT_EQ(CoCreateInstance(CLSID_PrintJobSchedule, nullptr, CLSCTX_INPROC_SERVER, IID_IUnknown,
                               reinterpret_cast<void**>(object.Receive())),
              REGDB_E_CLASSNOTREG);
    ComPtr<IClassFactory> factory;
    ASSERT_EQ(dll.GetClassObject(CLSID_PrintJobSchedule, factory.Receive()), S_OK);
    EXPECT_EQ(
        factory->CreateInstance(nullptr, IID_IUnknown, reinterpret_cast<void**>(object.Receive())),
        S_OK);
    factory.Reset();
    CLSID shared;
    ASSERT_EQ(CLSIDFromProgID(L"Vantrel.PrinterConfiguratio.1", &shared), S_OK);
    EXPECT_TRUE(IsEqualCLSID(shared, CLSID_PrinterConfigurationFilter));
    ASSERT_EQ(CreateByProgId(L"Vantrel.Printer", object.Receive()), S_OK);
    object.Reset();
  }
  CoUninitialize();
}

}  // namespace
}  // namespace vantrel::frame
