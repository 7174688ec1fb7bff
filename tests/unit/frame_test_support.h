// Helpers for tests of the automation frame: a registered library in a fake
// settings store, the thread's error information, and a counting event sink.
#pragma once

#include <atomic>
#include <functional>
#include <string>
#include <vector>

#include "fakes/fake_settings_store.h"
#include "frame/automation.h"

namespace vantrel::testing {

// The library registered for the life of the object: on Linux into a fresh
// fake store installed as the process's store; on Windows into the registry
// of the test's prefix, where the system's ProgID lookups read it.
class RegisteredLibrary {
 public:
  RegisteredLibrary();
  ~RegisteredLibrary();
  FakeSettingsStore& store() { return store_; }

 private:
  FakeSettingsStore store_;
};

// The calling thread's error information, taken (and so cleared).
struct ClientError {
  bool present = false;
  std::string description;
  std::string source;
};
ClientError TakeClientError();

// A sink for any event interface: records each Invoke's DISPID, call kind
// and arguments, and runs an optional action inside the call; answers the
// IID it is made for.
class RecordingSink final : public IDispatch {
 public:
  explicit RecordingSink(const IID& events) : events_(events) {}

  STDMETHODIMP QueryInterface(REFIID iid, void** out) override;
  STDMETHODIMP_(ULONG) AddRef() override { return ++references_; }
  STDMETHODIMP_(ULONG) Release() override { return --references_; }  // lives on the stack
  STDMETHODIMP GetTypeInfoCount(UINT* count) override { return E_NOTIMPL; }
  STDMETHODIMP GetTypeInfo(UINT, LCID, ITypeInfo**) override { return E_NOTIMPL; }
  STDMETHODIMP GetIDsOfNames(REFIID, LPOLESTR*, UINT, LCID, DISPID*) override { return E_NOTIMPL; }
  STDMETHODIMP Invoke(DISPID id, REFIID, LCID, WORD, DISPPARAMS* params, VARIANT*, EXCEPINFO*,
                      UINT*) override;

  std::function<HRESULT()> on_event;  // run inside Invoke; its result is returned
  std::vector<DISPID> calls;
  std::vector<WORD> kinds;  // DISPATCH_METHOD, ...
  // Per call, the arguments in the order the event declares them, as
  // "dispatch:null", "dispatch:object", "string:TEXT", "long:N" or "type:VT".
  std::vector<std::vector<std::string>> arguments;
  ULONG references() const { return references_; }

 private:
  const IID& events_;
  std::atomic<ULONG> references_{0};
};

}  // namespace vantrel::testing
