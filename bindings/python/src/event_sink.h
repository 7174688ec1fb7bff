// Event connections: a free-threaded sink that the library calls on its own
// threads, handing each event to a Python callable with the interpreter lock
// taken.
#pragma once

#include <pybind11/pybind11.h>

namespace vantrel::python {

namespace py = pybind11;

// Registers EventConnection and `connect` with the module. `connect(object,
// deliver)` advises a sink on the object's event interface; for every event
// the sink calls deliver(event_name, args_tuple) on the firing thread. It
// raises ComError when the object is no event source.
void BindEvents(py::module_& module);

}  // namespace vantrel::python
