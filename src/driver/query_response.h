// The state of one query and, once it is answered, the device's reply; made
// by PrinterPort.GetQueryResponse and read-only for clients.
#pragma once

#include <optional>

#include "driver/command_bytes.h"
#include "frame/automation.h"
#include "frame/object.h"
#include "vantrel_stubs.h"

namespace vantrel {

// Query states as the driver's service reports them: 0 and 1 waiting,
// 2 answered, 3 and 4 failed; anything else is unknown.
inline constexpr long kQueryStatusAnswered = 2;

class QueryResponse
    : public frame::AutomationObject<IQueryResponseStubs, IID_IQueryResponse, CLSID_QueryResponse> {
 public:
  // The reply in its three forms (command_bytes.h). Without a reply Binary is
  // VT_EMPTY and the texts are empty.
  STDMETHODIMP get_Binary(VARIANT* retBinary) override;
  STDMETHODIMP get_Text(BSTR* retText) override;
  STDMETHODIMP get_Hexadecimal(BSTR* retHexadecimal) override;
  // All false until SetQueryStatus.
  STDMETHODIMP get_Responded(VARIANT_BOOL* retResponded) override;
  STDMETHODIMP get_Failed(VARIANT_BOOL* retFailed) override;
  STDMETHODIMP get_Pending(VARIANT_BOOL* retPending) override;

  // Fills the response from the query's status, before it is handed out:
  //   status    Responded Failed Pending  reply
  //   0, 1      false     false  true     none
  //   2         true      false  false    `reply` (possibly empty)
  //   3, 4      true      true   false    none
  //   other     false     false  false    none
  // `reply` is ignored unless the status is 2. Any thread; never throws.
  void SetQueryStatus(long status, ByteVector reply);

 private:
  ByteVector Reply();

  std::optional<ByteVector> reply_ GUARDED_BY(critical_section());
  bool responded_ GUARDED_BY(critical_section()) = false;
  bool failed_ GUARDED_BY(critical_section()) = false;
  bool pending_ GUARDED_BY(critical_section()) = false;
};

}  // namespace vantrel
