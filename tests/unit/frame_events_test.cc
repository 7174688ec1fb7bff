// Connection points: the one point per event source, advising, firing to
// every sink without holding a lock, and unadvising from inside an event.
#include <gtest/gtest.h>

#include "frame/class_factory.h"
#include "frame/com_ptr.h"
#include "frame/connection_point.h"
#include "frame/enumerator.h"
#include "unit/frame_test_support.h"

namespace vantrel::frame {
namespace {

using vantrel::testing::RecordingSink;

template <class Interface>
ComPtr<Interface> Create(REFCLSID clsid, REFIID iid) {
  ComPtr<IClassFactory> factory;
  GetClassObject(clsid, IID_IClassFactory, reinterpret_cast<void**>(factory.Receive()));
  ComPtr<Interface> object;
  ComPtr<IUnknown> unknown;
  if (factory && SUCCEEDED(factory->CreateInstance(nullptr, IID_IUnknown,
                                                   reinterpret_cast<void**>(unknown.Receive()))))
    unknown->QueryInterface(iid, reinterpret_cast<void**>(object.Receive()));
  return object;
}

ComPtr<IConnectionPoint> PointOf(IUnknown* source, REFIID events) {
  ComPtr<IConnectionPointContainer> container;
  source->QueryInterface(IID_IConnectionPointContainer,
                         reinterpret_cast<void**>(container.Receive()));
  ComPtr<IConnectionPoint> point;
  if (container) container->FindConnectionPoint(events, point.Receive());
  return point;
}

TEST(ConnectionPointTest, EachSourceHasExactlyItsOwnPoint) {
  auto server = Create<IUnknown>(CLSID_PrintServer, IID_IUnknown);
  ComPtr<IConnectionPointContainer> container;
  ASSERT_EQ(server->QueryInterface(IID_IConnectionPointContainer,
                                   reinterpret_cast<void**>(container.Receive())),
            S_OK);
  IConnectionPoint* point = reinterpret_cast<IConnectionPoint*>(1);
  EXPECT_EQ(container->FindConnectionPoint(DIID__IPrinterEvents, &point), CONNECT_E_NOCONNECTION);
  EXPECT_EQ(point, nullptr);
  ComPtr<IConnectionPoint> own;
  ASSERT_EQ(container->FindConnectionPoint(DIID__IPrintServerEvents, own.Receive()), S_OK);
  IID iid;
  ASSERT_EQ(own->GetConnectionInterface(&iid), S_OK);
  EXPECT_TRUE(IsEqualIID(iid, DIID__IPrintServerEvents));

  ComPtr<IEnumConnectionPoints> points;
  ASSERT_EQ(container->EnumConnectionPoints(points.Receive()), S_OK);
  IConnectionPoint* listed[2] = {};
  ULONG fetched = 0;
  EXPECT_EQ(points->Next(2, listed, &fetched), S_FALSE);
  ASSERT_EQ(fetched, 1u);
  EXPECT_EQ(listed[0], own.Get());
  listed[0]->Release();

  // Objects that are no event source have no container.
  auto filter = Create<IUnknown>(CLSID_PrintersFilter, IID_IUnknown);
  void* none = nullptr;
  EXPECT_EQ(filter->QueryInterface(IID_IConnectionPointContainer, &none), E_NOINTERFACE);
}

TEST(ConnectionPointTest, AdviseChecksTheSinkAndCookiesAreReused) {
  auto printer = Create<IUnknown>(CLSID_Printer, IID_IUnknown);
  auto point = PointOf(printer.Get(), DIID__IPrinterEvents);
  ASSERT_TRUE(point);
  RecordingSink wrong(DIID__IPrintJobEvents);
  DWORD cookie = 99;
  EXPECT_EQ(point->Advise(&wrong, &cookie), CONNECT_E_CANNOTCONNECT);
  EXPECT_EQ(cookie, 0u);
  EXPECT_EQ(wrong.references(), 0u);

  RecordingSink a(DIID__IPrinterEvents), b(DIID__IPrinterEvents);
  DWORD first = 0, second = 0, again = 0;
  ASSERT_EQ(point->Advise(&a, &first), S_OK);
  ASSERT_EQ(point->Advise(&b, &second), S_OK);
  EXPECT_NE(first, 0u);
  EXPECT_NE(first, second);
  EXPECT_EQ(point->Unadvise(first), S_OK);
  EXPECT_EQ(point->Unadvise(first), CONNECT_E_NOCONNECTION);
  EXPECT_EQ(point->Unadvise(0), CONNECT_E_NOCONNECTION);
  EXPECT_EQ(a.references(), 0u);
  ASSERT_EQ(point->Advise(&a, &again), S_OK);
  EXPECT_EQ(again, first);  // the free slot is taken again

  ComPtr<IEnumConnections> connections;
  ASSERT_EQ(point->EnumConnections(connections.Receive()), S_OK);
  CONNECTDATA data[3] = {};
  ULONG fetched = 0;
  EXPECT_EQ(connections->Next(3, data, &fetched), S_FALSE);
  EXPECT_EQ(fetched, 2u);
  for (ULONG i = 0; i < fetched; ++i) data[i].pUnk->Release();
  connections.Reset();
  point->Unadvise(again);
  point->Unadvise(second);
  EXPECT_EQ(b.references(), 0u);
}

TEST(ConnectionPointTest, FiringReachesEverySinkThoughOneFailsAndOneLeaves) {
  auto printer = Create<IUnknown>(CLSID_Printer, IID_IUnknown);
  auto point = PointOf(printer.Get(), DIID__IPrinterEvents);
  ASSERT_TRUE(point);
  RecordingSink first(DIID__IPrinterEvents), failing(DIID__IPrinterEvents),
      leaving(DIID__IPrinterEvents);
  DWORD cookies[3] = {};
  ASSERT_EQ(point->Advise(&first, &cookies[0]), S_OK);
  ASSERT_EQ(point->Advise(&failing, &cookies[1]), S_OK);
  ASSERT_EQ(point->Advise(&leaving, &cookies[2]), S_OK);
  failing.on_event = [] { return E_FAIL; };
  leaving.on_event = [&] { return point->Unadvise(cookies[2]); };  // would deadlock under a lock

  auto* connection_point = static_cast<ConnectionPoint*>(point.Get());
  auto source = Create<IDispatch>(CLSID_Printer, IID_IDispatch);
  {
    EventArguments arguments;
    arguments.Object(source.Get()).String("Old name").String("New name");
    connection_point->Fire(1, arguments);
  }
  EventArguments pages;
  pages.Object(nullptr).Long(3).Long(-7);
  connection_point->Fire(7, pages);

  // Each sink sees the arguments in the order the event declares them,
  // whatever order the dispatch call carries them in.
  using Arguments = std::vector<std::vector<std::string>>;
  const Arguments expected = {{"dispatch:object", "string:Old name", "string:New name"},
                              {"dispatch:null", "long:3", "long:-7"}};
  EXPECT_EQ(first.arguments, expected);
  EXPECT_EQ(failing.arguments, expected);
  EXPECT_EQ(first.kinds, (std::vector<WORD>{DISPATCH_METHOD, DISPATCH_METHOD}));
  EXPECT_EQ(first.calls, (std::vector<DISPID>{1, 7}));
  EXPECT_EQ(failing.calls, (std::vector<DISPID>{1, 7}));
  EXPECT_EQ(leaving.calls, (std::vector<DISPID>{1}));  // nothing after it left
  EXPECT_EQ(leaving.references(), 0u);
  EXPECT_EQ(connection_point->SinkCount(), 2u);
  point->Unadvise(cookies[0]);
  point->Unadvise(cookies[1]);
}

TEST(VariantEnumeratorTest, CopiesItsItemsAndClonesKeepTheirPosition) {
  std::vector<VARIANT> items(3);
  for (int i = 0; i < 3; ++i) {
    VariantInit(&items[i]);
    V_VT(&items[i]) = VT_I4;
    V_I4(&items[i]) = i + 10;
  }
  ComPtr<IEnumVARIANT> enumerator;
  ASSERT_EQ(CreateVariantEnumerator(items, enumerator.Receive()), S_OK);
  V_I4(&items[0]) = 99;  // the enumerator holds its own copies

  VARIANT got[2];
  ULONG fetched = 0;
  ASSERT_EQ(enumerator->Next(1, got, &fetched), S_OK);
  EXPECT_EQ(V_I4(&got[0]), 10);
  ComPtr<IEnumVARIANT> clone;
  ASSERT_EQ(enumerator->Clone(clone.Receive()), S_OK);
  EXPECT_EQ(enumerator->Skip(5), S_FALSE);
  EXPECT_EQ(enumerator->Next(1, got, &fetched), S_FALSE);
  EXPECT_EQ(fetched, 0u);
  ASSERT_EQ(clone->Next(2, got, &fetched), S_OK);
  EXPECT_EQ(fetched, 2u);
  EXPECT_EQ(V_I4(&got[1]), 12);
  EXPECT_EQ(clone->Next(2, got, nullptr), E_POINTER);
  ASSERT_EQ(enumerator->Reset(), S_OK);
  ASSERT_EQ(enumerator->Next(1, got, nullptr), S_OK);
  EXPECT_EQ(V_I4(&got[0]), 10);
}

}  // namespace
}  // namespace vantrel::frame
