// Object activation of the Linux runtime: creation by CLSID over the library's
// own class table, and the ProgID keys that registration writes into the
// settings store (HKEY_CLASSES_ROOT).
#pragma once

#include "automation_runtime.h"

#define CLSCTX_INPROC_SERVER 0x1
#define CLSCTX_INPROC_HANDLER 0x2
#define CLSCTX_LOCAL_SERVER 0x4
#define CLSCTX_REMOTE_SERVER 0x10
#define CLSCTX_INPROC (CLSCTX_INPROC_SERVER | CLSCTX_INPROC_HANDLER)
#define CLSCTX_ALL \
  (CLSCTX_INPROC_SERVER | CLSCTX_INPROC_HANDLER | CLSCTX_LOCAL_SERVER | CLSCTX_REMOTE_SERVER)
#define CLSCTX_SERVER (CLSCTX_INPROC_SERVER | CLSCTX_LOCAL_SERVER | CLSCTX_REMOTE_SERVER)

extern "C" {

// The class object of `clsid` from the library's class table. A CLSID the
// table lacks gives CLASS_E_CLASSNOTAVAILABLE when it is registered (its
// InprocServer32 key exists) and REGDB_E_CLASSNOTREG when it is not.
HRESULT CoGetClassObject(REFCLSID clsid, DWORD context, void* server_info, REFIID iid, void** out);

// CoGetClassObject, then IClassFactory::CreateInstance(outer, iid).
HRESULT CoCreateInstance(REFCLSID clsid, IUnknown* outer, DWORD context, REFIID iid, void** out);

// The CLSID registered for a ProgID (HKEY_CLASSES_ROOT\<progid>\CLSID);
// CO_E_CLASSSTRING when there is none.
HRESULT CLSIDFromProgID(LPCOLESTR progid, CLSID* clsid);

// The ProgID registered for a CLSID (HKEY_CLASSES_ROOT\CLSID\{...}\ProgID), in
// memory from CoTaskMemAlloc; REGDB_E_CLASSNOTREG when there is none.
HRESULT ProgIDFromCLSID(REFCLSID clsid, LPOLESTR* progid);

}  // extern "C"
