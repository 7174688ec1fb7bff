// The automation runtime of the Linux build: the COM and OLE automation types,
// interfaces and functions under their Windows names, values and binary
// layout, provided by the library itself. The Windows build has its own header
// of this name in src/frame/win/ that includes the system's headers instead.
#pragma once

#include "com_types.h"       // scalars, GUIDs, result codes, dispatch constants
#include "com_variant.h"     // VARIANT, SAFEARRAY, DISPPARAMS, EXCEPINFO
#include "com_typedesc.h"    // TYPEATTR, FUNCDESC and the other type records
#include "com_interfaces.h"  // IUnknown ... IProvideClassInfo and their IIDs
#include "com_functions.h"   // Sys*, Variant*, SafeArray*, error info, GUID text
#include "com_activation.h"  // CoCreateInstance, ProgID lookups (the frame's)
