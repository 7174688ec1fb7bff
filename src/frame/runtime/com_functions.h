// The runtime's C functions: strings, VARIANTs, SAFEARRAYs, error information,
// GUID text and task memory. They have C linkage and the Windows signatures;
// the shared library exports them to C clients and the Python binding.
// None blocks; all may be called from any thread (a VARIANT, BSTR or SAFEARRAY
// itself is not guarded: callers do not share one between threads while
// changing it).
#pragma once

#include "com_interfaces.h"

extern "C" {

// ---- BSTR ----
// A new BSTR copying the NUL-terminated `psz`. Null `psz` or no memory: null.
BSTR SysAllocString(const OLECHAR* psz);
// A new BSTR of `ui` characters copied from `strIn` (which may hold NULs), or
// zero-filled when `strIn` is null. No memory or a length beyond 2^31 bytes: null.
BSTR SysAllocStringLen(const OLECHAR* strIn, UINT ui);
// A new BSTR of `len` bytes copied from `psz`, or zero-filled when `psz` is
// null; SysStringLen of it is len / 2. No memory: null.
BSTR SysAllocStringByteLen(LPCSTR psz, UINT len);
// Replaces *pbstr with a copy of `psz` (which may point into *pbstr) and frees
// the old string. TRUE on success; FALSE (and *pbstr unchanged) when pbstr is
// null or memory runs out.
INT SysReAllocString(BSTR* pbstr, const OLECHAR* psz);
// As SysReAllocString with an explicit length of `len` characters.
INT SysReAllocStringLen(BSTR* pbstr, const OLECHAR* psz, UINT len);
// Frees a BSTR; null is accepted.
void SysFreeString(BSTR bstrString);
// Characters in the string (embedded NULs counted); 0 for null.
UINT SysStringLen(BSTR pbstr);
// Bytes in the string; 0 for null.
UINT SysStringByteLen(BSTR bstr);

// ---- VARIANT ----
// Sets the tag to VT_EMPTY; the rest is left as it is.
void VariantInit(VARIANTARG* pvarg);
// Frees what the variant owns (string, reference, array) and sets VT_EMPTY.
// E_INVALIDARG for null; DISP_E_BADVARTYPE for an invalid tag and
// DISP_E_ARRAYISLOCKED for a locked array, the variant left unchanged.
HRESULT VariantClear(VARIANTARG* pvarg);
// Clears `pvargDest`, then makes it a copy of `pvargSrc`: strings and arrays
// deep-copied, interfaces with an added reference, VT_BYREF values copied as
// the reference. dest == src: nothing to do. E_INVALIDARG for null arguments,
// DISP_E_BADVARTYPE for an invalid source tag, E_OUTOFMEMORY (dest empty).
HRESULT VariantCopy(VARIANTARG* pvargDest, const VARIANTARG* pvargSrc);
// As VariantCopy, but a VT_BYREF source is copied as the value it refers to
// (VT_VARIANT|VT_BYREF: the referenced variant). Works in place. On failure
// `pvargDest` is unchanged.
HRESULT VariantCopyInd(VARIANT* pvarDest, const VARIANTARG* pvargSrc);
// Converts `pvarSrc` to type `vt` into `pvargDest` (which may be `pvarSrc`).
// `pvargDest` is cleared only after the conversion succeeded; on failure it is
// unchanged. A VT_BYREF source converts the value it refers to.
//   DISP_E_OVERFLOW      value out of the target's range (doubles round half
//                        to even first: 2.5 -> 2, 3.5 -> 4)
//   DISP_E_TYPEMISMATCH  text that is no number or boolean; VT_NULL to
//                        anything but VT_NULL; VT_DATE <-> VT_BSTR (dates are
//                        not converted to or from text here); VT_ERROR, VT_CY,
//                        VT_DECIMAL and arrays to any other type; a VT_BYREF
//                        target; NaN or infinity to text
//   DISP_E_BADVARTYPE    an invalid source or target tag
//   E_INVALIDARG         null arguments
//   E_NOINTERFACE        VT_UNKNOWN to VT_DISPATCH for an object without it
// Numbers are read and written in the C locale, whatever the LCID: integers
// exactly, doubles in their shortest text that reads back to the same value
// ("0.1", "1234567", "1E+15", "1.5E-07"). Booleans become "True"/"False" (the
// Windows runtime gives "-1"/"0" unless VARIANT_ALPHABOOL is passed); text
// becomes a boolean from "True"/"False" in any case or from a number; numbers
// become VARIANT_TRUE when nonzero; booleans become -1/0. VT_EMPTY reads as 0,
// "" and false and becomes VT_NULL on request; anything but VT_NULL becomes
// VT_EMPTY. VT_DISPATCH converts to text, booleans and numbers through the
// object's default member (DISPID_VALUE, DISPATCH_PROPERTYGET: this calls out
// to the object), unless VARIANT_NOVALUEPROP is given; a failing call or a
// value that is itself an object gives DISP_E_TYPEMISMATCH. VT_UNKNOWN and
// VT_DISPATCH convert into each other by QueryInterface; null stays null.
HRESULT VariantChangeType(VARIANTARG* pvargDest, const VARIANTARG* pvarSrc, USHORT wFlags,
                          VARTYPE vt);
// As VariantChangeType; `lcid` is accepted and ignored.
HRESULT VariantChangeTypeEx(VARIANTARG* pvargDest, const VARIANTARG* pvarSrc, LCID lcid,
                            USHORT wFlags, VARTYPE vt);

// ---- SAFEARRAY ----
// Arrays of every fixed-size scalar type, VT_BSTR, VT_VARIANT, VT_DISPATCH and
// VT_UNKNOWN. Strings, variants and interfaces in the array are owned by it:
// copied in by SafeArrayPutElement, copied out by SafeArrayGetElement and
// freed by SafeArrayDestroy. Elements start zeroed (empty strings, VT_EMPTY,
// null interfaces).

// A new array of `cDims` dimensions, bounds given leftmost first. Null for an
// unsupported type, no dimensions, null bounds, too many elements or no memory.
SAFEARRAY* SafeArrayCreate(VARTYPE vt, UINT cDims, SAFEARRAYBOUND* rgsabound);
// A new one-dimensional array of `cElements` starting at index `lLbound`.
SAFEARRAY* SafeArrayCreateVector(VARTYPE vt, LONG lLbound, ULONG cElements);
// Frees the array and its elements. Null: S_OK. Locked: DISP_E_ARRAYISLOCKED.
HRESULT SafeArrayDestroy(SAFEARRAY* psa);
// Dimensions; 0 for null.
UINT SafeArrayGetDim(SAFEARRAY* psa);
// Bytes per element; 0 for null.
UINT SafeArrayGetElemsize(SAFEARRAY* psa);
// Bounds of dimension `nDim` (1 = leftmost). E_INVALIDARG for null arguments,
// DISP_E_BADINDEX for a dimension out of range (output unchanged).
HRESULT SafeArrayGetLBound(SAFEARRAY* psa, UINT nDim, LONG* plLbound);
HRESULT SafeArrayGetUBound(SAFEARRAY* psa, UINT nDim, LONG* plUbound);
// Locks the array and hands out its data. E_INVALIDARG for null arguments.
HRESULT SafeArrayAccessData(SAFEARRAY* psa, void** ppvData);
HRESULT SafeArrayUnaccessData(SAFEARRAY* psa);
// A locked array cannot be destroyed. E_INVALIDARG for null; E_UNEXPECTED when
// unlocking an unlocked array or locking past 65535.
HRESULT SafeArrayLock(SAFEARRAY* psa);
HRESULT SafeArrayUnlock(SAFEARRAY* psa);
// Copies the element at `rgIndices` (leftmost dimension first) into `pv`: a
// new BSTR, an initialised VARIANT copy, an interface with an added reference,
// or the bytes. E_INVALIDARG for null arguments, DISP_E_BADINDEX out of bounds.
HRESULT SafeArrayGetElement(SAFEARRAY* psa, LONG* rgIndices, void* pv);
// Stores a copy of `pv` at `rgIndices`, freeing the old element. For VT_BSTR,
// VT_DISPATCH and VT_UNKNOWN arrays `pv` is the string or interface itself;
// otherwise it points at the value. Errors as SafeArrayGetElement, plus
// E_OUTOFMEMORY.
HRESULT SafeArrayPutElement(SAFEARRAY* psa, LONG* rgIndices, void* pv);
// A deep copy of the array in *ppsaOut. Null `psa`: *ppsaOut null and S_OK.
// E_INVALIDARG for a null `ppsaOut`, E_OUTOFMEMORY.
HRESULT SafeArrayCopy(SAFEARRAY* psa, SAFEARRAY** ppsaOut);
// The element type. E_INVALIDARG for null arguments or an array that does not
// record its type.
HRESULT SafeArrayGetVartype(SAFEARRAY* psa, VARTYPE* pvt);

// ---- Error information (per thread) ----
// A new, empty error object (free-threaded) with one reference for the caller.
// E_INVALIDARG for null, E_OUTOFMEMORY.
HRESULT CreateErrorInfo(ICreateErrorInfo** pperrinfo);
// Makes `perrinfo` (with an added reference, or nothing when null) the calling
// thread's error information, releasing the previous one. E_INVALIDARG when
// `dwReserved` is not 0.
HRESULT SetErrorInfo(ULONG dwReserved, IErrorInfo* perrinfo);
// Hands the calling thread's error information to the caller and clears it:
// S_OK with the object, S_FALSE with null when there is none. E_INVALIDARG for
// a null output or a nonzero `dwReserved`.
HRESULT GetErrorInfo(ULONG dwReserved, IErrorInfo** pperrinfo);

// ---- GUID text: "{XXXXXXXX-XXXX-XXXX-XXXX-XXXXXXXXXXXX}" ----
// Writes the braced, upper-case text and a NUL; returns 39 (characters written
// with the NUL), or 0 when `cchMax` is below 39 or `lpsz` is null.
int StringFromGUID2(REFGUID rguid, LPOLESTR lpsz, int cchMax);
// The same text in memory from CoTaskMemAlloc. E_INVALIDARG, E_OUTOFMEMORY.
HRESULT StringFromCLSID(REFCLSID rclsid, LPOLESTR* lplpsz);
// Reads the braced text, hex digits in any case. Null text: CLSID_NULL and
// S_OK. Text of another shape: CO_E_CLASSSTRING with *pclsid = CLSID_NULL.
// (Class names are not resolved here; the class table does that.)
HRESULT CLSIDFromString(LPCOLESTR lpsz, LPCLSID pclsid);
// As CLSIDFromString, but text of another shape gives E_INVALIDARG and leaves
// *lpiid unchanged.
HRESULT IIDFromString(LPCOLESTR lpsz, LPIID lpiid);

// ---- Task memory: the allocator of memory handed across the interfaces ----
// Never null for a size of 0; null when memory runs out.
LPVOID CoTaskMemAlloc(size_t cb);
// Resizes `pv` (null: allocates). A size of 0 frees `pv` and returns null.
LPVOID CoTaskMemRealloc(LPVOID pv, size_t cb);
void CoTaskMemFree(LPVOID pv);

// ---- Initialisation: nothing to set up here; always S_OK. ----
HRESULT CoInitialize(LPVOID pvReserved);
HRESULT CoInitializeEx(LPVOID pvReserved, DWORD dwCoInit);
void CoUninitialize(void);

}  // extern "C"
