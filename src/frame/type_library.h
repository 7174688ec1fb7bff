// Type information of the library's interfaces, as IDispatch serves it.
// Windows: the type library embedded in the module. Linux: the portable type
// information built from the tables generated from the IDL.
#pragma once

#include "automation_runtime.h"

namespace vantrel::frame {

// Loads the type information of one dual interface or dispinterface of the
// library. S_OK with one added reference in *out; TYPE_E_ELEMENTNOTFOUND for an
// interface the library does not describe; the loader's failure otherwise.
// Loads on first use and caches; any thread.
HRESULT LoadInterfaceTypeInfo(REFIID iid, ITypeInfo** out);

}  // namespace vantrel::frame
