// Test helpers that call objects the way clients do: created through the
// class object, members reached through IDispatch by name.
#pragma once

#include <cstdint>
#include <string>

#include "frame/automation.h"
#include "frame/com_ptr.h"

namespace vantrel::testing {

// A VARIANT cleared when it goes.
class ScopedVariant {
 public:
  ScopedVariant() { VariantInit(&value_); }
  ScopedVariant(const ScopedVariant&) = delete;
  ScopedVariant& operator=(const ScopedVariant&) = delete;
  ~ScopedVariant() { VariantClear(&value_); }
  VARIANT* get() { return &value_; }
  const VARIANT& operator*() const { return value_; }
  VARTYPE type() const { return V_VT(&value_); }

 private:
  VARIANT value_;
};

// Creates `clsid` through its class object and asks for `iid`; null on failure.
IUnknown* CreateUnknown(REFCLSID clsid, REFIID iid);
template <class Interface>
frame::ComPtr<Interface> CreateThroughClassObject(REFCLSID clsid, REFIID iid) {
  return frame::ComPtr<Interface>::Adopt(static_cast<Interface*>(CreateUnknown(clsid, iid)));
}

// Property get and put by name, as a scripting client calls them; the
// result of GetIDsOfNames or Invoke.
HRESULT GetByName(IDispatch& object, const char* name, VARIANT* value);
HRESULT PutByName(IDispatch& object, const char* name, VARIANT value);

// Small values for the calls above.
VARIANT BoolValue(bool on);
VARIANT I4Value(int32_t value);
// The UTF-8 text of a VT_BSTR variant; fails the test for other types.
std::string TextOf(const VARIANT& value);

}  // namespace vantrel::testing
