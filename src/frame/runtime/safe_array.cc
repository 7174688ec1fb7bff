// SAFEARRAY: creation, bounds, locking, elements and copies.
//
// Each descriptor is preceded by 16 bytes, as on Windows: the element
// interface's IID for FADF_HAVEIID arrays, or the VARTYPE in the last 4 bytes
// for FADF_HAVEVARTYPE arrays. Data is a separate block.
#include <atomic>
#include <cstdlib>
#include <cstring>
#include <limits>

#include "variant_internal.h"

namespace vantrel::runtime {
namespace {

constexpr size_t kPrefixBytes = 16;
constexpr ULONG kMaxLocks = 0xFFFF;
constexpr USHORT kOwnedElements = FADF_BSTR | FADF_VARIANT | FADF_UNKNOWN | FADF_DISPATCH;

size_t DescriptorBytes(UINT dims) {
  return offsetof(SAFEARRAY, rgsabound) + size_t{dims} * sizeof(SAFEARRAYBOUND);
}

char* PrefixOf(SAFEARRAY* psa) { return reinterpret_cast<char*>(psa) - kPrefixBytes; }

void StoreVartype(SAFEARRAY* psa, VARTYPE vt) {
  const DWORD value = vt;
  std::memcpy(reinterpret_cast<char*>(psa) - sizeof value, &value, sizeof value);
}

VARTYPE LoadVartype(SAFEARRAY* psa) {
  DWORD value;
  std::memcpy(&value, reinterpret_cast<char*>(psa) - sizeof value, sizeof value);
  return static_cast<VARTYPE>(value);
}

USHORT FeaturesFor(VARTYPE vt) {
  switch (vt) {
    case VT_BSTR:
      return FADF_HAVEVARTYPE | FADF_BSTR;
    case VT_VARIANT:
      return FADF_HAVEVARTYPE | FADF_VARIANT;
    case VT_UNKNOWN:
      return FADF_HAVEIID | FADF_UNKNOWN;
    case VT_DISPATCH:
      return FADF_HAVEIID | FADF_DISPATCH;
    default:
      return FADF_HAVEVARTYPE;
  }
}

// Elements in the whole array; false when the count or its bytes overflow.
bool CountElements(const SAFEARRAY* psa, size_t* count) {
  size_t total = 1;
  for (USHORT i = 0; i < psa->cDims; ++i) {
    const size_t n = psa->rgsabound[i].cElements;
    if (n != 0 && total > std::numeric_limits<size_t>::max() / n) return false;
    total *= n;
  }
  if (psa->cbElements != 0 && total > std::numeric_limits<size_t>::max() / 2 / psa->cbElements)
    return false;
  *count = total;
  return true;
}

size_t ElementCount(const SAFEARRAY* psa) {
  size_t count = 0;
  CountElements(psa, &count);
  return count;
}

char* ElementAt(SAFEARRAY* psa, size_t index) {
  return static_cast<char*>(psa->pvData) + index * psa->cbElements;
}

// The byte offset of the element at `indices` (leftmost dimension first);
// false when an index is outside its dimension.
bool OffsetOf(const SAFEARRAY* psa, const LONG* indices, size_t* offset) {
  size_t result = 0;
  size_t stride = psa->cbElements;
  for (USHORT d = 0; d < psa->cDims; ++d) {
    const SAFEARRAYBOUND& bound = psa->rgsabound[psa->cDims - 1 - d];
    const int64_t position = int64_t{indices[d]} - bound.lLbound;
    if (position < 0 || position >= int64_t{bound.cElements}) return false;
    result += static_cast<size_t>(position) * stride;
    stride *= bound.cElements;
  }
  *offset = result;
  return true;
}

// Frees what one element owns and zeroes it.
void ClearElement(const SAFEARRAY* psa, char* element) {
  if (psa->fFeatures & FADF_BSTR) {
    BSTR text;
    std::memcpy(&text, element, sizeof text);
    SysFreeString(text);
  } else if (psa->fFeatures & FADF_VARIANT) {
    VariantClear(reinterpret_cast<VARIANT*>(element));
  } else if (psa->fFeatures & (FADF_UNKNOWN | FADF_DISPATCH)) {
    IUnknown* reference;
    std::memcpy(&reference, element, sizeof reference);
    if (reference != nullptr) reference->Release();
  }
  std::memset(element, 0, psa->cbElements);
}

BSTR CopyText(BSTR text, HRESULT* hr) {
  *hr = S_OK;
  if (text == nullptr) return nullptr;
  BSTR copy = SysAllocStringByteLen(reinterpret_cast<LPCSTR>(text), SysStringByteLen(text));
  if (copy == nullptr) *hr = E_OUTOFMEMORY;
  return copy;
}

// Copies one element's value from `source` into the empty slot `target`, the
// way the array owns its elements.
HRESULT CopyElement(const SAFEARRAY* psa, const char* source, char* target) {
  if (psa->fFeatures & FADF_BSTR) {
    BSTR text;
    std::memcpy(&text, source, sizeof text);
    HRESULT hr;
    const BSTR copy = CopyText(text, &hr);
    std::memcpy(target, &copy, sizeof copy);
    return hr;
  }
  if (psa->fFeatures & FADF_VARIANT) {
    VARIANT* out = reinterpret_cast<VARIANT*>(target);
    VariantInit(out);
    return VariantCopy(out, reinterpret_cast<const VARIANT*>(source));
  }
  std::memcpy(target, source, psa->cbElements);
  if (psa->fFeatures & (FADF_UNKNOWN | FADF_DISPATCH)) {
    IUnknown* reference;
    std::memcpy(&reference, source, sizeof reference);
    if (reference != nullptr) reference->AddRef();
  }
  return S_OK;
}

// A descriptor for `dims` dimensions with its prefix, zeroed; null without memory.
SAFEARRAY* AllocateDescriptor(UINT dims) {
  char* block = static_cast<char*>(std::calloc(1, kPrefixBytes + DescriptorBytes(dims)));
  return block == nullptr ? nullptr : reinterpret_cast<SAFEARRAY*>(block + kPrefixBytes);
}

// Zeroed data for the descriptor's bounds; at least one element's worth, so
// that even an empty array hands out a valid pointer.
bool AllocateData(SAFEARRAY* psa) {
  size_t count;
  if (!CountElements(psa, &count)) return false;
  psa->pvData = std::calloc(count == 0 ? 1 : count, psa->cbElements);
  return psa->pvData != nullptr;
}

void FreeArray(SAFEARRAY* psa) {
  std::free(psa->pvData);
  std::free(PrefixOf(psa));
}

SAFEARRAY* Create(VARTYPE vt, UINT dims, const SAFEARRAYBOUND* bounds) {
  const size_t size = ValueSize(vt);
  if (size == 0 || dims == 0 || dims > 0xFFFF || bounds == nullptr) return nullptr;
  SAFEARRAY* psa = AllocateDescriptor(dims);
  if (psa == nullptr) return nullptr;
  psa->cDims = static_cast<USHORT>(dims);
  psa->fFeatures = FeaturesFor(vt);
  psa->cbElements = static_cast<ULONG>(size);
  for (UINT i = 0; i < dims; ++i) psa->rgsabound[dims - 1 - i] = bounds[i];
  if (psa->fFeatures & FADF_HAVEIID) {
    const IID& iid = vt == VT_DISPATCH ? IID_IDispatch : IID_IUnknown;
    std::memcpy(PrefixOf(psa), &iid, sizeof iid);
  } else {
    StoreVartype(psa, vt);
  }
  if (!AllocateData(psa)) {
    FreeArray(psa);
    return nullptr;
  }
  return psa;
}

std::atomic_ref<ULONG> LockCount(SAFEARRAY* psa) { return std::atomic_ref<ULONG>(psa->cLocks); }

// Runs `body` on the element at `indices` with the array locked.
template <class Body>
HRESULT WithElement(SAFEARRAY* psa, LONG* indices, Body body) {
  if (psa == nullptr || indices == nullptr) return E_INVALIDARG;
  size_t offset;
  if (!OffsetOf(psa, indices, &offset)) return DISP_E_BADINDEX;
  HRESULT hr = SafeArrayLock(psa);
  if (FAILED(hr)) return hr;
  hr = body(static_cast<char*>(psa->pvData) + offset);
  SafeArrayUnlock(psa);
  return hr;
}

HRESULT PutText(SAFEARRAY* psa, char* element, BSTR text) {
  HRESULT hr;
  const BSTR copy = CopyText(text, &hr);
  if (FAILED(hr)) return hr;
  ClearElement(psa, element);
  std::memcpy(element, &copy, sizeof copy);
  return S_OK;
}

// The old reference is released after the new one is stored, so that storing
// the same object again cannot destroy it in between.
HRESULT PutReference(SAFEARRAY* psa, char* element, IUnknown* reference) {
  if (reference != nullptr) reference->AddRef();
  IUnknown* old;
  std::memcpy(&old, element, sizeof old);
  std::memcpy(element, &reference, sizeof reference);
  if (old != nullptr) old->Release();
  return S_OK;
}

}  // namespace
}  // namespace vantrel::runtime

using namespace vantrel::runtime;

extern "C" {

SAFEARRAY* SafeArrayCreate(VARTYPE vt, UINT cDims, SAFEARRAYBOUND* rgsabound) {
  return Create(vt, cDims, rgsabound);
}

SAFEARRAY* SafeArrayCreateVector(VARTYPE vt, LONG lLbound, ULONG cElements) {
  SAFEARRAYBOUND bound{cElements, lLbound};
  return Create(vt, 1, &bound);
}

HRESULT SafeArrayDestroy(SAFEARRAY* psa) {
  if (psa == nullptr) return S_OK;
  if (LockCount(psa).load() > 0) return DISP_E_ARRAYISLOCKED;
  if (psa->fFeatures & kOwnedElements) {
    const size_t count = ElementCount(psa);
    for (size_t i = 0; i < count; ++i) ClearElement(psa, ElementAt(psa, i));
  }
  FreeArray(psa);
  return S_OK;
}

UINT SafeArrayGetDim(SAFEARRAY* psa) { return psa == nullptr ? 0 : psa->cDims; }

UINT SafeArrayGetElemsize(SAFEARRAY* psa) { return psa == nullptr ? 0 : psa->cbElements; }

HRESULT SafeArrayGetLBound(SAFEARRAY* psa, UINT nDim, LONG* plLbound) {
  if (psa == nullptr || plLbound == nullptr) return E_INVALIDARG;
  if (nDim == 0 || nDim > psa->cDims) return DISP_E_BADINDEX;
  *plLbound = psa->rgsabound[psa->cDims - nDim].lLbound;
  return S_OK;
}

HRESULT SafeArrayGetUBound(SAFEARRAY* psa, UINT nDim, LONG* plUbound) {
  if (psa == nullptr || plUbound == nullptr) return E_INVALIDARG;
  if (nDim == 0 || nDim > psa->cDims) return DISP_E_BADINDEX;
  const SAFEARRAYBOUND& bound = psa->rgsabound[psa->cDims - nDim];
  // Wraps as a LONG, as on Windows, for an empty dimension starting at the minimum.
  *plUbound = static_cast<LONG>(static_cast<uint32_t>(bound.lLbound) + bound.cElements - 1u);
  return S_OK;
}

HRESULT SafeArrayLock(SAFEARRAY* psa) {
  if (psa == nullptr) return E_INVALIDARG;
  auto locks = LockCount(psa);
  ULONG current = locks.load();
  do {
    if (current >= kMaxLocks) return E_UNEXPECTED;
  } while (!locks.compare_exchange_weak(current, current + 1));
  return S_OK;
}

HRESULT SafeArrayUnlock(SAFEARRAY* psa) {
  if (psa == nullptr) return E_INVALIDARG;
  auto locks = LockCount(psa);
  ULONG current = locks.load();
  do {
    if (current == 0) return E_UNEXPECTED;
  } while (!locks.compare_exchange_weak(current, current - 1));
  return S_OK;
}

HRESULT SafeArrayAccessData(SAFEARRAY* psa, void** ppvData) {
  if (psa == nullptr || ppvData == nullptr) return E_INVALIDARG;
  const HRESULT hr = SafeArrayLock(psa);
  *ppvData = SUCCEEDED(hr) ? psa->pvData : nullptr;
  return hr;
}

HRESULT SafeArrayUnaccessData(SAFEARRAY* psa) { return SafeArrayUnlock(psa); }

HRESULT SafeArrayGetElement(SAFEARRAY* psa, LONG* rgIndices, void* pv) {
  if (pv == nullptr) return E_INVALIDARG;
  return WithElement(psa, rgIndices, [&](char* element) {
    return CopyElement(psa, element, static_cast<char*>(pv));
  });
}

HRESULT SafeArrayPutElement(SAFEARRAY* psa, LONG* rgIndices, void* pv) {
  return WithElement(psa, rgIndices, [&](char* element) -> HRESULT {
    if (psa->fFeatures & FADF_BSTR) return PutText(psa, element, static_cast<BSTR>(pv));
    if (psa->fFeatures & (FADF_UNKNOWN | FADF_DISPATCH)) {
      return PutReference(psa, element, static_cast<IUnknown*>(pv));
    }
    if (pv == nullptr) return E_INVALIDARG;
    if (psa->fFeatures & FADF_VARIANT) {
      return VariantCopy(reinterpret_cast<VARIANT*>(element), static_cast<VARIANT*>(pv));
    }
    std::memcpy(element, pv, psa->cbElements);
    return S_OK;
  });
}

HRESULT SafeArrayCopy(SAFEARRAY* psa, SAFEARRAY** ppsaOut) {
  if (ppsaOut == nullptr) return E_INVALIDARG;
  *ppsaOut = nullptr;
  if (psa == nullptr) return S_OK;
  SAFEARRAY* copy = AllocateDescriptor(psa->cDims);
  if (copy == nullptr) return E_OUTOFMEMORY;
  std::memcpy(copy, psa, DescriptorBytes(psa->cDims));
  // Only arrays that record their type have the prefix.
  if (psa->fFeatures & (FADF_HAVEIID | FADF_HAVEVARTYPE)) {
    std::memcpy(PrefixOf(copy), PrefixOf(psa), kPrefixBytes);
  }
  copy->fFeatures &= ~(FADF_AUTO | FADF_STATIC | FADF_EMBEDDED | FADF_FIXEDSIZE);
  copy->cLocks = 0;
  if (!AllocateData(copy)) {
    FreeArray(copy);
    return E_OUTOFMEMORY;
  }
  const size_t count = ElementCount(psa);
  for (size_t i = 0; i < count; ++i) {
    const HRESULT hr = CopyElement(psa, ElementAt(psa, i), ElementAt(copy, i));
    if (FAILED(hr)) {
      SafeArrayDestroy(copy);
      return hr;
    }
  }
  *ppsaOut = copy;
  return S_OK;
}

HRESULT SafeArrayGetVartype(SAFEARRAY* psa, VARTYPE* pvt) {
  if (psa == nullptr || pvt == nullptr) return E_INVALIDARG;
  if (psa->fFeatures & FADF_RECORD) {
    *pvt = VT_RECORD;
  } else if (psa->fFeatures & FADF_HAVEIID) {
    *pvt = (psa->fFeatures & FADF_DISPATCH) ? VT_DISPATCH : VT_UNKNOWN;
  } else if (psa->fFeatures & FADF_HAVEVARTYPE) {
    *pvt = LoadVartype(psa);
  } else {
    return E_INVALIDARG;
  }
  return S_OK;
}

}  // extern "C"
