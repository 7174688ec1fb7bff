// The automation interfaces as abstract structs whose virtual functions are
// declared in the Windows vtable order, so that an object's table has the COM
// binary layout, with their interface identifiers.
#pragma once

#include "com_typedesc.h"

struct IUnknown;
struct IClassFactory;
struct IDispatch;
struct ITypeInfo;
struct ITypeLib;
struct ITypeComp;
struct IErrorInfo;
struct ICreateErrorInfo;
struct ISupportErrorInfo;
struct IEnumVARIANT;
struct IConnectionPoint;
struct IConnectionPointContainer;
struct IEnumConnectionPoints;
struct IEnumConnections;
struct IProvideClassInfo;

extern "C" {
extern const IID IID_IUnknown;
extern const IID IID_IClassFactory;
extern const IID IID_IDispatch;
extern const IID IID_ITypeInfo;
extern const IID IID_ITypeLib;
extern const IID IID_ITypeComp;
extern const IID IID_IErrorInfo;
extern const IID IID_ICreateErrorInfo;
extern const IID IID_ISupportErrorInfo;
extern const IID IID_IEnumVARIANT;
extern const IID IID_IConnectionPoint;
extern const IID IID_IConnectionPointContainer;
extern const IID IID_IEnumConnectionPoints;
extern const IID IID_IEnumConnections;
extern const IID IID_IProvideClassInfo;
}

// The table pointer of each interface is its only data. The lifetime is the
// reference count: an interface has no virtual destructor (it would take table
// slots), and a protected one so that nobody deletes through it.
#if defined(__GNUC__)
#pragma GCC diagnostic push
#pragma GCC diagnostic ignored "-Wnon-virtual-dtor"
#endif

struct IUnknown {
  virtual HRESULT STDMETHODCALLTYPE QueryInterface(REFIID riid, void** ppvObject) = 0;
  virtual ULONG STDMETHODCALLTYPE AddRef() = 0;
  virtual ULONG STDMETHODCALLTYPE Release() = 0;

 protected:
  ~IUnknown() = default;
};

struct IClassFactory : public IUnknown {
  virtual HRESULT STDMETHODCALLTYPE CreateInstance(IUnknown* pUnkOuter, REFIID riid,
                                                   void** ppvObject) = 0;
  virtual HRESULT STDMETHODCALLTYPE LockServer(BOOL fLock) = 0;

 protected:
  ~IClassFactory() = default;
};

struct IDispatch : public IUnknown {
  virtual HRESULT STDMETHODCALLTYPE GetTypeInfoCount(UINT* pctinfo) = 0;
  virtual HRESULT STDMETHODCALLTYPE GetTypeInfo(UINT iTInfo, LCID lcid, ITypeInfo** ppTInfo) = 0;
  virtual HRESULT STDMETHODCALLTYPE GetIDsOfNames(REFIID riid, LPOLESTR* rgszNames, UINT cNames,
                                                  LCID lcid, DISPID* rgDispId) = 0;
  virtual HRESULT STDMETHODCALLTYPE Invoke(DISPID dispIdMember, REFIID riid, LCID lcid, WORD wFlags,
                                           DISPPARAMS* pDispParams, VARIANT* pVarResult,
                                           EXCEPINFO* pExcepInfo, UINT* puArgErr) = 0;

 protected:
  ~IDispatch() = default;
};

struct ITypeComp : public IUnknown {
  virtual HRESULT STDMETHODCALLTYPE Bind(LPOLESTR szName, ULONG lHashVal, WORD wFlags,
                                         ITypeInfo** ppTInfo, DESCKIND* pDescKind,
                                         BINDPTR* pBindPtr) = 0;
  virtual HRESULT STDMETHODCALLTYPE BindType(LPOLESTR szName, ULONG lHashVal, ITypeInfo** ppTInfo,
                                             ITypeComp** ppTComp) = 0;

 protected:
  ~ITypeComp() = default;
};

struct ITypeInfo : public IUnknown {
  virtual HRESULT STDMETHODCALLTYPE GetTypeAttr(TYPEATTR** ppTypeAttr) = 0;
  virtual HRESULT STDMETHODCALLTYPE GetTypeComp(ITypeComp** ppTComp) = 0;
  virtual HRESULT STDMETHODCALLTYPE GetFuncDesc(UINT index, FUNCDESC** ppFuncDesc) = 0;
  virtual HRESULT STDMETHODCALLTYPE GetVarDesc(UINT index, VARDESC** ppVarDesc) = 0;
  virtual HRESULT STDMETHODCALLTYPE GetNames(MEMBERID memid, BSTR* rgBstrNames, UINT cMaxNames,
                                             UINT* pcNames) = 0;
  virtual HRESULT STDMETHODCALLTYPE GetRefTypeOfImplType(UINT index, HREFTYPE* pRefType) = 0;
  virtual HRESULT STDMETHODCALLTYPE GetImplTypeFlags(UINT index, INT* pImplTypeFlags) = 0;
  virtual HRESULT STDMETHODCALLTYPE GetIDsOfNames(LPOLESTR* rgszNames, UINT cNames,
                                                  MEMBERID* pMemId) = 0;
  virtual HRESULT STDMETHODCALLTYPE Invoke(PVOID pvInstance, MEMBERID memid, WORD wFlags,
                                           DISPPARAMS* pDispParams, VARIANT* pVarResult,
                                           EXCEPINFO* pExcepInfo, UINT* puArgErr) = 0;
  virtual HRESULT STDMETHODCALLTYPE GetDocumentation(MEMBERID memid, BSTR* pBstrName,
                                                     BSTR* pBstrDocString, DWORD* pdwHelpContext,
                                                     BSTR* pBstrHelpFile) = 0;
  virtual HRESULT STDMETHODCALLTYPE GetDllEntry(MEMBERID memid, INVOKEKIND invKind,
                                                BSTR* pBstrDllName, BSTR* pBstrName,
                                                WORD* pwOrdinal) = 0;
  virtual HRESULT STDMETHODCALLTYPE GetRefTypeInfo(HREFTYPE hRefType, ITypeInfo** ppTInfo) = 0;
  virtual HRESULT STDMETHODCALLTYPE AddressOfMember(MEMBERID memid, INVOKEKIND invKind,
                                                    PVOID* ppv) = 0;
  virtual HRESULT STDMETHODCALLTYPE CreateInstance(IUnknown* pUnkOuter, REFIID riid,
                                                   PVOID* ppvObj) = 0;
  virtual HRESULT STDMETHODCALLTYPE GetMops(MEMBERID memid, BSTR* pBstrMops) = 0;
  virtual HRESULT STDMETHODCALLTYPE GetContainingTypeLib(ITypeLib** ppTLib, UINT* pIndex) = 0;
  virtual void STDMETHODCALLTYPE ReleaseTypeAttr(TYPEATTR* pTypeAttr) = 0;
  virtual void STDMETHODCALLTYPE ReleaseFuncDesc(FUNCDESC* pFuncDesc) = 0;
  virtual void STDMETHODCALLTYPE ReleaseVarDesc(VARDESC* pVarDesc) = 0;

 protected:
  ~ITypeInfo() = default;
};

struct ITypeLib : public IUnknown {
  virtual UINT STDMETHODCALLTYPE GetTypeInfoCount() = 0;
  virtual HRESULT STDMETHODCALLTYPE GetTypeInfo(UINT index, ITypeInfo** ppTInfo) = 0;
  virtual HRESULT STDMETHODCALLTYPE GetTypeInfoType(UINT index, TYPEKIND* pTKind) = 0;
  virtual HRESULT STDMETHODCALLTYPE GetTypeInfoOfGuid(REFGUID guid, ITypeInfo** ppTinfo) = 0;
  virtual HRESULT STDMETHODCALLTYPE GetLibAttr(TLIBATTR** ppTLibAttr) = 0;
  virtual HRESULT STDMETHODCALLTYPE GetTypeComp(ITypeComp** ppTComp) = 0;
  virtual HRESULT STDMETHODCALLTYPE GetDocumentation(INT index, BSTR* pBstrName,
                                                     BSTR* pBstrDocString, DWORD* pdwHelpContext,
                                                     BSTR* pBstrHelpFile) = 0;
  virtual HRESULT STDMETHODCALLTYPE IsName(LPOLESTR szNameBuf, ULONG lHashVal, BOOL* pfName) = 0;
  virtual HRESULT STDMETHODCALLTYPE FindName(LPOLESTR szNameBuf, ULONG lHashVal,
                                             ITypeInfo** ppTInfo, MEMBERID* rgMemId,
                                             USHORT* pcFound) = 0;
  virtual void STDMETHODCALLTYPE ReleaseTLibAttr(TLIBATTR* pTLibAttr) = 0;

 protected:
  ~ITypeLib() = default;
};

struct IErrorInfo : public IUnknown {
  virtual HRESULT STDMETHODCALLTYPE GetGUID(GUID* pGUID) = 0;
  virtual HRESULT STDMETHODCALLTYPE GetSource(BSTR* pBstrSource) = 0;
  virtual HRESULT STDMETHODCALLTYPE GetDescription(BSTR* pBstrDescription) = 0;
  virtual HRESULT STDMETHODCALLTYPE GetHelpFile(BSTR* pBstrHelpFile) = 0;
  virtual HRESULT STDMETHODCALLTYPE GetHelpContext(DWORD* pdwHelpContext) = 0;

 protected:
  ~IErrorInfo() = default;
};

struct ICreateErrorInfo : public IUnknown {
  virtual HRESULT STDMETHODCALLTYPE SetGUID(REFGUID rguid) = 0;
  virtual HRESULT STDMETHODCALLTYPE SetSource(LPOLESTR szSource) = 0;
  virtual HRESULT STDMETHODCALLTYPE SetDescription(LPOLESTR szDescription) = 0;
  virtual HRESULT STDMETHODCALLTYPE SetHelpFile(LPOLESTR szHelpFile) = 0;
  virtual HRESULT STDMETHODCALLTYPE SetHelpContext(DWORD dwHelpContext) = 0;

 protected:
  ~ICreateErrorInfo() = default;
};

struct ISupportErrorInfo : public IUnknown {
  virtual HRESULT STDMETHODCALLTYPE InterfaceSupportsErrorInfo(REFIID riid) = 0;

 protected:
  ~ISupportErrorInfo() = default;
};

struct IEnumVARIANT : public IUnknown {
  virtual HRESULT STDMETHODCALLTYPE Next(ULONG celt, VARIANT* rgVar, ULONG* pCeltFetched) = 0;
  virtual HRESULT STDMETHODCALLTYPE Skip(ULONG celt) = 0;
  virtual HRESULT STDMETHODCALLTYPE Reset() = 0;
  virtual HRESULT STDMETHODCALLTYPE Clone(IEnumVARIANT** ppEnum) = 0;

 protected:
  ~IEnumVARIANT() = default;
};

typedef struct tagCONNECTDATA {
  IUnknown* pUnk;
  DWORD dwCookie;
} CONNECTDATA, *LPCONNECTDATA;

struct IEnumConnections : public IUnknown {
  virtual HRESULT STDMETHODCALLTYPE Next(ULONG cConnections, CONNECTDATA* rgcd,
                                         ULONG* pcFetched) = 0;
  virtual HRESULT STDMETHODCALLTYPE Skip(ULONG cConnections) = 0;
  virtual HRESULT STDMETHODCALLTYPE Reset() = 0;
  virtual HRESULT STDMETHODCALLTYPE Clone(IEnumConnections** ppEnum) = 0;

 protected:
  ~IEnumConnections() = default;
};

struct IConnectionPoint : public IUnknown {
  virtual HRESULT STDMETHODCALLTYPE GetConnectionInterface(IID* pIID) = 0;
  virtual HRESULT STDMETHODCALLTYPE
  GetConnectionPointContainer(IConnectionPointContainer** ppCPC) = 0;
  virtual HRESULT STDMETHODCALLTYPE Advise(IUnknown* pUnkSink, DWORD* pdwCookie) = 0;
  virtual HRESULT STDMETHODCALLTYPE Unadvise(DWORD dwCookie) = 0;
  virtual HRESULT STDMETHODCALLTYPE EnumConnections(IEnumConnections** ppEnum) = 0;

 protected:
  ~IConnectionPoint() = default;
};

struct IEnumConnectionPoints : public IUnknown {
  virtual HRESULT STDMETHODCALLTYPE Next(ULONG cConnections, IConnectionPoint** ppCP,
                                         ULONG* pcFetched) = 0;
  virtual HRESULT STDMETHODCALLTYPE Skip(ULONG cConnections) = 0;
  virtual HRESULT STDMETHODCALLTYPE Reset() = 0;
  virtual HRESULT STDMETHODCALLTYPE Clone(IEnumConnectionPoints** ppEnum) = 0;

 protected:
  ~IEnumConnectionPoints() = default;
};

struct IConnectionPointContainer : public IUnknown {
  virtual HRESULT STDMETHODCALLTYPE EnumConnectionPoints(IEnumConnectionPoints** ppEnum) = 0;
  virtual HRESULT STDMETHODCALLTYPE FindConnectionPoint(REFIID riid, IConnectionPoint** ppCP) = 0;

 protected:
  ~IConnectionPointContainer() = default;
};

struct IProvideClassInfo : public IUnknown {
  virtual HRESULT STDMETHODCALLTYPE GetClassInfo(ITypeInfo** ppTI) = 0;

 protected:
  ~IProvideClassInfo() = default;
};

#if defined(__GNUC__)
#pragma GCC diagnostic pop
#endif

typedef IUnknown* LPUNKNOWN;
typedef IClassFactory* LPCLASSFACTORY;
typedef IDispatch* LPDISPATCH;
typedef ITypeInfo* LPTYPEINFO;
typedef ITypeLib* LPTYPELIB;
typedef ITypeComp* LPTYPECOMP;
typedef IErrorInfo* LPERRORINFO;
typedef ICreateErrorInfo* LPCREATEERRORINFO;
typedef ISupportErrorInfo* LPSUPPORTERRORINFO;
typedef IEnumVARIANT* LPENUMVARIANT;
typedef IConnectionPoint* LPCONNECTIONPOINT;
typedef IConnectionPointContainer* LPCONNECTIONPOINTCONTAINER;
typedef IEnumConnectionPoints* LPENUMCONNECTIONPOINTS;
typedef IEnumConnections* LPENUMCONNECTIONS;
typedef IProvideClassInfo* LPPROVIDECLASSINFO;
