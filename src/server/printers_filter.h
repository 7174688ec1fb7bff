// Which printers PrintServer.EnumeratePrinters lists: three switches a client
// sets. The object stores them and nothing more.
#pragma once

#include "frame/automation.h"
#include "frame/object.h"
#include "vantrel_stubs.h"

namespace vantrel {

// The three switches as C++ values; a stored VARIANT_BOOL counts as on when
// it is not VARIANT_FALSE.
struct PrintersFilterSwitches {
  bool local = true;    // printers installed on the server itself
  bool network = true;  // connections to printers on other servers
  bool shared = false;  // shared printers
};

class PrintersFilter : public frame::AutomationObject<IPrintersFilterStubs, IID_IPrintersFilter,
                                                      CLSID_PrintersFilter> {
 public:
  // Each getter returns what its setter stored, unchecked. A new filter
  // reads Local and Network true, Shared false.
  STDMETHODIMP get_Local(VARIANT_BOOL* retLocal) override;
  STDMETHODIMP put_Local(VARIANT_BOOL argLocal) override;
  STDMETHODIMP get_Network(VARIANT_BOOL* retNetwork) override;
  STDMETHODIMP put_Network(VARIANT_BOOL argNetwork) override;
  STDMETHODIMP get_Shared(VARIANT_BOOL* retShared) override;
  STDMETHODIMP put_Shared(VARIANT_BOOL argShared) override;

  // The switches of any filter, read through its interface. Throws
  // OStdException when the object refuses a read. Calls into `filter`, so no
  // lock of the caller's may be held. Any thread.
  static PrintersFilterSwitches Read(IPrintersFilter& filter);

 private:
  VARIANT_BOOL local_ GUARDED_BY(critical_section()) = VARIANT_TRUE;
  VARIANT_BOOL network_ GUARDED_BY(critical_section()) = VARIANT_TRUE;
  VARIANT_BOOL shared_ GUARDED_BY(critical_section()) = VARIANT_FALSE;
};

}  // namespace vantrel
