// The class template of every automation object: IUnknown over ObjectRoot
// (also inside an aggregate), IDispatch served from the type information of
// the default interface, ISupportErrorInfo, and the member frame.
//
// A class derives from AutomationObject<IXStubs, IID_IX, CLSID_X>, where IXStubs
// is the generated base that answers every member of IX with "Not implemented";
// it overrides the members it implements and runs each body through Member():
//
//   STDMETHODIMP Kesto::get_Version(BSTR* retVersion) {
//     return Member("Kesto::get_Version", [&] { ... });
//   }
#pragma once

#include <functional>
#include <new>
#include <utility>

#include "automation_runtime.h"
#include "frame/error_frame.h"
#include "frame/error_texts.h"
#include "frame/object_root.h"
#include "frame/type_library.h"

namespace vantrel::frame {

// Serves IDispatch for `iid` from its type information. `instance` is the
// interface pointer the type information calls into.
HRESULT InvokeThroughTypeInfo(REFIID iid, void* instance, DISPID member, REFIID riid, WORD flags,
                              DISPPARAMS* params, VARIANT* result, EXCEPINFO* exception,
                              UINT* argument_error);
HRESULT NamesThroughTypeInfo(REFIID iid, LPOLESTR* names, UINT count, DISPID* ids);
HRESULT TypeInfoAt(REFIID iid, UINT index, ITypeInfo** out);

// True for "Class::Initialize".
bool IsInitializeMember(const char* member);

// Throws the failure of creating one of the library's own objects.
[[noreturn]] void ThrowCreationFailure(HRESULT hr);

template <class Stubs, const IID& kIid, const CLSID& kClsid>
class AutomationObject : public Stubs, public ISupportErrorInfo, public ObjectRoot {
 public:
  using DefaultInterface = Stubs;
  static const IID& InterfaceId() { return kIid; }
  static const CLSID& ClassId() { return kClsid; }

  // IUnknown: through the aggregate's outer object when there is one.
  STDMETHODIMP QueryInterface(REFIID iid, void** out) override {
    return ControllingUnknown()->QueryInterface(iid, out);
  }
  STDMETHODIMP_(ULONG) AddRef() override { return ControllingUnknown()->AddRef(); }
  STDMETHODIMP_(ULONG) Release() override { return ControllingUnknown()->Release(); }

  // IDispatch
  STDMETHODIMP GetTypeInfoCount(UINT* count) override {
    if (count == nullptr) return E_POINTER;
    *count = 1;
    return S_OK;
  }
  STDMETHODIMP GetTypeInfo(UINT index, LCID, ITypeInfo** out) override {
    return TypeInfoAt(kIid, index, out);
  }
  STDMETHODIMP GetIDsOfNames(REFIID, LPOLESTR* names, UINT count, LCID, DISPID* ids) override {
    return NamesThroughTypeInfo(kIid, names, count, ids);
  }
  STDMETHODIMP Invoke(DISPID member, REFIID riid, LCID, WORD flags, DISPPARAMS* params,
                      VARIANT* result, EXCEPINFO* exception, UINT* argument_error) override {
    return InvokeThroughTypeInfo(kIid, static_cast<Stubs*>(this), member, riid, flags, params,
                                 result, exception, argument_error);
  }

  // ISupportErrorInfo
  STDMETHODIMP InterfaceSupportsErrorInfo(REFIID iid) override {
    return IsEqualIID(iid, kIid) ? S_OK : S_FALSE;
  }

 protected:
  // Runs `body` in the error frame named `source` ("Class::member").
  template <class Body>
  HRESULT Member(const char* source, Body&& body) {
    KestoExceptionHandler frame(source, kClsid);
    return frame.Run(std::function<void()>(std::forward<Body>(body)));
  }

  // A property kept in one field of the object (guarded by its lock), read
  // and written under that lock in the frame named `source`; a null
  // out-pointer is "Invalid argument". The field goes by address: the
  // analysis would take a reference as a use without the lock.
  template <class T>
  HRESULT GetField(const char* source, const T* field, T* out) {
    return Member(source, [&] {
      if (out == nullptr) Throw(kInvalidArgument);
      OLock hold(critical_section());
      *out = *field;
    });
  }
  template <class T>
  HRESULT PutField(const char* source, T* field, T value) {
    return Member(source, [&] {
      OLock hold(critical_section());
      *field = value;
    });
  }

  // Objects bound to one printer or job throw their not-initialized error
  // here until they are bound; the others accept every call.
  virtual void CheckInitialized() {}

  // Every member that a class does not implement yet. Initialize is what
  // binds an object, so it is the one member that does not ask for a binding.
  HRESULT Unimplemented(const char* member) override {
    return Member(member, [this, member] {
      if (!IsInitializeMember(member)) CheckInitialized();
      Throw(kNotImplemented);
    });
  }

  void* FindInterface(REFIID iid) override {
    if (IsEqualIID(iid, kIid) || IsEqualIID(iid, IID_IDispatch)) return static_cast<Stubs*>(this);
    if (IsEqualIID(iid, IID_ISupportErrorInfo)) return static_cast<ISupportErrorInfo*>(this);
    return nullptr;
  }
};

// Creates an object of class T, inside the aggregate of `outer` when it is not
// null (then only IUnknown may be asked for), and answers `iid` from it.
template <class T>
HRESULT CreateInstance(IUnknown* outer, REFIID iid, void** out) {
  if (out == nullptr) return E_POINTER;
  *out = nullptr;
  if (outer != nullptr && !IsEqualIID(iid, IID_IUnknown)) return CLASS_E_NOAGGREGATION;
  T* object = nullptr;
  try {
    object = new T();
  } catch (const std::bad_alloc&) {
    return E_OUTOFMEMORY;
  }
  object->SetOuter(outer);
  // The temporary reference keeps a failing FinalConstruct from destroying
  // the half-made object; dropping it destroys the object on failure.
  object->InternalAddRef();
  HRESULT hr = object->FinalConstruct();
  if (SUCCEEDED(hr)) hr = object->InternalQueryInterface(iid, out);
  object->InternalRelease();
  return hr;
}

// Creates a T for the library's own use, with one reference owned by the
// caller. Throws std::bad_alloc or OStdException when creation fails.
template <class T>
T* CreateObject() {
  IUnknown* unknown = nullptr;
  const HRESULT hr = CreateInstance<T>(nullptr, IID_IUnknown, reinterpret_cast<void**>(&unknown));
  if (hr == E_OUTOFMEMORY) throw std::bad_alloc();
  if (FAILED(hr)) ThrowCreationFailure(hr);
  return static_cast<T*>(static_cast<typename T::DefaultInterface*>(unknown));
}

}  // namespace vantrel::frame
