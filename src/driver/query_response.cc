#include "driver/query_response.h"

#include <utility>

#include "driver/automation_values.h"
#include "frame/class_table.h"
#include "support/synchronizer.h"

namespace vantrel {

void QueryResponse::SetQueryStatus(long status, ByteVector reply) {
  OLock lock(critical_section());
  const bool answered = status == kQueryStatusAnswered;
  pending_ = status == 0 || status == 1;
  failed_ = status == 3 || status == 4;
  // A failed query also counts as responded: clients test Responded first.
  responded_ = answered || failed_;
  if (answered) {
    reply_ = std::move(reply);
  } else {
    reply_.reset();
  }
}

ByteVector QueryResponse::Reply() {
  OLock lock(critical_section());
  return reply_.value_or(ByteVector{});
}

STDMETHODIMP QueryResponse::get_Binary(VARIANT* retBinary) {
  return Member("QueryResponse::get_Binary", [&] {
    if (retBinary == nullptr) frame::Throw(frame::kInvalidArgument);
    VariantInit(retBinary);
    std::optional<ByteVector> reply;
    {
      OLock lock(critical_section());
      reply = reply_;
    }
    if (reply) BytesToVariant(*reply, retBinary);
  });
}

STDMETHODIMP QueryResponse::get_Text(BSTR* retText) {
  return Member("QueryResponse::get_Text", [&] {
    ClearOutput<BSTR>(retText, nullptr);
    *retText = BytesToTextBstr(Reply());
  });
}

STDMETHODIMP QueryResponse::get_Hexadecimal(BSTR* retHexadecimal) {
  return Member("QueryResponse::get_Hexadecimal", [&] {
    ClearOutput<BSTR>(retHexadecimal, nullptr);
    *retHexadecimal = BytesToHexadecimalBstr(Reply());
  });
}

STDMETHODIMP QueryResponse::get_Responded(VARIANT_BOOL* retResponded) {
  return Member("QueryResponse::get_Responded", [&] {
    ClearOutput<VARIANT_BOOL>(retResponded, VARIANT_FALSE);
    OLock lock(critical_section());
    *retResponded = responded_ ? VARIANT_TRUE : VARIANT_FALSE;
  });
}

STDMETHODIMP QueryResponse::get_Failed(VARIANT_BOOL* retFailed) {
  return Member("QueryResponse::get_Failed", [&] {
    ClearOutput<VARIANT_BOOL>(retFailed, VARIANT_FALSE);
    OLock lock(critical_section());
    *retFailed = failed_ ? VARIANT_TRUE : VARIANT_FALSE;
  });
}

STDMETHODIMP QueryResponse::get_Pending(VARIANT_BOOL* retPending) {
  return Member("QueryResponse::get_Pending", [&] {
    ClearOutput<VARIANT_BOOL>(retPending, VARIANT_FALSE);
    OLock lock(critical_section());
    *retPending = pending_ ? VARIANT_TRUE : VARIANT_FALSE;
  });
}

VANTREL_CLASS_CREATOR(QueryResponse)

}  // namespace vantrel
