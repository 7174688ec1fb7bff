// VARIANT life cycle: initialise, clear, copy.
#include <cstring>
#include <utility>

#include "variant_internal.h"

namespace vantrel::runtime {
namespace {

bool IsValidBaseType(VARTYPE base) {
  return base <= VT_DECIMAL || (base >= VT_I1 && base <= VT_UINT);
}

// Releases what a non-reference variant owns. The tag is set to VT_EMPTY before
// a reference is released, in case the release re-enters through this variant.
HRESULT ReleaseOwned(VARIANT* v) {
  const VARTYPE vt = v->vt;
  if (vt & VT_ARRAY) {
    const HRESULT hr = SafeArrayDestroy(v->parray);
    if (FAILED(hr)) return hr;
  } else if (vt == VT_BSTR) {
    SysFreeString(v->bstrVal);
  } else if (vt == VT_DISPATCH || vt == VT_UNKNOWN) {
    IUnknown* reference = v->punkVal;
    v->vt = VT_EMPTY;
    if (reference != nullptr) reference->Release();
  }
  v->vt = VT_EMPTY;
  return S_OK;
}

}  // namespace

bool IsValidVariantType(VARTYPE vt) {
  const VARTYPE base = vt & VT_TYPEMASK;
  const VARTYPE flags = vt & ~VT_TYPEMASK;
  if (flags & ~(VT_ARRAY | VT_BYREF)) return false;
  if (!IsValidBaseType(base) || base == 15) return false;
  if (base == VT_EMPTY || base == VT_NULL) return flags == 0;
  if (base == VT_VARIANT) return flags != 0;
  return true;
}

size_t ValueSize(VARTYPE vt) {
  switch (vt) {
    case VT_I1:
    case VT_UI1:
      return 1;
    case VT_I2:
    case VT_UI2:
    case VT_BOOL:
      return 2;
    case VT_I4:
    case VT_UI4:
    case VT_INT:
    case VT_UINT:
    case VT_R4:
    case VT_ERROR:
      return 4;
    case VT_I8:
    case VT_UI8:
    case VT_R8:
    case VT_DATE:
    case VT_CY:
      return 8;
    case VT_BSTR:
    case VT_DISPATCH:
    case VT_UNKNOWN:
      return sizeof(void*);
    case VT_DECIMAL:
      return sizeof(DECIMAL);
    case VT_VARIANT:
      return sizeof(VARIANT);
    default:
      return 0;
  }
}

HRESULT CopyVariantValue(VARIANT* out, const VARIANT& source) {
  std::memcpy(static_cast<void*>(out), &source, sizeof(VARIANT));
  if (source.vt & VT_BYREF) return S_OK;
  if (source.vt & VT_ARRAY) {
    out->parray = nullptr;
    const HRESULT hr = SafeArrayCopy(source.parray, &out->parray);
    if (FAILED(hr)) out->vt = VT_EMPTY;
    return hr;
  }
  if (source.vt == VT_BSTR && source.bstrVal != nullptr) {
    // By byte length, so odd-length strings and embedded NULs survive.
    out->bstrVal = SysAllocStringByteLen(reinterpret_cast<LPCSTR>(source.bstrVal),
                                         SysStringByteLen(source.bstrVal));
    if (out->bstrVal == nullptr) {
      out->vt = VT_EMPTY;
      return E_OUTOFMEMORY;
    }
  } else if ((source.vt == VT_DISPATCH || source.vt == VT_UNKNOWN) && source.punkVal) {
    source.punkVal->AddRef();
  }
  return S_OK;
}

HRESULT ViewValue(const VARIANT& source, VARIANT* view) {
  if (!(source.vt & VT_BYREF)) {
    std::memcpy(static_cast<void*>(view), &source, sizeof(VARIANT));
    return S_OK;
  }
  if (source.byref == nullptr) return E_INVALIDARG;
  const VARTYPE base = source.vt & ~VT_BYREF;
  if (base == VT_VARIANT) {
    const VARIANT& inner = *source.pvarVal;
    if (inner.vt == (VT_VARIANT | VT_BYREF)) return E_INVALIDARG;
    return ViewValue(inner, view);
  }
  std::memset(static_cast<void*>(view), 0, sizeof(VARIANT));
  if (base == VT_DECIMAL) {
    view->decVal = *source.pdecVal;  // overlays the tag, so the tag goes last
  } else {
    const size_t size = (base & VT_ARRAY) ? sizeof(SAFEARRAY*) : ValueSize(base);
    if (size == 0) return E_INVALIDARG;
    std::memcpy(&view->llVal, source.byref, size);
  }
  view->vt = base;
  return S_OK;
}

}  // namespace vantrel::runtime

using vantrel::runtime::CopyVariantValue;
using vantrel::runtime::IsValidVariantType;
using vantrel::runtime::ViewValue;

extern "C" {

void VariantInit(VARIANTARG* pvarg) { pvarg->vt = VT_EMPTY; }

HRESULT VariantClear(VARIANTARG* pvarg) {
  if (pvarg == nullptr) return E_INVALIDARG;
  if (!IsValidVariantType(pvarg->vt)) return DISP_E_BADVARTYPE;
  if (pvarg->vt & VT_BYREF) {
    pvarg->vt = VT_EMPTY;
    return S_OK;
  }
  return vantrel::runtime::ReleaseOwned(pvarg);
}

// The copy is made before the destination is cleared, so a source that lives
// inside the destination (an element of its array) is still intact.
HRESULT VariantCopy(VARIANTARG* pvargDest, const VARIANTARG* pvargSrc) {
  if (pvargDest == nullptr || pvargSrc == nullptr) return E_INVALIDARG;
  if (pvargDest == pvargSrc) return S_OK;
  if (!IsValidVariantType(pvargSrc->vt)) return DISP_E_BADVARTYPE;
  VARIANT copy;
  HRESULT hr = CopyVariantValue(&copy, *pvargSrc);
  if (FAILED(hr)) {
    VariantClear(pvargDest);  // a failed copy leaves the destination empty
    return hr;
  }
  hr = VariantClear(pvargDest);
  if (FAILED(hr)) {
    VariantClear(&copy);
    return hr;
  }
  *pvargDest = copy;
  return S_OK;
}

HRESULT VariantCopyInd(VARIANT* pvarDest, const VARIANTARG* pvargSrc) {
  if (pvarDest == nullptr || pvargSrc == nullptr) return E_INVALIDARG;
  if (!IsValidVariantType(pvargSrc->vt)) return DISP_E_BADVARTYPE;
  if (!(pvargSrc->vt & VT_BYREF)) return VariantCopy(pvarDest, pvargSrc);
  VARIANT view;
  HRESULT hr = ViewValue(*pvargSrc, &view);
  if (FAILED(hr)) return hr;
  VARIANT copy;
  hr = CopyVariantValue(&copy, view);
  if (FAILED(hr)) return hr;
  hr = VariantClear(pvarDest);
  if (FAILED(hr)) {
    VariantClear(&copy);
    return hr;
  }
  *pvarDest = copy;
  return S_OK;
}

}  // extern "C"
