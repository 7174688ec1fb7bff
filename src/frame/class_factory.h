// The class objects: one IClassFactory per row of the class table, made on
// first request and kept for the life of the process.
#pragma once

#include "automation_runtime.h"

namespace vantrel::frame {

// What DllGetClassObject answers: the class object of `clsid`'s row asked for
// `iid`. CLASS_E_CLASSNOTAVAILABLE when the table has no such row; E_POINTER
// for a null `out`. Any thread.
HRESULT GetClassObject(REFCLSID clsid, REFIID iid, void** out);

}  // namespace vantrel::frame
