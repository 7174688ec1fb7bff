// The scalar types, identifiers and result codes of the automation runtime,
// with the names, values and sizes client code expects from Windows, so that
// one source compiles against either runtime and C clients see the same bytes.
#pragma once

#include <cstddef>
#include <cstdint>
#include <cstring>

// ---- Scalars. LONG and ULONG are 32 bits as on Windows, not `long`. ----
typedef int32_t HRESULT;
typedef int32_t SCODE;
typedef int32_t LONG;
typedef uint32_t ULONG;
typedef uint32_t DWORD;
typedef uint16_t WORD;
typedef uint8_t BYTE;
typedef int16_t SHORT;
typedef uint16_t USHORT;
typedef int32_t INT;
typedef uint32_t UINT;
typedef int32_t BOOL;
typedef char CHAR;
typedef float FLOAT;
typedef double DOUBLE;
typedef int64_t LONGLONG;
typedef uint64_t ULONGLONG;
typedef uint64_t ULONG64;
typedef intptr_t LONG_PTR;
typedef uintptr_t ULONG_PTR;
typedef uintptr_t DWORD_PTR;
typedef void* PVOID;
typedef void* LPVOID;
typedef char* LPSTR;
typedef const char* LPCSTR;

typedef DWORD LCID;
typedef LONG DISPID;
typedef DISPID MEMBERID;
typedef DWORD HREFTYPE;
typedef USHORT VARTYPE;
typedef SHORT VARIANT_BOOL;
typedef double DATE;  // days since 1899-12-30; the fraction is the time of day

// OLE text is UTF-16. Windows uses wchar_t (16 bits there); here it is
// char16_t, so literals go through OLESTR().
typedef char16_t OLECHAR;
typedef OLECHAR* LPOLESTR;
typedef const OLECHAR* LPCOLESTR;
#define OLESTR(s) u##s

// A BSTR points at the text; the 32-bit byte length sits just before it and
// two NUL bytes follow it. Allocated only by the Sys* functions.
typedef OLECHAR* BSTR;
typedef BSTR* LPBSTR;

#ifndef TRUE
#define TRUE 1
#endif
#ifndef FALSE
#define FALSE 0
#endif

#define VARIANT_TRUE ((VARIANT_BOOL)-1)
#define VARIANT_FALSE ((VARIANT_BOOL)0)

// Currency: a 64-bit integer scaled by 10000 (layout only; no arithmetic).
typedef union tagCY {
  struct {
    ULONG Lo;
    LONG Hi;
  };
  LONGLONG int64;
} CY;

// 96-bit scaled decimal (layout only). Its first WORD overlays VARIANT::vt.
typedef struct tagDEC {
  USHORT wReserved;
  union {
    struct {
      BYTE scale;
      BYTE sign;
    };
    USHORT signscale;
  };
  ULONG Hi32;
  union {
    struct {
      ULONG Lo32;
      ULONG Mid32;
    };
    ULONGLONG Lo64;
  };
} DECIMAL;
#define DECIMAL_NEG ((BYTE)0x80)

// ---- GUIDs ----
typedef struct _GUID {
  uint32_t Data1;
  uint16_t Data2;
  uint16_t Data3;
  uint8_t Data4[8];
} GUID;
typedef GUID IID;
typedef GUID CLSID;
typedef GUID* LPGUID;
typedef IID* LPIID;
typedef CLSID* LPCLSID;
typedef const GUID& REFGUID;
typedef const IID& REFIID;
typedef const CLSID& REFCLSID;

inline bool IsEqualGUID(REFGUID a, REFGUID b) { return std::memcmp(&a, &b, sizeof(GUID)) == 0; }
inline bool IsEqualIID(REFIID a, REFIID b) { return IsEqualGUID(a, b); }
inline bool IsEqualCLSID(REFCLSID a, REFCLSID b) { return IsEqualGUID(a, b); }
inline bool operator==(REFGUID a, REFGUID b) { return IsEqualGUID(a, b); }
inline bool operator!=(REFGUID a, REFGUID b) { return !IsEqualGUID(a, b); }

extern "C" const GUID GUID_NULL;
#define IID_NULL GUID_NULL
#define CLSID_NULL GUID_NULL

// ---- Calling convention: the platform's own; these only keep the spelling. ----
#define STDMETHODCALLTYPE
#define STDAPICALLTYPE
#define STDMETHOD(method) virtual HRESULT STDMETHODCALLTYPE method
#define STDMETHOD_(type, method) virtual type STDMETHODCALLTYPE method
#define STDMETHODIMP HRESULT STDMETHODCALLTYPE
#define STDMETHODIMP_(type) type STDMETHODCALLTYPE
#define PURE = 0
#define STDAPI extern "C" HRESULT STDAPICALLTYPE
#define STDAPI_(type) extern "C" type STDAPICALLTYPE

// ---- Result codes ----
#define SEVERITY_SUCCESS 0
#define SEVERITY_ERROR 1
#define FACILITY_NULL 0
#define FACILITY_RPC 1
#define FACILITY_DISPATCH 2
#define FACILITY_STORAGE 3
#define FACILITY_ITF 4
#define FACILITY_WIN32 7
#define FACILITY_WINDOWS 8

#define SUCCEEDED(hr) (((HRESULT)(hr)) >= 0)
#define FAILED(hr) (((HRESULT)(hr)) < 0)
#define IS_ERROR(status) (((uint32_t)(status)) >> 31 == SEVERITY_ERROR)
#define HRESULT_CODE(hr) ((hr)&0xFFFF)
#define SCODE_CODE(sc) ((sc)&0xFFFF)
#define HRESULT_FACILITY(hr) (((hr) >> 16) & 0x1FFF)
#define SCODE_FACILITY(sc) (((sc) >> 16) & 0x1FFF)
#define HRESULT_SEVERITY(hr) (((hr) >> 31) & 0x1)
#define SCODE_SEVERITY(sc) (((sc) >> 31) & 0x1)
#define MAKE_HRESULT(sev, fac, code) \
  ((HRESULT)(((uint32_t)(sev) << 31) | ((uint32_t)(fac) << 16) | ((uint32_t)(code))))
#define MAKE_SCODE(sev, fac, code) ((SCODE)MAKE_HRESULT(sev, fac, code))

// A Win32 error number as a result: zero and negative values pass unchanged.
inline constexpr HRESULT HRESULT_FROM_WIN32(unsigned long x) {
  return static_cast<HRESULT>(x) <= 0
             ? static_cast<HRESULT>(x)
             : static_cast<HRESULT>((x & 0x0000FFFFu) | (FACILITY_WIN32 << 16) | 0x80000000u);
}

#define S_OK ((HRESULT)0)
#define S_FALSE ((HRESULT)1)
#define NOERROR 0
#define E_NOTIMPL ((HRESULT)0x80004001)
#define E_NOINTERFACE ((HRESULT)0x80004002)
#define E_POINTER ((HRESULT)0x80004003)
#define E_ABORT ((HRESULT)0x80004004)
#define E_FAIL ((HRESULT)0x80004005)
#define E_UNEXPECTED ((HRESULT)0x8000FFFF)
#define E_ACCESSDENIED ((HRESULT)0x80070005)
#define E_HANDLE ((HRESULT)0x80070006)
#define E_OUTOFMEMORY ((HRESULT)0x8007000E)
#define E_INVALIDARG ((HRESULT)0x80070057)

#define CLASS_E_NOAGGREGATION ((HRESULT)0x80040110)
#define CLASS_E_CLASSNOTAVAILABLE ((HRESULT)0x80040111)
#define REGDB_E_READREGDB ((HRESULT)0x80040150)
#define REGDB_E_WRITEREGDB ((HRESULT)0x80040151)
#define REGDB_E_KEYMISSING ((HRESULT)0x80040152)
#define REGDB_E_CLASSNOTREG ((HRESULT)0x80040154)
#define REGDB_E_IIDNOTREG ((HRESULT)0x80040155)
#define CO_E_NOTINITIALIZED ((HRESULT)0x800401F0)
#define CO_E_CLASSSTRING ((HRESULT)0x800401F3)
#define CO_E_IIDSTRING ((HRESULT)0x800401F4)
#define CONNECT_E_NOCONNECTION ((HRESULT)0x80040200)
#define CONNECT_E_ADVISELIMIT ((HRESULT)0x80040201)
#define CONNECT_E_CANNOTCONNECT ((HRESULT)0x80040202)
#define CONNECT_E_OVERRIDDEN ((HRESULT)0x80040203)
#define SELFREG_E_TYPELIB ((HRESULT)0x80040200)
#define SELFREG_E_CLASS ((HRESULT)0x80040201)

#define DISP_E_UNKNOWNINTERFACE ((HRESULT)0x80020001)
#define DISP_E_MEMBERNOTFOUND ((HRESULT)0x80020003)
#define DISP_E_PARAMNOTFOUND ((HRESULT)0x80020004)
#define DISP_E_TYPEMISMATCH ((HRESULT)0x80020005)
#define DISP_E_UNKNOWNNAME ((HRESULT)0x80020006)
#define DISP_E_NONAMEDARGS ((HRESULT)0x80020007)
#define DISP_E_BADVARTYPE ((HRESULT)0x80020008)
#define DISP_E_EXCEPTION ((HRESULT)0x80020009)
#define DISP_E_OVERFLOW ((HRESULT)0x8002000A)
#define DISP_E_BADINDEX ((HRESULT)0x8002000B)
#define DISP_E_UNKNOWNLCID ((HRESULT)0x8002000C)
#define DISP_E_ARRAYISLOCKED ((HRESULT)0x8002000D)
#define DISP_E_BADPARAMCOUNT ((HRESULT)0x8002000E)
#define DISP_E_PARAMNOTOPTIONAL ((HRESULT)0x8002000F)
#define DISP_E_BADCALLEE ((HRESULT)0x80020010)
#define DISP_E_NOTACOLLECTION ((HRESULT)0x80020011)
#define DISP_E_DIVBYZERO ((HRESULT)0x80020012)
#define DISP_E_BUFFERTOOSMALL ((HRESULT)0x80020013)

#define TYPE_E_BUFFERTOOSMALL ((HRESULT)0x80028016)
#define TYPE_E_INVDATAREAD ((HRESULT)0x80028018)
#define TYPE_E_UNSUPFORMAT ((HRESULT)0x80028019)
#define TYPE_E_LIBNOTREGISTERED ((HRESULT)0x8002801D)
#define TYPE_E_ELEMENTNOTFOUND ((HRESULT)0x8002802B)
#define TYPE_E_AMBIGUOUSNAME ((HRESULT)0x8002802C)
#define TYPE_E_BADMODULEKIND ((HRESULT)0x800288BD)
#define TYPE_E_TYPEMISMATCH ((HRESULT)0x80028CA0)
#define TYPE_E_OUTOFBOUNDS ((HRESULT)0x80028CA1)
#define TYPE_E_CANTLOADLIBRARY ((HRESULT)0x80029C4A)

// ---- Locales and dispatch identifiers ----
#define LOCALE_NEUTRAL ((LCID)0x0000)
#define LOCALE_INVARIANT ((LCID)0x007F)
#define LOCALE_USER_DEFAULT ((LCID)0x0400)
#define LOCALE_SYSTEM_DEFAULT ((LCID)0x0800)

#define DISPID_VALUE ((DISPID)0)
#define DISPID_UNKNOWN ((DISPID)-1)
#define DISPID_PROPERTYPUT ((DISPID)-3)
#define DISPID_NEWENUM ((DISPID)-4)
#define DISPID_EVALUATE ((DISPID)-5)
#define DISPID_CONSTRUCTOR ((DISPID)-6)
#define DISPID_DESTRUCTOR ((DISPID)-7)
#define DISPID_COLLECT ((DISPID)-8)
#define MEMBERID_NIL DISPID_UNKNOWN

#define DISPATCH_METHOD 0x1
#define DISPATCH_PROPERTYGET 0x2
#define DISPATCH_PROPERTYPUT 0x4
#define DISPATCH_PROPERTYPUTREF 0x8

// CoInitializeEx's concurrency models (accepted and ignored here).
#define COINIT_MULTITHREADED 0x0
#define COINIT_APARTMENTTHREADED 0x2
#define COINIT_DISABLE_OLE1DDE 0x4
#define COINIT_SPEED_OVER_MEMORY 0x8
