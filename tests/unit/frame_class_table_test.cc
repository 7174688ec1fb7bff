// The class table, creation through the class objects, aggregation, the
// interface tables and the module's lock count.
#include <gtest/gtest.h>

#include <atomic>
#include <thread>
#include <vector>

#include "frame/class_factory.h"
#include "frame/class_table.h"
#include "frame/com_ptr.h"
#include "frame/automation.h"
#include "frame/module.h"
#include "frame/object.h"
#include "vantrel_stubs.h"

extern "C" HRESULT DllCanUnloadNow();

namespace vantrel::frame {
namespace {

ComPtr<IUnknown> CreateThroughFactory(REFCLSID clsid, HRESULT* hr) {
  ComPtr<IClassFactory> factory;
  *hr = GetClassObject(clsid, IID_IClassFactory, reinterpret_cast<void**>(factory.Receive()));
  if (FAILED(*hr)) return {};
  ComPtr<IUnknown> object;
  *hr = factory->CreateInstance(nullptr, IID_IUnknown, reinterpret_cast<void**>(object.Receive()));
  return object;
}

// The interface the object's type information describes: its default one.
IID DefaultInterfaceOf(IDispatch* dispatch) {
  IID iid{};
  ComPtr<ITypeInfo> info;
  TYPEATTR* attributes = nullptr;
  if (SUCCEEDED(dispatch->GetTypeInfo(0, 0, info.Receive())) &&
      SUCCEEDED(info->GetTypeAttr(&attributes))) {
    iid = attributes->guid;
    info->ReleaseTypeAttr(attributes);
  }
  return iid;
}

TEST(ClassTableTest, EveryRowCreatesAnObjectAnsweringItsInterfaces) {
  ASSERT_EQ(ClassTable().size(), 19u);
  for (const ClassEntry& entry : ClassTable()) {
    SCOPED_TRACE(entry.progid);
    HRESULT hr;
    ComPtr<IUnknown> object = CreateThroughFactory(*entry.clsid, &hr);
    ASSERT_EQ(hr, S_OK);
    ComPtr<IDispatch> dispatch;
    ASSERT_EQ(object->QueryInterface(IID_IDispatch, reinterpret_cast<void**>(dispatch.Receive())),
              S_OK);
    ComPtr<ISupportErrorInfo> support;
    ASSERT_EQ(
        object->QueryInterface(IID_ISupportErrorInfo, reinterpret_cast<void**>(support.Receive())),
        S_OK);
    EXPECT_EQ(support->InterfaceSupportsErrorInfo(IID_IDispatch), S_FALSE);
    EXPECT_EQ(support->InterfaceSupportsErrorInfo(IID_IUnknown), S_FALSE);
    EXPECT_EQ(support->InterfaceSupportsErrorInfo(DefaultInterfaceOf(dispatch.Get())), S_OK);
    // The identity is the same whichever interface it is asked through.
    ComPtr<IUnknown> identity;
    ASSERT_EQ(support->QueryInterface(IID_IUnknown, reinterpret_cast<void**>(identity.Receive())),
              S_OK);
    EXPECT_EQ(identity.Get(), object.Get());
    void* none = reinterpret_cast<void*>(1);
    EXPECT_EQ(object->QueryInterface(IID_IClassFactory, &none), E_NOINTERFACE);
    EXPECT_EQ(none, nullptr);
    UINT count = 0;
    EXPECT_EQ(dispatch->GetTypeInfoCount(&count), S_OK);
    EXPECT_EQ(count, 1u);
    ITypeInfo* info = reinterpret_cast<ITypeInfo*>(1);
    EXPECT_EQ(dispatch->GetTypeInfo(1, 0, &info), DISP_E_BADINDEX);
    EXPECT_EQ(info, nullptr);
    ComPtr<ITypeInfo> first;
    EXPECT_EQ(dispatch->GetTypeInfo(0, 0, first.Receive()), S_OK);
  }
}

TEST(ClassTableTest, UnknownClassAndNullOutput) {
  const CLSID unknown = {0x12345678, 0x1234, 0x1234, {1, 2, 3, 4, 5, 6, 7, 8}};
  void* out = reinterpret_cast<void*>(1);
  EXPECT_EQ(GetClassObject(unknown, IID_IClassFactory, &out), CLASS_E_CLASSNOTAVAILABLE);
  EXPECT_EQ(out, nullptr);
  EXPECT_EQ(GetClassObject(CLSID_Kesto, IID_IClassFactory, nullptr), E_POINTER);
  // The registry CLSID of the job schedule is not a row of the table.
  CLSID registered;
  ASSERT_EQ(CLSIDFromString(const_cast<LPOLESTR>(OLESTR("{1E9A3A0F-B984-4ACC-B178-A97DA48AC9C6}")),
                            &registered),
            S_OK);
  EXPECT_EQ(GetClassObject(registered, IID_IClassFactory, &out), CLASS_E_CLASSNOTAVAILABLE);
  EXPECT_NE(FindClass(CLSID_PrintJobSchedule), nullptr);
}

// A minimal outer object: counts its own references and holds the inner
// unknown of one aggregated object.
class Outer final : public IUnknown {
 public:
  STDMETHODIMP QueryInterface(REFIID iid, void** out) override {
    if (IsEqualIID(iid, IID_IUnknown)) {
      *out = static_cast<IUnknown*>(this);
      AddRef();
      return S_OK;
    }
    return inner->QueryInterface(iid, out);
  }
  STDMETHODIMP_(ULONG) AddRef() override { return ++references; }
  STDMETHODIMP_(ULONG) Release() override { return --references; }

  std::atomic<ULONG> references{1};
  IUnknown* inner = nullptr;
};

TEST(AggregationTest, InnerAnswersIUnknownAndEverythingElseGoesThroughTheOuter) {
  Outer outer;
  ComPtr<IClassFactory> factory;
  ASSERT_EQ(GetClassObject(CLSID_PrintersFilter, IID_IClassFactory,
                           reinterpret_cast<void**>(factory.Receive())),
            S_OK);
  void* refused = reinterpret_cast<void*>(1);
  EXPECT_EQ(factory->CreateInstance(&outer, IID_IPrintersFilter, &refused), CLASS_E_NOAGGREGATION);
  EXPECT_EQ(refused, nullptr);
  ASSERT_EQ(factory->CreateInstance(&outer, IID_IUnknown, reinterpret_cast<void**>(&outer.inner)),
            S_OK);
  EXPECT_EQ(outer.references, 1u);  // the inner object does not count on its outer

  IPrintersFilter* filter = nullptr;
  ASSERT_EQ(outer.QueryInterface(IID_IPrintersFilter, reinterpret_cast<void**>(&filter)), S_OK);
  EXPECT_EQ(outer.references, 2u);  // the inner object's interfaces count on the outer
  IUnknown* identity = nullptr;
  ASSERT_EQ(filter->QueryInterface(IID_IUnknown, reinterpret_cast<void**>(&identity)), S_OK);
  EXPECT_EQ(identity, static_cast<IUnknown*>(&outer));
  identity->Release();
  filter->Release();
  EXPECT_EQ(outer.references, 1u);

  IUnknown* inner_again = nullptr;
  ASSERT_EQ(outer.inner->QueryInterface(IID_IUnknown, reinterpret_cast<void**>(&inner_again)),
            S_OK);
  EXPECT_EQ(inner_again, outer.inner);
  inner_again->Release();
  EXPECT_EQ(outer.inner->Release(), 0u);
}

TEST(ModuleTest, CanUnloadOnlyWhenNoObjectOrLockRemains) {
  ASSERT_EQ(DllCanUnloadNow(), S_OK);
  HRESULT hr;
  ComPtr<IUnknown> printer = CreateThroughFactory(CLSID_Printer, &hr);
  ASSERT_EQ(hr, S_OK);
  EXPECT_EQ(DllCanUnloadNow(), S_FALSE);
  printer.Reset();  // also releases the children it made
  EXPECT_EQ(DllCanUnloadNow(), S_OK);

  ComPtr<IClassFactory> factory;
  ASSERT_EQ(
      GetClassObject(CLSID_Kesto, IID_IClassFactory, reinterpret_cast<void**>(factory.Receive())),
      S_OK);
  factory->LockServer(TRUE);
  EXPECT_EQ(DllCanUnloadNow(), S_FALSE);
  factory->LockServer(FALSE);
  EXPECT_EQ(DllCanUnloadNow(), S_OK);
}

TEST(ModuleTest, ManyThreadsCreateQueryInvokeAndRelease) {
  std::vector<std::thread> threads;
  std::atomic<int> failures{0};
  for (int t = 0; t < 8; ++t) {
    threads.emplace_back([&failures, t] {
      for (int round = 0; round < 200; ++round) {
        const ClassEntry& entry = ClassTable()[(t + round) % ClassTable().size()];
        HRESULT hr;
        ComPtr<IUnknown> object = CreateThroughFactory(*entry.clsid, &hr);
        ComPtr<IDispatch> dispatch;
        if (FAILED(hr) || FAILED(object->QueryInterface(
                              IID_IDispatch, reinterpret_cast<void**>(dispatch.Receive())))) {
          ++failures;
          continue;
        }
        DISPPARAMS none{};
        VARIANT result;
        VariantInit(&result);
        // Any member: what matters is that dispatch and the frame hold up.
        dispatch->Invoke(101, IID_NULL, 0, DISPATCH_PROPERTYGET, &none, &result, nullptr, nullptr);
        VariantClear(&result);
      }
    });
  }
  for (auto& thread : threads) thread.join();
  EXPECT_EQ(failures, 0);
  EXPECT_EQ(DllCanUnloadNow(), S_OK);
}

// An object that tries to take a reference to itself while it is destroyed,
// as a list that names it without holding it would.
class Reviving final : public AutomationObject<IKestoStubs, IID_IKesto, CLSID_Kesto> {
 public:
  void FinalRelease() override { retained_in_final_release = TryInternalAddRef(); }
  static inline bool retained_in_final_release = true;
};

TEST(ObjectLifetimeTest, ConditionalReferenceOnlyWhileTheCountIsAboveZero) {
  Reviving* object = CreateObject<Reviving>();
  EXPECT_TRUE(object->TryInternalAddRef());  // 2
  EXPECT_EQ(object->InternalRelease(), 1u);
  Reviving::retained_in_final_release = true;
  object->InternalRelease();  // the last: FinalRelease may not revive it
  EXPECT_FALSE(Reviving::retained_in_final_release);
}

}  // namespace
}  // namespace vantrel::frame
