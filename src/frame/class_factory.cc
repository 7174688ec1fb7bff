#include "frame/class_factory.h"

#include <array>
#include <optional>

#include "frame/class_table.h"
#include "frame/module.h"

namespace vantrel::frame {
namespace {

// Lives as long as the process: its reference count does not keep the
// module loaded (DllCanUnloadNow counts objects and server locks only).
class ClassFactory final : public IClassFactory {
 public:
  explicit ClassFactory(const ClassEntry& entry) : entry_(entry) {}

  STDMETHODIMP QueryInterface(REFIID iid, void** out) override {
    if (out == nullptr) return E_POINTER;
    if (IsEqualIID(iid, IID_IUnknown) || IsEqualIID(iid, IID_IClassFactory)) {
      *out = static_cast<IClassFactory*>(this);
      return S_OK;
    }
    *out = nullptr;
    return E_NOINTERFACE;
  }
  STDMETHODIMP_(ULONG) AddRef() override { return 2; }
  STDMETHODIMP_(ULONG) Release() override { return 1; }

  STDMETHODIMP CreateInstance(IUnknown* outer, REFIID iid, void** out) override {
    return entry_.create(outer, iid, out);
  }
  STDMETHODIMP LockServer(BOOL lock) override {
    if (lock)
      Module().Lock();
    else
      Module().Unlock();
    return S_OK;
  }

 private:
  const ClassEntry& entry_;
};

}  // namespace

HRESULT GetClassObject(REFCLSID clsid, REFIID iid, void** out) {
  if (out == nullptr) return E_POINTER;
  *out = nullptr;
  const ClassEntry* entry = FindClass(clsid);
  if (entry == nullptr) return CLASS_E_CLASSNOTAVAILABLE;
  // Static storage, not the heap: a client may unload the library, and the
  // class objects go with it.
  static std::array<std::optional<ClassFactory>, 32> factories;  // guarded by the module's section
  const size_t row = static_cast<size_t>(entry - ClassTable().data());
  ClassFactory* factory;
  {
    MutexLock hold(Module().critical_section());
    if (!factories[row]) factories[row].emplace(*entry);
    factory = &*factories[row];
  }
  return factory->QueryInterface(iid, out);
}

}  // namespace vantrel::frame
