// The one connection point of an event source: the sinks connected for its
// event interface, and firing a dispatch call to each of them.
#pragma once

#include <cstddef>
#include <string_view>
#include <vector>

#include "automation_runtime.h"
#include "support/synchronizer.h"

namespace vantrel::frame {

// What an event source is told when its sinks change. Called without any lock
// of the connection point held.
class ConnectionHooks {
 public:
  virtual ~ConnectionHooks() = default;
  // A sink was added; `count` sinks are connected now. A failure removes the
  // sink again and is returned to the client by Advise.
  virtual HRESULT OnAdvised(size_t count) { return S_OK; }
  // A sink was removed; `count` are left.
  virtual void OnUnadvised(size_t count) {}
};

// The arguments of one event, in the order the event declares them; kept
// reversed, as dispatch calls expect. Strings are made for the call and freed
// with this object.
class EventArguments {
 public:
  EventArguments() = default;
  EventArguments(const EventArguments&) = delete;
  EventArguments& operator=(const EventArguments&) = delete;
  ~EventArguments();

  EventArguments& Object(IDispatch* value);  // adds a reference for the call
  EventArguments& String(std::string_view utf8);
  EventArguments& Long(LONG value);

  DISPPARAMS Parameters();

 private:
  std::vector<VARIANT> reversed_;
};

class ConnectionPoint final : public IConnectionPoint {
 public:
  // `container` owns this point and counts its references; `lock` is the
  // container's critical section, which guards the sink list.
  ConnectionPoint(IConnectionPointContainer& container, REFIID events, OCriticalSection& lock,
                  ConnectionHooks& hooks)
      : container_(container), events_(events), lock_(lock), hooks_(hooks) {}
  ~ConnectionPoint();

  STDMETHODIMP QueryInterface(REFIID iid, void** out) override;
  STDMETHODIMP_(ULONG) AddRef() override { return container_.AddRef(); }
  STDMETHODIMP_(ULONG) Release() override { return container_.Release(); }

  STDMETHODIMP GetConnectionInterface(IID* out) override;
  STDMETHODIMP GetConnectionPointContainer(IConnectionPointContainer** out) override;
  // The sink must answer the event interface (else CONNECT_E_CANNOTCONNECT).
  // The cookie is the slot number plus one; free slots are reused.
  STDMETHODIMP Advise(IUnknown* sink, DWORD* cookie) override;
  // An unknown cookie gives CONNECT_E_NOCONNECTION.
  STDMETHODIMP Unadvise(DWORD cookie) override;
  STDMETHODIMP EnumConnections(IEnumConnections** out) override;

  // Calls Invoke(dispid) on every connected sink in slot order, on the calling
  // thread. Each sink is copied out under the lock and called without it, so a
  // sink may unadvise (itself or others) from inside the call. Sink results
  // and failures are ignored. Never throws.
  void Fire(DISPID dispid, EventArguments& arguments);

  // Connected sinks now. Any thread.
  size_t SinkCount();

 private:
  IDispatch* SinkAt(size_t slot);  // with an added reference, or null

  IConnectionPointContainer& container_;
  const IID& events_;
  OCriticalSection& lock_;
  ConnectionHooks& hooks_;
  std::vector<IDispatch*> sinks_ GUARDED_BY(lock_);  // null marks a free slot
};

}  // namespace vantrel::frame
