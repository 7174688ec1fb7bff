// Conversions between Python values and VARIANTs. Every function here needs
// the interpreter lock held by the caller.
#pragma once

#include <pybind11/pybind11.h>

#include <string>

#include "automation_runtime.h"

namespace vantrel::python {

namespace py = pybind11;

// The text of a BSTR (null reads as ""), as a Python str. Unpaired surrogates
// are kept (surrogatepass), so any BSTR converts.
py::str StringFromBstr(const OLECHAR* text, size_t length);
py::str StringFromBstr(BSTR text);

// A new BSTR holding `text`; the caller frees it. Throws std::bad_alloc.
BSTR BstrFromString(py::handle text);

// The Python value of a VARIANT: None for VT_EMPTY and VT_NULL; bool, int,
// float, str, datetime (naive local time, to the millisecond) and bytes for the
// byte array; a list for any other one-dimensional array; a DispatchRef for an
// object (None for a null one). A VT_BYREF value reads the value it refers to.
// Throws py::type_error for a type it does not know (VT_RECORD, arrays of more
// than one dimension).
py::object ToPython(const VARIANT& value);

// Fills `out` (initialised and empty) with the VARIANT form of `value`: None
// -> VT_EMPTY, bool -> VT_BOOL, int -> VT_I4 when it fits, VT_I8 or VT_UI8
// beyond, float -> VT_R8, str -> VT_BSTR, datetime and date -> VT_DATE,
// bytes-like -> VT_ARRAY|VT_UI1, list or tuple -> VT_ARRAY|VT_VARIANT, an
// automation object -> VT_DISPATCH with an added reference. Throws
// py::type_error for other types and py::value_error for an int beyond 64 bits;
// `out` is then still empty.
void FromPython(py::handle value, VARIANT* out);

// The automation date of a datetime and back, exposed for tests of the
// calendar arithmetic.
double DateFromPython(py::handle value);
py::object PythonFromDate(double date);

}  // namespace vantrel::python
