// Task memory and apartment initialisation. Without apartments there is
// nothing to initialise: objects are free-threaded and calls are direct.
#include <cstdlib>

#include "automation_runtime.h"

extern "C" {

LPVOID CoTaskMemAlloc(size_t cb) { return std::malloc(cb == 0 ? 1 : cb); }

LPVOID CoTaskMemRealloc(LPVOID pv, size_t cb) {
  if (cb == 0) {
    std::free(pv);
    return nullptr;
  }
  return std::realloc(pv, cb);
}

void CoTaskMemFree(LPVOID pv) { std::free(pv); }

HRESULT CoInitialize(LPVOID) { return S_OK; }

HRESULT CoInitializeEx(LPVOID, DWORD) { return S_OK; }

void CoUninitialize(void) {}

}  // extern "C"
