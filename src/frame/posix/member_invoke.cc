#include "frame/posix/member_invoke.h"

#include <new>
#include <vector>

#include "frame/posix/invoke_thunks.h"
#include "frame/posix/type_records.h"

namespace vantrel::frame {
namespace {

constexpr int kMissing = -1;

// The coerced arguments of one call, cleared when the call is over.
class Arguments {
 public:
  explicit Arguments(size_t count) : values_(count) {
    for (VARIANT& value : values_) VariantInit(&value);
  }
  Arguments(const Arguments&) = delete;
  Arguments& operator=(const Arguments&) = delete;
  ~Arguments() {
    for (VARIANT& value : values_) VariantClear(&value);
  }
  VARIANT* data() { return values_.data(); }
  VARIANT& operator[](size_t index) { return values_[index]; }

 private:
  std::vector<VARIANT> values_;
};

const idl::Member* FindMember(const idl::Interface& iface, MEMBERID memid, WORD flags) {
  for (const idl::Member& member : iface.members) {
    if (member.dispid == memid && (flags & member.kind) != 0) return &member;
  }
  // Some script engines ask for the enumerator as a method call only.
  if (memid == DISPID_NEWENUM && flags == DISPATCH_METHOD) {
    return FindMember(iface, memid, DISPATCH_PROPERTYGET);
  }
  return nullptr;
}

bool IsPut(const idl::Member& member) {
  return member.kind == INVOKE_PROPERTYPUT || member.kind == INVOKE_PROPERTYPUTREF;
}

bool IsMissingMarker(const VARIANT& value) {
  return V_VT(&value) == VT_ERROR && V_ERROR(&value) == DISP_E_PARAMNOTFOUND;
}

// For each input parameter, the index in rgvarg of its argument, or kMissing.
HRESULT BindArguments(const idl::Member& member, const DISPPARAMS& params, size_t inputs,
                      std::vector<int>* slots, UINT* arg_error) {
  if ((params.cArgs != 0 && params.rgvarg == nullptr) || params.cNamedArgs > params.cArgs ||
      (params.cNamedArgs != 0 && params.rgdispidNamedArgs == nullptr)) {
    return E_INVALIDARG;
  }
  if (params.cArgs > inputs) return DISP_E_BADPARAMCOUNT;
  slots->assign(inputs, kMissing);
  const UINT positional = params.cArgs - params.cNamedArgs;
  for (UINT i = 0; i < positional; ++i) (*slots)[i] = static_cast<int>(params.cArgs - 1 - i);
  for (UINT j = 0; j < params.cNamedArgs; ++j) {
    const DISPID name = params.rgdispidNamedArgs[j];
    const DISPID position =
        name == DISPID_PROPERTYPUT && IsPut(member) ? static_cast<DISPID>(inputs) - 1 : name;
    if (position < 0 || static_cast<size_t>(position) >= inputs || (*slots)[position] != kMissing) {
      if (arg_error != nullptr) *arg_error = j;
      return DISP_E_PARAMNOTFOUND;
    }
    (*slots)[position] = static_cast<int>(j);
  }
  return S_OK;
}

// `value` (owned, dereferenced) as the interface `parameter` asks for.
HRESULT CoerceInterface(const idl::Parameter& parameter, VARIANT* value, VARIANT* out) {
  IUnknown* object = nullptr;
  if (V_VT(value) == VT_DISPATCH) {
    object = V_DISPATCH(value);
  } else if (V_VT(value) == VT_UNKNOWN) {
    object = V_UNKNOWN(value);
  } else {
    VariantClear(value);
    return DISP_E_TYPEMISMATCH;
  }
  void* answer = nullptr;
  const HRESULT hr =
      object == nullptr ? S_OK : object->QueryInterface(*parameter.interface_id, &answer);
  VariantClear(value);
  if (FAILED(hr)) return DISP_E_TYPEMISMATCH;
  V_VT(out) = parameter.type;
  // A dual interface pointer is an IDispatch pointer at the same address.
  if (parameter.type == VT_UNKNOWN) {
    V_UNKNOWN(out) = static_cast<IUnknown*>(answer);
  } else {
    V_DISPATCH(out) = static_cast<IDispatch*>(answer);
  }
  return S_OK;
}

// `argument` converted to `parameter`'s type into `out` (VT_EMPTY on entry).
HRESULT Coerce(const idl::Parameter& parameter, const VARIANT& argument, VARIANT* out) {
  VARIANT value;
  VariantInit(&value);
  HRESULT hr = VariantCopyInd(&value, &argument);
  if (FAILED(hr)) return hr == E_OUTOFMEMORY ? hr : DISP_E_TYPEMISMATCH;
  if (parameter.interface_id != nullptr) return CoerceInterface(parameter, &value, out);
  if (parameter.type == VT_VARIANT || V_VT(&value) == parameter.type) {
    *out = value;  // takes over what value holds
    return S_OK;
  }
  hr = VariantChangeType(out, &value, 0, parameter.type);
  VariantClear(&value);
  if (SUCCEEDED(hr)) return S_OK;
  return hr == DISP_E_OVERFLOW || hr == E_OUTOFMEMORY ? hr : DISP_E_TYPEMISMATCH;
}

HRESULT CoerceArguments(const idl::Member& member, const DISPPARAMS& params,
                        const std::vector<int>& slots, Arguments* args, UINT* arg_error) {
  for (size_t i = 0; i < slots.size(); ++i) {
    const idl::Parameter& parameter = member.parameters[i];
    const bool optional = (parameter.flags & PARAMFLAG_FOPT) != 0;
    const int slot = slots[i];
    if (slot == kMissing || (!optional && IsMissingMarker(params.rgvarg[slot]))) {
      if (!optional) return DISP_E_PARAMNOTOPTIONAL;
      V_VT(&(*args)[i]) = VT_ERROR;
      V_ERROR(&(*args)[i]) = DISP_E_PARAMNOTFOUND;
      continue;
    }
    const HRESULT hr = Coerce(parameter, params.rgvarg[slot], &(*args)[i]);
    if (FAILED(hr)) {
      if (arg_error != nullptr) *arg_error = static_cast<UINT>(slot);
      return hr;
    }
  }
  return S_OK;
}

// A failed member seen by a dispatch client: the thread's error information
// moved into *exception.
HRESULT ReportFailure(HRESULT failure, EXCEPINFO* exception) {
  if (exception == nullptr) return failure;
  *exception = EXCEPINFO{};
  IErrorInfo* info = nullptr;
  if (GetErrorInfo(0, &info) == S_OK && info != nullptr) {
    info->GetSource(&exception->bstrSource);
    info->GetDescription(&exception->bstrDescription);
    info->GetHelpFile(&exception->bstrHelpFile);
    info->GetHelpContext(&exception->dwHelpContext);
    info->Release();
  }
  exception->scode = failure;
  return DISP_E_EXCEPTION;
}

HRESULT Call(const idl::Member& member, idl::InvokeThunk thunk, void* instance,
             const DISPPARAMS& params, VARIANT* result, EXCEPINFO* exception, UINT* arg_error) {
  const size_t inputs = InputCount(member);
  std::vector<int> slots;
  HRESULT hr = BindArguments(member, params, inputs, &slots, arg_error);
  if (FAILED(hr)) return hr;
  Arguments args(inputs);
  hr = CoerceArguments(member, params, slots, &args, arg_error);
  if (FAILED(hr)) return hr;
  VARIANT value;
  VariantInit(&value);
  hr = thunk(instance, args.data(), &value);
  if (FAILED(hr)) {
    VariantClear(&value);
    return ReportFailure(hr, exception);
  }
  if (result != nullptr) {
    *result = value;
  } else {
    VariantClear(&value);
  }
  return S_OK;
}

}  // namespace

HRESULT InvokeMember(const idl::Interface& iface, void* instance, MEMBERID memid, WORD flags,
                     DISPPARAMS* params, VARIANT* result, EXCEPINFO* exception, UINT* arg_error) {
  if (instance == nullptr || params == nullptr) return E_INVALIDARG;
  const idl::Member* member = FindMember(iface, memid, flags);
  if (member == nullptr) return DISP_E_MEMBERNOTFOUND;
  const idl::InvokeThunk* thunks = idl::FindInvokeThunks(iface);
  if (thunks == nullptr) return E_NOTIMPL;
  try {
    return Call(*member, thunks[member - iface.members.data()], instance, *params, result,
                exception, arg_error);
  } catch (const std::bad_alloc&) {
    return E_OUTOFMEMORY;
  }
}

}  // namespace vantrel::frame
