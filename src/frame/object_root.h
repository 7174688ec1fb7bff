// The common state of every automation object: its reference count, its
// critical section, the controlling unknown of an aggregate, and its share of
// the module's lock count. Class templates in object.h build on it.
#pragma once

#include <atomic>

#include "automation_runtime.h"
#include "support/synchronizer.h"

namespace vantrel::frame {

class ObjectRoot {
 public:
  ObjectRoot();
  ObjectRoot(const ObjectRoot&) = delete;
  ObjectRoot& operator=(const ObjectRoot&) = delete;
  virtual ~ObjectRoot();

  // The object's own reference count. Release deletes the object at zero,
  // after FinalRelease. Any thread.
  ULONG InternalAddRef();
  ULONG InternalRelease();
  // One more reference unless the last one is gone: false from the moment the
  // count reaches zero, also while FinalRelease runs. For lists that name the
  // object without holding a reference. Never blocks; any thread.
  bool TryInternalAddRef();
  // Answers IUnknown with the object's identity (the inner unknown when
  // aggregated) and everything else from FindInterface.
  HRESULT InternalQueryInterface(REFIID iid, void** out);

  // Makes the object part of an aggregate; called once, before FinalConstruct.
  void SetOuter(IUnknown* outer) { outer_ = outer; }
  // Where the IUnknown methods of the object's interfaces go: the aggregate's
  // outer object, or the object's own counting (the inner unknown).
  IUnknown* ControllingUnknown();

  // Runs after construction, under a temporary reference; a failure destroys
  // the object and is returned by creation.
  virtual HRESULT FinalConstruct() { return S_OK; }
  // Runs before destruction, when the last reference goes.
  virtual void FinalRelease() {}

 protected:
  // The interface table: the pointer for `iid`, without an added reference, or
  // null. IUnknown is answered before this is asked.
  virtual void* FindInterface(REFIID iid) = 0;

  // Guards the object's own mutable state.
  OCriticalSection& critical_section() RETURN_CAPABILITY(critical_section_) {
    return critical_section_;
  }

 private:
  // The inner unknown of an aggregate: answers IUnknown itself and every
  // other interface from the object's table; counts the object's references.
  class InnerUnknown final : public IUnknown {
   public:
    explicit InnerUnknown(ObjectRoot& owner) : owner_(owner) {}
    STDMETHODIMP QueryInterface(REFIID iid, void** out) override;
    STDMETHODIMP_(ULONG) AddRef() override { return owner_.InternalAddRef(); }
    STDMETHODIMP_(ULONG) Release() override { return owner_.InternalRelease(); }

   private:
    ObjectRoot& owner_;
  };

  std::atomic<ULONG> references_{0};
  std::atomic<bool> dying_{false};  // set once the count reached zero
  IUnknown* outer_ = nullptr;       // not counted: the outer object owns us
  InnerUnknown inner_{*this};
  OCriticalSection critical_section_;
};

}  // namespace vantrel::frame
