#include "unit/dispatch_calls.h"

#include <gtest/gtest.h>

#include "frame/class_factory.h"
#include "frame/ole_string.h"

namespace vantrel::testing {
namespace {

HRESULT Call(IDispatch& object, const char* name, WORD flags, DISPPARAMS* params, VARIANT* result) {
  frame::Bstr wide_name(name);
  LPOLESTR names[] = {wide_name.get()};
  DISPID member = 0;
  const HRESULT hr = object.GetIDsOfNames(IID_NULL, names, 1, 0, &member);
  if (FAILED(hr)) return hr;
  return object.Invoke(member, IID_NULL, 0, flags, params, result, nullptr, nullptr);
}

}  // namespace

IUnknown* CreateUnknown(REFCLSID clsid, REFIID iid) {
  frame::ComPtr<IClassFactory> factory;
  if (FAILED(frame::GetClassObject(clsid, IID_IClassFactory,
                                   reinterpret_cast<void**>(factory.Receive())))) {
    return nullptr;
  }
  void* object = nullptr;
  factory->CreateInstance(nullptr, iid, &object);
  return static_cast<IUnknown*>(object);
}

HRESULT GetByName(IDispatch& object, const char* name, VARIANT* value) {
  DISPPARAMS none{};
  return Call(object, name, DISPATCH_PROPERTYGET, &none, value);
}

HRESULT PutByName(IDispatch& object, const char* name, VARIANT value) {
  DISPID named = DISPID_PROPERTYPUT;
  DISPPARAMS params{&value, &named, 1, 1};
  return Call(object, name, DISPATCH_PROPERTYPUT, &params, nullptr);
}

VARIANT BoolValue(bool on) {
  VARIANT value;
  VariantInit(&value);
  V_VT(&value) = VT_BOOL;
  V_BOOL(&value) = on ? VARIANT_TRUE : VARIANT_FALSE;
  return value;
}

VARIANT I4Value(int32_t number) {
  VARIANT value;
  VariantInit(&value);
  V_VT(&value) = VT_I4;
  V_I4(&value) = number;
  return value;
}

std::string TextOf(const VARIANT& value) {
  EXPECT_EQ(V_VT(&value), VT_BSTR);
  return V_VT(&value) == VT_BSTR ? frame::BstrToUtf8(V_BSTR(&value)) : std::string();
}

}  // namespace vantrel::testing
