// Failed automation calls as C++ exceptions, and their translation into
// vantrel.ComError when they reach Python.
#pragma once

#include <pybind11/pybind11.h>

#include <exception>
#include <string>

#include "automation_runtime.h"

namespace vantrel::python {

// A failed call: its result code and, when the callee gave them, the error
// text and the ProgID of the object that failed. Built without the
// interpreter lock.
struct ComFailure : std::exception {
  HRESULT result = S_OK;
  std::u16string description;
  std::u16string source;
  const char* what() const noexcept override { return "automation call failed"; }
};

// The failure of an Invoke that returned `result`: for DISP_E_EXCEPTION the
// code and texts of `info` (after its deferred fill-in); otherwise the code
// itself and the calling thread's error information, when there is any.
// Frees the strings of `info`. No interpreter lock needed.
ComFailure FailureOfInvoke(HRESULT result, EXCEPINFO& info);

// The failure of any other call (creation, enumeration): the code and the
// calling thread's error information. No interpreter lock needed.
ComFailure FailureOf(HRESULT result);

// Makes ComFailure arrive in Python as vantrel.ComError. Module set-up only.
void RegisterErrorTranslator();

}  // namespace vantrel::python
