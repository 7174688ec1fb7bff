// The type library embedded as resource TYPELIB 1 in the binary that holds the
// library (Vantrel.dll, or a program linking the library statically).
#include "frame/type_library.h"

#include <mutex>

#include "frame/registration.h"
#include "platform/library_folder.h"
#include "platform/unicode.h"
#include "vantrel.h"

namespace vantrel::frame {
namespace {

std::wstring WidePath(const std::string& path) {
  const std::u16string wide = platform::Utf8ToUtf16(path);
  return std::wstring(wide.begin(), wide.end());
}

// Loaded once and kept for the life of the process.
HRESULT LoadOwnTypeLibrary(ITypeLib** out) {
  static std::mutex mutex;
  static ITypeLib* library = nullptr;  // guarded by mutex
  std::lock_guard<std::mutex> hold(mutex);
  if (library == nullptr) {
    const HRESULT hr =
        LoadTypeLibEx(WidePath(platform::LibraryPath()).c_str(), REGKIND_NONE, &library);
    if (FAILED(hr)) return hr;
  }
  library->AddRef();
  *out = library;
  return S_OK;
}

}  // namespace

HRESULT LoadInterfaceTypeInfo(REFIID iid, ITypeInfo** out) {
  if (out == nullptr) return E_POINTER;
  *out = nullptr;
  ITypeLib* library = nullptr;
  HRESULT hr = LoadOwnTypeLibrary(&library);
  if (FAILED(hr)) return hr;
  hr = library->GetTypeInfoOfGuid(iid, out);
  library->Release();
  return hr;
}

HRESULT RegisterTypeLibrary(const std::string& module_path) {
  ITypeLib* library = nullptr;
  const HRESULT hr = LoadTypeLibEx(WidePath(module_path).c_str(), REGKIND_REGISTER, &library);
  if (SUCCEEDED(hr)) library->Release();
  return hr;
}

HRESULT UnregisterTypeLibrary() {
  const HRESULT hr = UnRegisterTypeLib(LIBID_Vantrel, 1, 0, LOCALE_NEUTRAL, SYS_WIN64);
  // Nothing registered is the state unregistration wants.
  if (hr == TYPE_E_REGISTRYACCESS || hr == TYPE_E_LIBNOTREGISTERED) return S_OK;
  return hr;
}

}  // namespace vantrel::frame
