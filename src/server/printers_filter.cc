#include "server/printers_filter.h"

#include "driver/automation_values.h"
#include "frame/class_table.h"
#include "support/synchronizer.h"

namespace vantrel {

PrintersFilterSwitches PrintersFilter::Read(IPrintersFilter& filter) {
  VARIANT_BOOL local = VARIANT_FALSE;
  VARIANT_BOOL network = VARIANT_FALSE;
  VARIANT_BOOL shared = VARIANT_FALSE;
  CheckPropertyAccess(filter.get_Local(&local), "PrintersFilter.Local");
  CheckPropertyAccess(filter.get_Network(&network), "PrintersFilter.Network");
  CheckPropertyAccess(filter.get_Shared(&shared), "PrintersFilter.Shared");
  return {local != VARIANT_FALSE, network != VARIANT_FALSE, shared != VARIANT_FALSE};
}

STDMETHODIMP PrintersFilter::get_Local(VARIANT_BOOL* retLocal) {
  return GetField("PrintersFilter::get_Local", &local_, retLocal);
}
STDMETHODIMP PrintersFilter::put_Local(VARIANT_BOOL argLocal) {
  return PutField("PrintersFilter::put_Local", &local_, argLocal);
}

STDMETHODIMP PrintersFilter::get_Network(VARIANT_BOOL* retNetwork) {
  return GetField("PrintersFilter::get_Network", &network_, retNetwork);
}
STDMETHODIMP PrintersFilter::put_Network(VARIANT_BOOL argNetwork) {
  return PutField("PrintersFilter::put_Network", &network_, argNetwork);
}

STDMETHODIMP PrintersFilter::get_Shared(VARIANT_BOOL* retShared) {
  return GetField("PrintersFilter::get_Shared", &shared_, retShared);
}
STDMETHODIMP PrintersFilter::put_Shared(VARIANT_BOOL argShared) {
  return PutField("PrintersFilter::put_Shared", &shared_, argShared);
}

VANTREL_CLASS_CREATOR(PrintersFilter)

}  // namespace vantrel
