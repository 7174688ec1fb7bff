// VARIANT, SAFEARRAY and the dispatch call records, in the Windows x64 layout
// (VARIANT is 24 bytes, SAFEARRAY 32 bytes for one dimension).
#pragma once

#include "com_types.h"

struct IUnknown;
struct IDispatch;
struct IRecordInfo;  // records are not supported; the pointer keeps the layout

enum VARENUM {
  VT_EMPTY = 0,
  VT_NULL = 1,
  VT_I2 = 2,
  VT_I4 = 3,
  VT_R4 = 4,
  VT_R8 = 5,
  VT_CY = 6,
  VT_DATE = 7,
  VT_BSTR = 8,
  VT_DISPATCH = 9,
  VT_ERROR = 10,
  VT_BOOL = 11,
  VT_VARIANT = 12,
  VT_UNKNOWN = 13,
  VT_DECIMAL = 14,
  VT_I1 = 16,
  VT_UI1 = 17,
  VT_UI2 = 18,
  VT_UI4 = 19,
  VT_I8 = 20,
  VT_UI8 = 21,
  VT_INT = 22,
  VT_UINT = 23,
  VT_VOID = 24,
  VT_HRESULT = 25,
  VT_PTR = 26,
  VT_SAFEARRAY = 27,
  VT_CARRAY = 28,
  VT_USERDEFINED = 29,
  VT_LPSTR = 30,
  VT_LPWSTR = 31,
  VT_RECORD = 36,
  VT_INT_PTR = 37,
  VT_UINT_PTR = 38,
  VT_FILETIME = 64,
  VT_BLOB = 65,
  VT_STREAM = 66,
  VT_STORAGE = 67,
  VT_STREAMED_OBJECT = 68,
  VT_STORED_OBJECT = 69,
  VT_BLOB_OBJECT = 70,
  VT_CF = 71,
  VT_CLSID = 72,
  VT_VERSIONED_STREAM = 73,
  VT_BSTR_BLOB = 0xfff,
  VT_VECTOR = 0x1000,
  VT_ARRAY = 0x2000,
  VT_BYREF = 0x4000,
  VT_RESERVED = 0x8000,
  VT_ILLEGAL = 0xffff,
  VT_ILLEGALMASKED = 0xfff,
  VT_TYPEMASK = 0xfff
};

typedef struct tagSAFEARRAYBOUND {
  ULONG cElements;
  LONG lLbound;
} SAFEARRAYBOUND, *LPSAFEARRAYBOUND;

// rgsabound holds the dimensions last-first: rgsabound[0] is the rightmost.
// Elements are stored with the leftmost index varying fastest.
typedef struct tagSAFEARRAY {
  USHORT cDims;
  USHORT fFeatures;
  ULONG cbElements;
  ULONG cLocks;
  PVOID pvData;
  SAFEARRAYBOUND rgsabound[1];
} SAFEARRAY, *LPSAFEARRAY;

#define FADF_AUTO 0x0001
#define FADF_STATIC 0x0002
#define FADF_EMBEDDED 0x0004
#define FADF_FIXEDSIZE 0x0010
#define FADF_RECORD 0x0020
#define FADF_HAVEIID 0x0040
#define FADF_HAVEVARTYPE 0x0080
#define FADF_BSTR 0x0100
#define FADF_UNKNOWN 0x0200
#define FADF_DISPATCH 0x0400
#define FADF_VARIANT 0x0800
#define FADF_RESERVED 0xF008

typedef struct tagVARIANT VARIANT;
typedef VARIANT VARIANTARG;
typedef VARIANT* LPVARIANT;
typedef VARIANT* LPVARIANTARG;

struct tagVARIANT {
  union {
    struct {
      VARTYPE vt;
      WORD wReserved1;
      WORD wReserved2;
      WORD wReserved3;
      union {
        LONGLONG llVal;
        LONG lVal;
        BYTE bVal;
        SHORT iVal;
        FLOAT fltVal;
        DOUBLE dblVal;
        VARIANT_BOOL boolVal;
        SCODE scode;
        CY cyVal;
        DATE date;
        BSTR bstrVal;
        IUnknown* punkVal;
        IDispatch* pdispVal;
        SAFEARRAY* parray;
        BYTE* pbVal;
        SHORT* piVal;
        LONG* plVal;
        LONGLONG* pllVal;
        FLOAT* pfltVal;
        DOUBLE* pdblVal;
        VARIANT_BOOL* pboolVal;
        SCODE* pscode;
        CY* pcyVal;
        DATE* pdate;
        BSTR* pbstrVal;
        IUnknown** ppunkVal;
        IDispatch** ppdispVal;
        SAFEARRAY** pparray;
        VARIANT* pvarVal;
        PVOID byref;
        CHAR cVal;
        USHORT uiVal;
        ULONG ulVal;
        ULONGLONG ullVal;
        INT intVal;
        UINT uintVal;
        DECIMAL* pdecVal;
        CHAR* pcVal;
        USHORT* puiVal;
        ULONG* pulVal;
        ULONGLONG* pullVal;
        INT* pintVal;
        UINT* puintVal;
        struct {
          PVOID pvRecord;
          IRecordInfo* pRecInfo;
        };
      };
    };
    DECIMAL decVal;
  };
};

#define V_VT(X) ((X)->vt)
#define V_ISBYREF(X) (V_VT(X) & VT_BYREF)
#define V_ISARRAY(X) (V_VT(X) & VT_ARRAY)
#define V_ISVECTOR(X) (V_VT(X) & VT_VECTOR)
#define V_NONE(X) V_I2(X)
#define V_UI1(X) ((X)->bVal)
#define V_UI1REF(X) ((X)->pbVal)
#define V_I1(X) ((X)->cVal)
#define V_I1REF(X) ((X)->pcVal)
#define V_I2(X) ((X)->iVal)
#define V_I2REF(X) ((X)->piVal)
#define V_UI2(X) ((X)->uiVal)
#define V_UI2REF(X) ((X)->puiVal)
#define V_I4(X) ((X)->lVal)
#define V_I4REF(X) ((X)->plVal)
#define V_UI4(X) ((X)->ulVal)
#define V_UI4REF(X) ((X)->pulVal)
#define V_I8(X) ((X)->llVal)
#define V_I8REF(X) ((X)->pllVal)
#define V_UI8(X) ((X)->ullVal)
#define V_UI8REF(X) ((X)->pullVal)
#define V_INT(X) ((X)->intVal)
#define V_INTREF(X) ((X)->pintVal)
#define V_UINT(X) ((X)->uintVal)
#define V_UINTREF(X) ((X)->puintVal)
#define V_R4(X) ((X)->fltVal)
#define V_R4REF(X) ((X)->pfltVal)
#define V_R8(X) ((X)->dblVal)
#define V_R8REF(X) ((X)->pdblVal)
#define V_CY(X) ((X)->cyVal)
#define V_CYREF(X) ((X)->pcyVal)
#define V_DATE(X) ((X)->date)
#define V_DATEREF(X) ((X)->pdate)
#define V_BSTR(X) ((X)->bstrVal)
#define V_BSTRREF(X) ((X)->pbstrVal)
#define V_DISPATCH(X) ((X)->pdispVal)
#define V_DISPATCHREF(X) ((X)->ppdispVal)
#define V_ERROR(X) ((X)->scode)
#define V_ERRORREF(X) ((X)->pscode)
#define V_BOOL(X) ((X)->boolVal)
#define V_BOOLREF(X) ((X)->pboolVal)
#define V_UNKNOWN(X) ((X)->punkVal)
#define V_UNKNOWNREF(X) ((X)->ppunkVal)
#define V_VARIANTREF(X) ((X)->pvarVal)
#define V_ARRAY(X) ((X)->parray)
#define V_ARRAYREF(X) ((X)->pparray)
#define V_BYREF(X) ((X)->byref)
#define V_DECIMAL(X) ((X)->decVal)
#define V_DECIMALREF(X) ((X)->pdecVal)
#define V_RECORD(X) ((X)->pvRecord)
#define V_RECORDINFO(X) ((X)->pRecInfo)

typedef struct tagDISPPARAMS {
  VARIANTARG* rgvarg;  // arguments last-first
  DISPID* rgdispidNamedArgs;
  UINT cArgs;
  UINT cNamedArgs;
} DISPPARAMS;

typedef struct tagEXCEPINFO {
  WORD wCode;
  WORD wReserved;
  BSTR bstrSource;
  BSTR bstrDescription;
  BSTR bstrHelpFile;
  DWORD dwHelpContext;
  PVOID pvReserved;
  HRESULT(STDMETHODCALLTYPE* pfnDeferredFillIn)(struct tagEXCEPINFO*);
  SCODE scode;
} EXCEPINFO, *LPEXCEPINFO;

// VariantChangeType(Ex) flags.
#define VARIANT_NOVALUEPROP 0x01
#define VARIANT_ALPHABOOL 0x02
#define VARIANT_NOUSEROVERRIDE 0x04
#define VARIANT_CALENDAR_HIJRI 0x08
#define VARIANT_LOCALBOOL 0x10
#define VARIANT_CALENDAR_THAI 0x20
#define VARIANT_CALENDAR_GREGORIAN 0x40
#define VARIANT_USE_NLS 0x80
