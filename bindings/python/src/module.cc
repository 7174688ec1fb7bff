// The extension module vantrel._vantrel: object creation, registration and the
// low-level references the pure-Python package builds its surface on.
#include <pybind11/pybind11.h>

#include <string>

#include "automation_runtime.h"
#include "com_error.h"
#include "dispatch_ref.h"
#include "event_sink.h"
#include "status_reading.h"
#include "values.h"

// The library's entry points (exported with C linkage by libvantrel.so).
extern "C" {
HRESULT DllCanUnloadNow();
HRESULT DllRegisterServer();
HRESULT DllUnregisterServer();
}

namespace vantrel::python {
namespace {

// A ProgID, or a braced CLSID text, to the class identifier.
CLSID ClassOf(const py::str& name) {
  BSTR text = BstrFromString(name);
  CLSID clsid{};
  HRESULT result;
  {
    py::gil_scoped_release unlocked;
    result = (SysStringLen(text) > 0 && text[0] == u'{') ? CLSIDFromString(text, &clsid)
                                                         : CLSIDFromProgID(text, &clsid);
  }
  SysFreeString(text);
  if (FAILED(result)) throw FailureOf(result);
  return clsid;
}

py::object Create(const py::str& name) {
  const CLSID clsid = ClassOf(name);
  IDispatch* object = nullptr;
  HRESULT result;
  {
    py::gil_scoped_release unlocked;
    result = CoCreateInstance(clsid, nullptr, CLSCTX_INPROC_SERVER, IID_IDispatch,
                              reinterpret_cast<void**>(&object));
  }
  if (FAILED(result)) throw FailureOf(result);
  return WrapDispatch(object);
}

void Check(HRESULT result) {
  if (FAILED(result)) throw FailureOf(result);
}

// The value after a trip to a VARIANT and back, for tests of the conversions.
py::object RoundTrip(py::handle value) {
  VARIANT variant;
  FromPython(value, &variant);
  py::object back;
  try {
    back = ToPython(variant);
  } catch (...) {
    VariantClear(&variant);
    throw;
  }
  VariantClear(&variant);
  return back;
}

}  // namespace
}  // namespace vantrel::python

namespace py = pybind11;

PYBIND11_MODULE(_vantrel, module) {
  namespace vp = vantrel::python;
  module.doc() = "Low-level access to the automation objects of libvantrel.";
  vp::RegisterErrorTranslator();
  vp::BindDispatchRef(module);
  vp::BindEvents(module);
  vp::BindStatusReading(module);
  module.def("create", &vp::Create, py::arg("name"),
             "A new object of the class a ProgID or a braced CLSID names.");
  module.def("register", [] {
    py::gil_scoped_release unlocked;
    vp::Check(DllRegisterServer());
  });
  module.def("unregister", [] {
    py::gil_scoped_release unlocked;
    vp::Check(DllUnregisterServer());
  });
  module.def(
      "can_unload_now", [] { return DllCanUnloadNow() == S_OK; },
      "True when the library holds no objects and no locks.");
  module.def("round_trip", &vp::RoundTrip);
  module.def("date_from_python", &vp::DateFromPython);
  module.def("python_from_date", &vp::PythonFromDate);
}
