// The extension's access to a printer status's private whole-reading
// interface.
#pragma once

#include <pybind11/pybind11.h>

#include "dispatch_ref.h"

namespace vantrel::python {

namespace py = pybind11;

// Adds status_reading(DispatchRef) -> dict: raises ComError for a failed
// reading, TypeError for an object that is not a PrinterStatus.
void BindStatusReading(py::module_& module);

}  // namespace vantrel::python
