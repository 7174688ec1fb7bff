// The error frame as a client sees it: result codes, the description and the
// source of the thread's error information.
#include <gtest/gtest.h>

#include <thread>

#include "frame/class_factory.h"
#include "frame/com_ptr.h"
#include "frame/error_frame.h"
#include "frame/ole_string.h"
#include "unit/frame_test_support.h"

namespace vantrel::frame {
namespace {

using vantrel::testing::ClientError;
using vantrel::testing::RegisteredLibrary;
using vantrel::testing::TakeClientError;

template <class Interface>
ComPtr<Interface> Create(REFCLSID clsid, REFIID iid) {
  ComPtr<IClassFactory> factory;
  GetClassObject(clsid, IID_IClassFactory, reinterpret_cast<void**>(factory.Receive()));
  ComPtr<IUnknown> unknown;
  factory->CreateInstance(nullptr, IID_IUnknown, reinterpret_cast<void**>(unknown.Receive()));
  ComPtr<Interface> object;
  unknown->QueryInterface(iid, reinterpret_cast<void**>(object.Receive()));
  return object;
}

TEST(ErrorFrameTest, UnboundPrinterReportsNotInitializedWithItsProgId) {
  RegisteredLibrary library;
  auto printer = Create<IPrinter>(CLSID_Printer, IID_IPrinter);
  Bstr name;
  EXPECT_EQ(printer->get_Name(name.receive()), static_cast<HRESULT>(0x80042000));
  EXPECT_EQ(name.get(), nullptr);
  ClientError error = TakeClientError();
  ASSERT_TRUE(error.present);
  EXPECT_EQ(error.description, "Printer object not initialized");
  EXPECT_EQ(error.source, "Vantrel.Printer.1");

  // A later success leaves the earlier failure's information in place.
  EXPECT_EQ(printer->get_Comment(name.receive()), static_cast<HRESULT>(0x80042000));
  ComPtr<IPrintQueue> queue;
  EXPECT_EQ(printer->get_Queue(queue.Receive()), S_OK);
  ASSERT_TRUE(queue);
  error = TakeClientError();
  ASSERT_TRUE(error.present);
  EXPECT_EQ(error.description, "Printer object not initialized");
}

TEST(ErrorFrameTest, EveryBoundClassRefusesWorkUntilInitialized) {
  RegisteredLibrary library;
  struct Row {
    const CLSID* clsid;
    DISPID member;
    uint32_t code;
    const char* text;
    WORD kind = DISPATCH_PROPERTYGET;
  };
  const Row rows[] = {
      {&CLSID_PrinterStatus, 101, 0x80042100, "PrinterStatus object not initialized"},
      {&CLSID_PrinterPort, 0x66, 0x80042102, "PrinterPort object not initialized"},
      {&CLSID_PrintJobStatus, 0x65, 0x80042300, "JobStatus object not initialized"},
      {&CLSID_PrintJob, 0x65, 0x80042200, "Job object not initialized"},
      {&CLSID_PrintJobSchedule, 0x65, 0x80042400, "JobSchedule object not initialized"},
      {&CLSID_PrinterConfiguration, 0x0D, 0x80042101, "PrinterConfiguration object not initialized",
       DISPATCH_METHOD},
  };
  for (const Row& row : rows) {
    auto object = Create<IDispatch>(*row.clsid, IID_IDispatch);
    DISPPARAMS none{};
    VARIANT result;
    VariantInit(&result);
    EXCEPINFO exception{};
    const HRESULT hr =
        object->Invoke(row.member, IID_NULL, 0, row.kind, &none, &result, &exception, nullptr);
    EXPECT_EQ(hr, DISP_E_EXCEPTION) << row.text;
    EXPECT_EQ(static_cast<uint32_t>(exception.scode), row.code) << row.text;
    EXPECT_EQ(BstrToUtf8(exception.bstrDescription), row.text);
    SysFreeString(exception.bstrDescription);
    SysFreeString(exception.bstrSource);
    SysFreeString(exception.bstrHelpFile);
  }
}

TEST(ErrorFrameTest, MembersNotYetBuiltSayNotImplemented) {
  auto server = Create<IPrintServer>(CLSID_PrintServer, IID_IPrintServer);
  Bstr name;
  EXPECT_EQ(server->get_Name(name.receive()), E_NOTIMPL);
  EXPECT_EQ(TakeClientError().description, "Not implemented");
}

TEST(ErrorFrameTest, ErrorInformationBelongsToTheFailingThread) {
  RegisteredLibrary library;
  auto printer = Create<IPrinter>(CLSID_Printer, IID_IPrinter);
  Bstr name;
  printer->get_Name(name.receive());
  std::thread other([] { EXPECT_FALSE(TakeClientError().present); });
  other.join();
  EXPECT_TRUE(TakeClientError().present);
}

TEST(ErrorFrameTest, SourceIsLeftUnsetWhenTheClassIsNotRegistered) {
  vantrel::testing::FakeSettingsStore empty;
  platform::SetSettingsStoreForTesting(&empty);
  ASSERT_EQ(SetClientError(CLSID_Printer, "Printer not recognized"), S_OK);
  platform::SetSettingsStoreForTesting(nullptr);
  const ClientError error = TakeClientError();
  EXPECT_EQ(error.description, "Printer not recognized");
  EXPECT_EQ(error.source, "");
}

}  // namespace
}  // namespace vantrel::frame
