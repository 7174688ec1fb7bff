// The class template of the four event sources: an automation object that is
// also a connection-point container with exactly one point, for its event
// interface.
#pragma once

#include "frame/connection_point.h"
#include "frame/enumerator.h"
#include "frame/object.h"

namespace vantrel::frame {

template <class Stubs, const IID& kIid, const CLSID& kClsid, const IID& kEventsIid>
class EventSourceObject : public AutomationObject<Stubs, kIid, kClsid>,
                          public IConnectionPointContainer,
                          protected ConnectionHooks {
  using Base = AutomationObject<Stubs, kIid, kClsid>;

 public:
  static const IID& EventsId() { return kEventsIid; }

  STDMETHODIMP QueryInterface(REFIID iid, void** out) override {
    return Base::QueryInterface(iid, out);
  }
  STDMETHODIMP_(ULONG) AddRef() override { return Base::AddRef(); }
  STDMETHODIMP_(ULONG) Release() override { return Base::Release(); }

  // The one point for kEventsIid; any other interface: CONNECT_E_NOCONNECTION.
  STDMETHODIMP FindConnectionPoint(REFIID iid, IConnectionPoint** out) override {
    if (out == nullptr) return E_POINTER;
    *out = nullptr;
    if (!IsEqualIID(iid, kEventsIid)) return CONNECT_E_NOCONNECTION;
    point_.AddRef();
    *out = &point_;
    return S_OK;
  }
  STDMETHODIMP EnumConnectionPoints(IEnumConnectionPoints** out) override {
    return CreateConnectionPointEnumerator({&point_}, out);
  }

 protected:
  ConnectionPoint& events() { return point_; }

  void* FindInterface(REFIID iid) override {
    if (IsEqualIID(iid, IID_IConnectionPointContainer))
      return static_cast<IConnectionPointContainer*>(this);
    return Base::FindInterface(iid);
  }

 private:
  ConnectionPoint point_{*this, kEventsIid, this->critical_section(), *this};
};

}  // namespace vantrel::frame
