// _vantrel_test_hooks: fires events at the sinks connected to an object, on
// threads of its own, the way the library's background threads do (the sink
// is called through IDispatch::Invoke with the arguments last-first, no
// interpreter lock held). Built for the tests only; never installed.
#include <pybind11/pybind11.h>
#include <pybind11/stl.h>

#include <atomic>
#include <memory>
#include <thread>
#include <vector>

#include "automation_runtime.h"

namespace py = pybind11;

namespace {

// The argument VARIANTs of one event, last argument first.
struct Event {
  DISPID dispid = 0;
  std::vector<VARIANT> reversed;
  ~Event() {
    for (VARIANT& value : reversed) VariantClear(&value);
  }
};

std::shared_ptr<Event> MakeEvent(DISPID dispid, const py::list& args) {
  auto event = std::make_shared<Event>();
  event->dispid = dispid;
  for (size_t i = args.size(); i-- > 0;) {
    VARIANT value;
    VariantInit(&value);
    py::handle arg = args[i];
    if (py::isinstance<py::str>(arg)) {
      std::u16string text = py::cast<std::u16string>(arg);
      value.vt = VT_BSTR;
      value.bstrVal = SysAllocStringLen(text.data(), static_cast<UINT>(text.size()));
    } else if (py::isinstance<py::tuple>(arg)) {  // ("object", address)
      auto* object = reinterpret_cast<IDispatch*>(
          py::cast<uintptr_t>(py::reinterpret_borrow<py::tuple>(arg)[1]));
      object->AddRef();
      value.vt = VT_DISPATCH;
      value.pdispVal = object;
    } else {
      value.vt = VT_I4;
      value.lVal = py::cast<LONG>(arg);
    }
    event->reversed.push_back(value);
  }
  return event;
}

// Calls every sink connected to the first connection point of `source`.
// Returns how many sinks were called.
int FireNow(IDispatch* source, Event& event) {
  IConnectionPointContainer* container = nullptr;
  if (FAILED(source->QueryInterface(IID_IConnectionPointContainer,
                                    reinterpret_cast<void**>(&container))))
    return -1;
  IEnumConnectionPoints* points = nullptr;
  IConnectionPoint* point = nullptr;
  ULONG fetched = 0;
  container->EnumConnectionPoints(&points);
  container->Release();
  points->Next(1, &point, &fetched);
  points->Release();
  IEnumConnections* connections = nullptr;
  point->EnumConnections(&connections);
  point->Release();
  int called = 0;
  CONNECTDATA data{};
  while (connections->Next(1, &data, &fetched) == S_OK) {
    IDispatch* sink = nullptr;
    if (SUCCEEDED(data.pUnk->QueryInterface(IID_IDispatch, reinterpret_cast<void**>(&sink)))) {
      DISPPARAMS params{event.reversed.data(), nullptr, static_cast<UINT>(event.reversed.size()),
                        0};
      VARIANT result;
      VariantInit(&result);
      sink->Invoke(event.dispid, IID_NULL, LOCALE_USER_DEFAULT, DISPATCH_METHOD, &params, &result,
                   nullptr, nullptr);
      VariantClear(&result);
      sink->Release();
      ++called;
    }
    data.pUnk->Release();
  }
  connections->Release();
  return called;
}

// One firing thread; join() waits for it and gives the number of sinks called.
class Firing {
 public:
  Firing(IDispatch* source, std::shared_ptr<Event> event, int times) {
    source->AddRef();
    thread_ = std::thread([this, source, event, times] {
      int called = 0;
      for (int i = 0; i < times; ++i) called += FireNow(source, *event);
      source->Release();
      called_ = called;
    });
  }
  ~Firing() {
    if (thread_.joinable()) {
      py::gil_scoped_release unlocked;
      thread_.join();
    }
  }
  int Join() {
    if (thread_.joinable()) {
      py::gil_scoped_release unlocked;
      thread_.join();
    }
    return called_;
  }

 private:
  std::thread thread_;
  std::atomic<int> called_{0};
};

// An object whose every member fires an event at `source` from another
// thread and waits for that thread before it returns: a call that blocks the
// caller inside the library while a library thread delivers an event.
class BlockingCall final : public IDispatch {
 public:
  BlockingCall(IDispatch* source, std::shared_ptr<Event> event)
      : source_(source), event_(std::move(event)) {
    source_->AddRef();
  }
  STDMETHODIMP QueryInterface(REFIID iid, void** out) override {
    if (iid == IID_IUnknown || iid == IID_IDispatch) {
      *out = static_cast<IDispatch*>(this);
      AddRef();
      return S_OK;
    }
    *out = nullptr;
    return E_NOINTERFACE;
  }
  STDMETHODIMP_(ULONG) AddRef() override { return ++references_; }
  STDMETHODIMP_(ULONG) Release() override {
    const ULONG left = --references_;
    if (left == 0) delete this;
    return left;
  }
  STDMETHODIMP GetTypeInfoCount(UINT* count) override {
    *count = 0;
    return S_OK;
  }
  STDMETHODIMP GetTypeInfo(UINT, LCID, ITypeInfo**) override { return DISP_E_BADINDEX; }
  STDMETHODIMP GetIDsOfNames(REFIID, LPOLESTR*, UINT count, LCID, DISPID* ids) override {
    for (UINT i = 0; i < count; ++i) ids[i] = 1;
    return S_OK;
  }
  STDMETHODIMP Invoke(DISPID, REFIID, LCID, WORD, DISPPARAMS*, VARIANT* result, EXCEPINFO*,
                      UINT*) override {
    int called = 0;
    std::thread firing([&] { called = FireNow(source_, *event_); });
    firing.join();
    if (result) {
      VariantInit(result);
      result->vt = VT_I4;
      result->lVal = called;
    }
    return S_OK;
  }

 private:
  ~BlockingCall() { source_->Release(); }
  IDispatch* source_;
  std::shared_ptr<Event> event_;
  std::atomic<ULONG> references_{1};
};

}  // namespace

PYBIND11_MODULE(_vantrel_test_hooks, module) {
  py::class_<Firing>(module, "Firing").def("join", &Firing::Join);
  module.def(
      "fire",
      [](uintptr_t source, DISPID dispid, const py::list& args, int times) {
        return new Firing(reinterpret_cast<IDispatch*>(source), MakeEvent(dispid, args), times);
      },
      py::arg("source"), py::arg("dispid"), py::arg("args"), py::arg("times") = 1,
      py::return_value_policy::take_ownership);
  // The address of a new BlockingCall with one reference, for
  // DispatchRef.from_address; release() drops that reference.
  module.def("blocking_call", [](uintptr_t source, DISPID dispid, const py::list& args) {
    return reinterpret_cast<uintptr_t>(static_cast<IDispatch*>(
        new BlockingCall(reinterpret_cast<IDispatch*>(source), MakeEvent(dispid, args))));
  });
  module.def("release", [](uintptr_t object) { reinterpret_cast<IUnknown*>(object)->Release(); });
}
