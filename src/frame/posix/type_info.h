// The type information of the library's interfaces in the build without the
// platform's automation runtime: ITypeInfo served from the tables generated
// from the IDL (vantrel_members.h) and the invocation thunks
// (vantrel_dispatch.cc), answering a scripting client as the type information
// of a dual interface does on Windows.
#pragma once

#include "automation_runtime.h"

namespace vantrel::frame {

// The type information of one dual interface or dispinterface of the library:
// S_OK with one added reference in *out. There is one object per interface,
// made on first use, free-threaded and kept for the life of the process.
// TYPE_E_ELEMENTNOTFOUND for an IID the library does not describe, E_POINTER
// for a null `out`. Any thread; never blocks beyond the first call's setup.
HRESULT CreatePortableTypeInfo(REFIID iid, ITypeInfo** out);

}  // namespace vantrel::frame
