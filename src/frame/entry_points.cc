// The four entry points of the library as an in-process server, with C
// linkage and the COM calling convention, so that a client needs no header of
// ours.
#include "automation_runtime.h"
#include "frame/class_factory.h"
#include "frame/module.h"
#include "frame/registration.h"

extern "C" {

HRESULT DllCanUnloadNow() { return vantrel::frame::Module().LockCount() == 0 ? S_OK : S_FALSE; }

HRESULT DllGetClassObject(REFCLSID clsid, REFIID iid, void** out) {
  return vantrel::frame::GetClassObject(clsid, iid, out);
}

HRESULT DllRegisterServer() { return vantrel::frame::RegisterServer(); }

HRESULT DllUnregisterServer() { return vantrel::frame::UnregisterServer(); }

}  // extern "C"
