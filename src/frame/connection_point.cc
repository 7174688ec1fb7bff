#include "frame/connection_point.h"

#include <new>

#include "frame/enumerator.h"
#include "frame/ole_string.h"

namespace vantrel::frame {

EventArguments::~EventArguments() {
  for (VARIANT& value : reversed_) VariantClear(&value);
}

EventArguments& EventArguments::Object(IDispatch* value) {
  VARIANT v;
  VariantInit(&v);
  V_VT(&v) = VT_DISPATCH;
  V_DISPATCH(&v) = value;
  if (value) value->AddRef();
  reversed_.insert(reversed_.begin(), v);
  return *this;
}

EventArguments& EventArguments::String(std::string_view utf8) {
  VARIANT v;
  VariantInit(&v);
  V_VT(&v) = VT_BSTR;
  V_BSTR(&v) = AllocBstr(utf8);
  reversed_.insert(reversed_.begin(), v);
  return *this;
}

EventArguments& EventArguments::Long(LONG value) {
  VARIANT v;
  VariantInit(&v);
  V_VT(&v) = VT_I4;
  V_I4(&v) = value;
  reversed_.insert(reversed_.begin(), v);
  return *this;
}

DISPPARAMS EventArguments::Parameters() {
  DISPPARAMS params{};
  params.rgvarg = reversed_.empty() ? nullptr : reversed_.data();
  params.cArgs = static_cast<UINT>(reversed_.size());
  return params;
}

ConnectionPoint::~ConnectionPoint() {
  for (IDispatch* sink : sinks_) {
    if (sink) sink->Release();
  }
}

HRESULT ConnectionPoint::QueryInterface(REFIID iid, void** out) {
  if (out == nullptr) return E_POINTER;
  if (IsEqualIID(iid, IID_IUnknown) || IsEqualIID(iid, IID_IConnectionPoint)) {
    *out = static_cast<IConnectionPoint*>(this);
    AddRef();
    return S_OK;
  }
  *out = nullptr;
  return E_NOINTERFACE;
}

HRESULT ConnectionPoint::GetConnectionInterface(IID* out) {
  if (out == nullptr) return E_POINTER;
  *out = events_;
  return S_OK;
}

HRESULT ConnectionPoint::GetConnectionPointContainer(IConnectionPointContainer** out) {
  if (out == nullptr) return E_POINTER;
  container_.AddRef();
  *out = &container_;
  return S_OK;
}

HRESULT ConnectionPoint::Advise(IUnknown* sink, DWORD* cookie) {
  if (cookie == nullptr) return E_POINTER;
  *cookie = 0;
  if (sink == nullptr) return E_POINTER;
  IDispatch* events = nullptr;
  if (FAILED(sink->QueryInterface(events_, reinterpret_cast<void**>(&events))) || !events)
    return CONNECT_E_CANNOTCONNECT;
  size_t count = 0;
  size_t slot = 0;
  try {
    OLock hold(lock_);
    while (slot < sinks_.size() && sinks_[slot] != nullptr) ++slot;
    if (slot == sinks_.size()) sinks_.push_back(nullptr);
    sinks_[slot] = events;
    count = SinkCount();
  } catch (const std::bad_alloc&) {
    events->Release();
    return E_OUTOFMEMORY;
  }
  const DWORD given = static_cast<DWORD>(slot + 1);
  const HRESULT hr = hooks_.OnAdvised(count);
  if (FAILED(hr)) {
    Unadvise(given);
    return hr;
  }
  *cookie = given;
  return S_OK;
}

HRESULT ConnectionPoint::Unadvise(DWORD cookie) {
  IDispatch* removed = nullptr;
  size_t count = 0;
  {
    OLock hold(lock_);
    if (cookie == 0 || cookie > sinks_.size() || sinks_[cookie - 1] == nullptr)
      return CONNECT_E_NOCONNECTION;
    removed = sinks_[cookie - 1];
    sinks_[cookie - 1] = nullptr;
    count = SinkCount();
  }
  removed->Release();  // the client's code: never under our lock
  hooks_.OnUnadvised(count);
  return S_OK;
}

HRESULT ConnectionPoint::EnumConnections(IEnumConnections** out) {
  if (out == nullptr) return E_POINTER;
  *out = nullptr;
  std::vector<CONNECTDATA> connections;
  try {
    OLock hold(lock_);
    for (size_t slot = 0; slot < sinks_.size(); ++slot) {
      if (sinks_[slot])
        connections.push_back(CONNECTDATA{sinks_[slot], static_cast<DWORD>(slot + 1)});
    }
    // Copied under the lock so that no sink can go away half-way.
    return CreateConnectionEnumerator(connections, out);
  } catch (const std::bad_alloc&) {
    return E_OUTOFMEMORY;
  }
}

void ConnectionPoint::Fire(DISPID dispid, EventArguments& arguments) {
  size_t slots;
  {
    OLock hold(lock_);
    slots = sinks_.size();
  }
  DISPPARAMS params = arguments.Parameters();
  for (size_t slot = 0; slot < slots; ++slot) {
    IDispatch* sink = SinkAt(slot);
    if (sink == nullptr) continue;
    VARIANT result;
    VariantInit(&result);
    sink->Invoke(dispid, IID_NULL, LOCALE_USER_DEFAULT, DISPATCH_METHOD, &params, &result, nullptr,
                 nullptr);
    VariantClear(&result);
    sink->Release();
  }
}

IDispatch* ConnectionPoint::SinkAt(size_t slot) {
  OLock hold(lock_);
  if (slot >= sinks_.size() || sinks_[slot] == nullptr) return nullptr;
  sinks_[slot]->AddRef();
  return sinks_[slot];
}

size_t ConnectionPoint::SinkCount() {
  OLock hold(lock_);
  size_t count = 0;
  for (IDispatch* sink : sinks_) count += sink != nullptr;
  return count;
}

}  // namespace vantrel::frame
