#include "frame/object_root.h"

#include "frame/module.h"

namespace vantrel::frame {

ObjectRoot::ObjectRoot() { Module().Lock(); }

ObjectRoot::~ObjectRoot() { Module().Unlock(); }

ULONG ObjectRoot::InternalAddRef() {
  return references_.fetch_add(1, std::memory_order_relaxed) + 1;
}

bool ObjectRoot::TryInternalAddRef() {
  ULONG count = references_.load();
  do {
    if (count == 0) return false;
  } while (!references_.compare_exchange_weak(count, count + 1));
  // The count FinalRelease keeps is no reference to hand out: the count may
  // have gone to zero and back to that one since it was read.
  if (dying_.load()) {
    references_.fetch_sub(1);
    return false;
  }
  return true;
}

ULONG ObjectRoot::InternalRelease() {
  const ULONG left = references_.fetch_sub(1, std::memory_order_acq_rel) - 1;
  if (left == 0) {
    dying_.store(true);
    // Keeps a reference while FinalRelease runs, so that a clean-up that
    // hands out and drops a reference to this object cannot delete it twice.
    references_.store(1, std::memory_order_relaxed);
    FinalRelease();
    delete this;
  }
  return left;
}

HRESULT ObjectRoot::InternalQueryInterface(REFIID iid, void** out) {
  if (out == nullptr) return E_POINTER;
  *out = nullptr;
  if (IsEqualIID(iid, IID_IUnknown)) {
    *out = outer_ != nullptr ? static_cast<IUnknown*>(&inner_) : FindInterface(IID_IDispatch);
    InternalAddRef();
    return S_OK;
  }
  void* found = FindInterface(iid);
  if (found == nullptr) return E_NOINTERFACE;
  // Any other interface counts on the controlling unknown: inside an
  // aggregate, its references are the outer object's.
  ControllingUnknown()->AddRef();
  *out = found;
  return S_OK;
}

IUnknown* ObjectRoot::ControllingUnknown() {
  // Not aggregated: the inner unknown, whose methods are the object's own.
  return outer_ != nullptr ? outer_ : static_cast<IUnknown*>(&inner_);
}

HRESULT ObjectRoot::InnerUnknown::QueryInterface(REFIID iid, void** out) {
  return owner_.InternalQueryInterface(iid, out);
}

}  // namespace vantrel::frame
