// The root object: tells a client which build of the library it talks to.
// Creating it also creates the process's event log.
#pragma once

#include "frame/automation.h"
#include "frame/object.h"
#include "vantrel_stubs.h"

namespace vantrel {

class Kesto : public frame::AutomationObject<IKestoStubs, IID_IKesto, CLSID_Kesto> {
 public:
  // Creates the process-wide event log unless an earlier object did; a
  // failure to create it fails the creation of this object.
  HRESULT FinalConstruct() override;

  // The library's "ProductVersion" ("3.0.0") and "Platform" ("x64") texts; a
  // null string when the library carries none. Never blocks; any thread.
  STDMETHODIMP get_Version(BSTR* retVersion) override;
  STDMETHODIMP get_Platform(BSTR* retPlatform) override;
};

}  // namespace vantrel
