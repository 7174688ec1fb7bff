#include "com_activation.h"

#include <cstring>
#include <memory>
#include <string>

#include "frame/class_factory.h"
#include "frame/ole_string.h"
#include "frame/registration.h"
#include "platform/registry_value.h"
#include "platform/settings_store.h"
#include "platform/unicode.h"
#include "platform/win32_errors.h"

namespace {

using vantrel::platform::RegistryRoot;

// The default value of a key under HKEY_CLASSES_ROOT, when it is a string.
bool ReadClassesRootText(const std::string& key, std::string* text) {
  std::unique_ptr<vantrel::platform::SettingsKey> handle;
  if (vantrel::platform::DefaultSettingsStore().OpenKey(RegistryRoot::kClassesRoot, key,
                                                        vantrel::platform::kKeyRead, &handle) !=
      vantrel::platform::kErrorSuccess)
    return false;
  vantrel::platform::RegistryValue value;
  if (handle->QueryValue("", &value) != vantrel::platform::kErrorSuccess) return false;
  const auto read = vantrel::platform::ReadString(value);
  if (!read) return false;
  *text = *read;
  return true;
}

bool KeyExists(const std::string& key) {
  std::unique_ptr<vantrel::platform::SettingsKey> handle;
  return vantrel::platform::DefaultSettingsStore().OpenKey(RegistryRoot::kClassesRoot, key,
                                                           vantrel::platform::kKeyRead, &handle) ==
         vantrel::platform::kErrorSuccess;
}

}  // namespace

extern "C" {

HRESULT CoGetClassObject(REFCLSID clsid, DWORD, void*, REFIID iid, void** out) {
  const HRESULT hr = vantrel::frame::GetClassObject(clsid, iid, out);
  if (hr != CLASS_E_CLASSNOTAVAILABLE) return hr;
  const std::string key = "CLSID\\" + vantrel::frame::GuidText(clsid) + "\\InprocServer32";
  return KeyExists(key) ? CLASS_E_CLASSNOTAVAILABLE : REGDB_E_CLASSNOTREG;
}

HRESULT CoCreateInstance(REFCLSID clsid, IUnknown* outer, DWORD context, REFIID iid, void** out) {
  if (out == nullptr) return E_POINTER;
  *out = nullptr;
  IClassFactory* factory = nullptr;
  HRESULT hr = CoGetClassObject(clsid, context, nullptr, IID_IClassFactory,
                                reinterpret_cast<void**>(&factory));
  if (FAILED(hr)) return hr;
  hr = factory->CreateInstance(outer, iid, out);
  factory->Release();
  return hr;
}

HRESULT CLSIDFromProgID(LPCOLESTR progid, CLSID* clsid) {
  if (progid == nullptr || clsid == nullptr) return E_INVALIDARG;
  std::string text;
  if (!ReadClassesRootText(vantrel::frame::OleToUtf8(progid) + "\\CLSID", &text))
    return CO_E_CLASSSTRING;
  const std::u16string wide = vantrel::platform::Utf8ToUtf16(text);
  return CLSIDFromString(reinterpret_cast<LPCOLESTR>(wide.c_str()), clsid) == S_OK
             ? S_OK
             : CO_E_CLASSSTRING;
}

HRESULT ProgIDFromCLSID(REFCLSID clsid, LPOLESTR* progid) {
  if (progid == nullptr) return E_INVALIDARG;
  *progid = nullptr;
  std::string text;
  if (!ReadClassesRootText("CLSID\\" + vantrel::frame::GuidText(clsid) + "\\ProgID", &text))
    return REGDB_E_CLASSNOTREG;
  const std::u16string wide = vantrel::platform::Utf8ToUtf16(text);
  const size_t bytes = (wide.size() + 1) * sizeof(OLECHAR);
  auto* copy = static_cast<OLECHAR*>(CoTaskMemAlloc(bytes));
  if (copy == nullptr) return E_OUTOFMEMORY;
  std::memcpy(copy, wide.c_str(), bytes);
  *progid = copy;
  return S_OK;
}

}  // extern "C"
