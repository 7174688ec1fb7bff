#include "event_sink.h"

#include <atomic>
#include <string>
#include <vector>

#include "automation_runtime.h"
#include "com_error.h"
#include "dispatch_ref.h"
#include "values.h"
#include "vantrel_members.h"

namespace vantrel::python {
namespace {

// The event names of one event interface by DISPID, from the generated member
// tables (the event dispinterfaces have no type information a client can reach).
std::string EventName(const idl::Interface& events, DISPID dispid) {
  for (const idl::Member& member : events.members)
    if (member.dispid == dispid) return member.name;
  return {};
}

// Free-threaded: Invoke may run on any library thread, at the same time on
// several. `deliver_` is read and changed only with the interpreter lock held,
// which is what guards it.
class EventSink final : public IDispatch {
 public:
  EventSink(const IID& events, const idl::Interface& description, py::object deliver)
      : events_(events), description_(description), deliver_(deliver.release().ptr()) {}

  STDMETHODIMP QueryInterface(REFIID iid, void** out) override {
    if (out == nullptr) return E_POINTER;
    if (iid == IID_IUnknown || iid == IID_IDispatch || iid == events_) {
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
    if (count == nullptr) return E_POINTER;
    *count = 0;
    return S_OK;
  }
  STDMETHODIMP GetTypeInfo(UINT, LCID, ITypeInfo** out) override {
    if (out != nullptr) *out = nullptr;
    return DISP_E_BADINDEX;
  }
  STDMETHODIMP GetIDsOfNames(REFIID, LPOLESTR*, UINT, LCID, DISPID*) override {
    return DISP_E_UNKNOWNNAME;
  }
  STDMETHODIMP Invoke(DISPID dispid, REFIID, LCID, WORD, DISPPARAMS* params, VARIANT* result,
                      EXCEPINFO*, UINT*) override {
    if (result != nullptr) VariantInit(result);
    const std::string name = EventName(description_, dispid);
    if (name.empty()) return DISP_E_MEMBERNOTFOUND;
    if (!Py_IsInitialized()) return S_OK;  // the interpreter is gone: drop it
    py::gil_scoped_acquire locked;
    Deliver(name, params);
    return S_OK;
  }

  // Drops the Python callable. Interpreter lock held.
  void Detach() {
    PyObject* deliver = deliver_;
    deliver_ = nullptr;
    Py_XDECREF(deliver);
  }

 private:
  ~EventSink() {
    // Normally detached by the connection; an undetached sink still holds
    // its callable.
    if (deliver_ != nullptr && Py_IsInitialized()) {
      py::gil_scoped_acquire locked;
      Detach();
    }
  }

  // Interpreter lock held. A failing handler is reported as unraisable; the
  // library's next sink and next event are not affected.
  void Deliver(const std::string& name, DISPPARAMS* params) {
    if (deliver_ == nullptr) return;
    // Keep the callable alive through the call even if close() runs inside it.
    py::object deliver = py::reinterpret_borrow<py::object>(deliver_);
    try {
      const UINT count = params ? params->cArgs : 0;
      py::tuple args(count);
      for (UINT i = 0; i < count; ++i) args[i] = ToPython(params->rgvarg[count - 1 - i]);
      deliver(py::str(name), args);
    } catch (py::error_already_set& failure) {
      failure.discard_as_unraisable(("vantrel event " + name).c_str());
    } catch (const std::exception& failure) {
      PyErr_SetString(PyExc_RuntimeError, failure.what());
      PyErr_WriteUnraisable(py::str("vantrel event " + name).ptr());
    }
  }

  const IID events_;
  const idl::Interface& description_;
  PyObject* deliver_;
  std::atomic<ULONG> references_{1};
};

// One advised sink. close() unadvises it and drops the Python callable; it
// runs at most once and is called again harmlessly by the destructor.
class EventConnection {
 public:
  EventConnection(IConnectionPoint* point, EventSink* sink, DWORD cookie)
      : point_(point), sink_(sink), cookie_(cookie) {}
  EventConnection(const EventConnection&) = delete;
  EventConnection& operator=(const EventConnection&) = delete;
  ~EventConnection() { Close(); }

  // Interpreter lock held on entry; released while the library is called.
  void Close() {
    if (point_ == nullptr) return;
    IConnectionPoint* point = point_;
    EventSink* sink = sink_;
    point_ = nullptr;
    sink_ = nullptr;
    {
      py::gil_scoped_release unlocked;
      point->Unadvise(cookie_);
      point->Release();
    }
    sink->Detach();
    py::gil_scoped_release unlocked;
    sink->Release();
  }
  bool IsOpen() const { return point_ != nullptr; }

 private:
  IConnectionPoint* point_;
  EventSink* sink_;
  DWORD cookie_;
};

// The object's first (and in this library only) connection point.
IConnectionPoint* FirstConnectionPoint(IDispatch* object) {
  IConnectionPointContainer* container = nullptr;
  HRESULT result =
      object->QueryInterface(IID_IConnectionPointContainer, reinterpret_cast<void**>(&container));
  if (FAILED(result)) throw FailureOf(result);
  IEnumConnectionPoints* points = nullptr;
  result = container->EnumConnectionPoints(&points);
  container->Release();
  if (FAILED(result)) throw FailureOf(result);
  IConnectionPoint* point = nullptr;
  ULONG fetched = 0;
  result = points->Next(1, &point, &fetched);
  points->Release();
  if (result != S_OK || point == nullptr) throw FailureOf(FAILED(result) ? result : E_NOINTERFACE);
  return point;
}

std::unique_ptr<EventConnection> Connect(py::handle target, py::object deliver) {
  IDispatch* object = DispatchOf(target);
  if (object == nullptr) throw py::type_error("not an automation object");
  IConnectionPoint* point = nullptr;
  IID events{};
  {
    py::gil_scoped_release unlocked;
    point = FirstConnectionPoint(object);
    point->GetConnectionInterface(&events);
  }
  const idl::Interface* description = idl::FindInterface(events);
  if (description == nullptr) {
    py::gil_scoped_release unlocked;
    point->Release();
    throw FailureOf(E_NOINTERFACE);
  }
  auto* sink = new EventSink(events, *description, std::move(deliver));
  DWORD cookie = 0;
  HRESULT result;
  {
    py::gil_scoped_release unlocked;
    result = point->Advise(sink, &cookie);
  }
  if (FAILED(result)) {
    sink->Detach();
    py::gil_scoped_release unlocked;
    sink->Release();
    point->Release();
    throw FailureOf(result);
  }
  return std::make_unique<EventConnection>(point, sink, cookie);
}

}  // namespace

void BindEvents(py::module_& module) {
  py::class_<EventConnection>(module, "EventConnection")
      .def("close", &EventConnection::Close)
      .def_property_readonly("open", &EventConnection::IsOpen);
  module.def("connect", &Connect, py::arg("object"), py::arg("deliver"));
}

}  // namespace vantrel::python
