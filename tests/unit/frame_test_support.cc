#include "unit/frame_test_support.h"

#include "frame/com_ptr.h"
#include "frame/ole_string.h"

namespace vantrel::testing {

ClientError TakeClientError() {
  ClientError error;
  frame::ComPtr<IErrorInfo> info;
  if (GetErrorInfo(0, info.Receive()) != S_OK || !info) return error;
  error.present = true;
  frame::Bstr description;
  frame::Bstr source;
  info->GetDescription(description.receive());
  info->GetSource(source.receive());
  error.description = frame::BstrToUtf8(description.get());
  error.source = frame::BstrToUtf8(source.get());
  return error;
}

HRESULT RecordingSink::QueryInterface(REFIID iid, void** out) {
  if (IsEqualIID(iid, IID_IUnknown) || IsEqualIID(iid, IID_IDispatch) || IsEqualIID(iid, events_)) {
    *out = static_cast<IDispatch*>(this);
    AddRef();
    return S_OK;
  }
  *out = nullptr;
  return E_NOINTERFACE;
}

HRESULT RecordingSink::Invoke(DISPID id, REFIID, LCID, WORD, DISPPARAMS* params, VARIANT*,
                              EXCEPINFO*, UINT*) {
  calls.push_back(id);
  // Arguments arrive last-first: the first declared one is at the end.
  if (params && params->cArgs > 0) {
    const VARIANT& first = params->rgvarg[params->cArgs - 1];
    first_string_arguments.push_back(V_VT(&first) == VT_BSTR ? frame::BstrToUtf8(V_BSTR(&first))
                                                             : std::string());
  }
  return on_event ? on_event() : S_OK;
}

}  // namespace vantrel::testing
