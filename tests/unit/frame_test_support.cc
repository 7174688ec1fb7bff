#include "unit/frame_test_support.h"

#include <string>

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

namespace {

std::string Describe(const VARIANT& value) {
  switch (V_VT(&value)) {
    case VT_DISPATCH:
      return V_DISPATCH(&value) != nullptr ? "dispatch:object" : "dispatch:null";
    case VT_BSTR:
      return "string:" + frame::BstrToUtf8(V_BSTR(&value));
    case VT_I4:
      return "long:" + std::to_string(V_I4(&value));
    default:
      return "type:" + std::to_string(V_VT(&value));
  }
}

}  // namespace

HRESULT RecordingSink::Invoke(DISPID id, REFIID, LCID, WORD kind, DISPPARAMS* params, VARIANT*,
                              EXCEPINFO*, UINT*) {
  calls.push_back(id);
  kinds.push_back(kind);
  // Arguments arrive last-first: the first declared one is at the end.
  std::vector<std::string> declared;
  for (UINT i = params != nullptr ? params->cArgs : 0; i > 0; --i)
    declared.push_back(Describe(params->rgvarg[i - 1]));
  arguments.push_back(std::move(declared));
  return on_event ? on_event() : S_OK;
}

}  // namespace vantrel::testing
