// VariantChangeType: converting a VARIANT's value to another type.
#include "variant_internal.h"
#include "variant_text.h"

namespace vantrel::runtime {
namespace {

bool IsNumericTarget(VARTYPE vt) {
  switch (vt) {
    case VT_I1:
    case VT_I2:
    case VT_I4:
    case VT_I8:
    case VT_INT:
    case VT_UI1:
    case VT_UI2:
    case VT_UI4:
    case VT_UI8:
    case VT_UINT:
    case VT_R4:
    case VT_R8:
    case VT_DATE:
      return true;
    default:
      return false;
  }
}

// Targets an object converts to through its default member.
bool IsValueTarget(VARTYPE vt) { return vt == VT_BSTR || vt == VT_BOOL || IsNumericTarget(vt); }

VARIANT Empty(VARTYPE vt) {
  VARIANT v{};
  v.vt = vt;
  return v;
}

HRESULT ToText(const VARIANT& value, VARIANT* out) {
  BSTR text = nullptr;
  HRESULT hr;
  if (value.vt == VT_EMPTY) {
    hr = AsciiToBstr("", 0, &text);
  } else if (value.vt == VT_BOOL) {
    hr = value.boolVal ? AsciiToBstr("True", 4, &text) : AsciiToBstr("False", 5, &text);
  } else if (value.vt == VT_DATE) {
    hr = DISP_E_TYPEMISMATCH;  // dates are not written as text here
  } else {
    Number number;
    hr = ReadNumber(value, &number);
    if (SUCCEEDED(hr)) hr = FormatNumber(number, value.vt == VT_R4, &text);
  }
  if (FAILED(hr)) return hr;
  *out = Empty(VT_BSTR);
  out->bstrVal = text;
  return S_OK;
}

HRESULT ToBoolean(const VARIANT& value, VARIANT* out) {
  if (value.vt != VT_BSTR) {
    Number number;
    const HRESULT hr = ReadNumber(value, &number);
    return FAILED(hr) ? hr : WriteNumber(number, VT_BOOL, out);
  }
  VARIANT_BOOL flag;
  const HRESULT hr = ParseBoolean(value.bstrVal, &flag);
  if (FAILED(hr)) return hr;
  *out = Empty(VT_BOOL);
  out->boolVal = flag;
  return S_OK;
}

HRESULT ToNumber(const VARIANT& value, VARTYPE vt, VARIANT* out) {
  Number number;
  HRESULT hr;
  if (value.vt == VT_BSTR) {
    // Dates are not read from text here.
    hr = vt == VT_DATE ? DISP_E_TYPEMISMATCH : ParseNumber(value.bstrVal, &number);
  } else {
    hr = ReadNumber(value, &number);
  }
  return FAILED(hr) ? hr : WriteNumber(number, vt, out);
}

// An interface of the other kind: VT_UNKNOWN <-> VT_DISPATCH, null staying null.
HRESULT ToInterface(const VARIANT& value, VARTYPE vt, VARIANT* out) {
  if (value.vt == VT_EMPTY) {
    *out = Empty(vt);
    return S_OK;
  }
  if (value.vt != VT_UNKNOWN && value.vt != VT_DISPATCH) return DISP_E_TYPEMISMATCH;
  VARIANT result = Empty(vt);
  if (value.punkVal != nullptr) {
    const IID& iid = vt == VT_DISPATCH ? IID_IDispatch : IID_IUnknown;
    const HRESULT hr =
        value.punkVal->QueryInterface(iid, reinterpret_cast<void**>(&result.punkVal));
    if (FAILED(hr)) return hr;
  }
  *out = result;
  return S_OK;
}

// The value of an object's default member (a new, owned variant). This calls
// out to the object; no lock is held here.
HRESULT DefaultValue(IDispatch* object, USHORT flags, VARIANT* out) {
  if (object == nullptr || (flags & VARIANT_NOVALUEPROP)) return DISP_E_TYPEMISMATCH;
  DISPPARAMS no_arguments{nullptr, nullptr, 0, 0};
  VariantInit(out);
  const HRESULT hr = object->Invoke(DISPID_VALUE, IID_NULL, LOCALE_USER_DEFAULT,
                                    DISPATCH_PROPERTYGET, &no_arguments, out, nullptr, nullptr);
  if (FAILED(hr)) {
    VariantClear(out);
    return DISP_E_TYPEMISMATCH;
  }
  return S_OK;
}

// Converts the non-reference `value` (owned by the caller) into `out`, whose
// contents are ignored. On failure `out` is untouched.
HRESULT Convert(const VARIANT& value, USHORT flags, VARTYPE vt, VARIANT* out);

HRESULT ConvertDefaultValue(IDispatch* object, USHORT flags, VARTYPE vt, VARIANT* out) {
  VARIANT fetched;
  HRESULT hr = DefaultValue(object, flags, &fetched);
  if (FAILED(hr)) return hr;
  VARIANT view;
  hr = ViewValue(fetched, &view);
  // One level only: an object whose default value is an object stops here.
  if (SUCCEEDED(hr)) hr = Convert(view, flags | VARIANT_NOVALUEPROP, vt, out);
  VariantClear(&fetched);
  return hr;
}

HRESULT Convert(const VARIANT& value, USHORT flags, VARTYPE vt, VARIANT* out) {
  if (value.vt == vt) return CopyVariantValue(out, value);
  if ((value.vt | vt) & VT_ARRAY) return DISP_E_TYPEMISMATCH;
  if (value.vt == VT_NULL) return DISP_E_TYPEMISMATCH;
  if (value.vt == VT_DISPATCH && IsValueTarget(vt)) {
    return ConvertDefaultValue(value.pdispVal, flags, vt, out);
  }
  switch (vt) {
    case VT_EMPTY:
      *out = Empty(vt);
      return S_OK;
    case VT_NULL:
      if (value.vt != VT_EMPTY) return DISP_E_TYPEMISMATCH;
      *out = Empty(vt);
      return S_OK;
    case VT_BSTR:
      return ToText(value, out);
    case VT_BOOL:
      return ToBoolean(value, out);
    case VT_DISPATCH:
    case VT_UNKNOWN:
      return ToInterface(value, vt, out);
    default:
      return IsNumericTarget(vt) ? ToNumber(value, vt, out) : DISP_E_TYPEMISMATCH;
  }
}

}  // namespace
}  // namespace vantrel::runtime

extern "C" {

HRESULT VariantChangeTypeEx(VARIANTARG* pvargDest, const VARIANTARG* pvarSrc, LCID, USHORT wFlags,
                            VARTYPE vt) {
  using namespace vantrel::runtime;
  if (pvargDest == nullptr || pvarSrc == nullptr) return E_INVALIDARG;
  if (!IsValidVariantType(pvarSrc->vt) || !IsValidVariantType(vt)) return DISP_E_BADVARTYPE;
  if (vt & VT_BYREF) return DISP_E_TYPEMISMATCH;
  VARIANT value;
  HRESULT hr = ViewValue(*pvarSrc, &value);
  if (FAILED(hr)) return hr;
  VARIANT result;
  hr = Convert(value, wFlags, vt, &result);
  if (FAILED(hr)) return hr;
  // Only now may the destination go; it may be the source itself.
  hr = VariantClear(pvargDest);
  if (FAILED(hr)) {
    VariantClear(&result);
    return hr;
  }
  *pvargDest = result;
  return S_OK;
}

HRESULT VariantChangeType(VARIANTARG* pvargDest, const VARIANTARG* pvarSrc, USHORT wFlags,
                          VARTYPE vt) {
  return VariantChangeTypeEx(pvargDest, pvarSrc, LOCALE_USER_DEFAULT, wFlags, vt);
}

}  // extern "C"
