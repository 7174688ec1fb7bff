#include "frame/enumerator.h"

#include <algorithm>
#include <atomic>
#include <new>

#include "frame/module.h"
#include "platform/thread_annotations.h"

namespace vantrel::frame {
namespace {

struct VariantItems {
  using Item = VARIANT;
  static HRESULT Copy(VARIANT* to, const VARIANT& from) {
    VariantInit(to);
    return VariantCopy(to, const_cast<VARIANT*>(&from));
  }
  static void Destroy(VARIANT& item) { VariantClear(&item); }
};

struct PointItems {
  using Item = IConnectionPoint*;
  static HRESULT Copy(IConnectionPoint** to, IConnectionPoint* from) {
    *to = from;
    from->AddRef();
    return S_OK;
  }
  static void Destroy(IConnectionPoint* item) { item->Release(); }
};

struct ConnectionItems {
  using Item = CONNECTDATA;
  static HRESULT Copy(CONNECTDATA* to, const CONNECTDATA& from) {
    *to = from;
    if (to->pUnk) to->pUnk->AddRef();
    return S_OK;
  }
  static void Destroy(CONNECTDATA& item) {
    if (item.pUnk) item.pUnk->Release();
  }
};

// The copied items, shared by an enumerator and its clones; released with
// the last of them.
template <class Traits>
class ItemStore {
 public:
  using Item = typename Traits::Item;
  ItemStore() = default;
  ItemStore(const ItemStore&) = delete;
  ItemStore& operator=(const ItemStore&) = delete;
  ~ItemStore() {
    for (Item& item : items_) Traits::Destroy(item);
  }
  // Copies every item; on a failure the copies made so far are kept for the
  // destructor and the failure is returned.
  HRESULT Fill(const std::vector<Item>& source) {
    items_.reserve(source.size());
    for (const Item& item : source) {
      items_.emplace_back();
      const HRESULT hr = Traits::Copy(&items_.back(), item);
      if (FAILED(hr)) {
        items_.pop_back();
        return hr;
      }
    }
    return S_OK;
  }
  const std::vector<Item>& items() const { return items_; }

 private:
  std::vector<Item> items_;
};

template <class Interface, const IID& kIid, class Traits>
class Enumerator final : public Interface {
 public:
  using Item = typename Traits::Item;
  using Store = ItemStore<Traits>;

  Enumerator(std::shared_ptr<const Store> store, size_t position)
      : store_(std::move(store)), position_(position) {
    Module().Lock();
  }
  ~Enumerator() { Module().Unlock(); }

  static HRESULT Create(std::shared_ptr<const Store> store, size_t position, Interface** out) {
    auto* enumerator = new (std::nothrow) Enumerator(std::move(store), position);
    if (enumerator == nullptr) return E_OUTOFMEMORY;
    *out = enumerator;
    return S_OK;
  }

  STDMETHODIMP QueryInterface(REFIID iid, void** out) override {
    if (out == nullptr) return E_POINTER;
    if (IsEqualIID(iid, IID_IUnknown) || IsEqualIID(iid, kIid)) {
      *out = static_cast<Interface*>(this);
      AddRef();
      return S_OK;
    }
    *out = nullptr;
    return E_NOINTERFACE;
  }
  STDMETHODIMP_(ULONG) AddRef() override { return ++references_; }
  STDMETHODIMP_(ULONG) Release() override {
    const ULONG left = --references_;
    if (left == 0) delete this;
    return left;
  }

  STDMETHODIMP Next(ULONG wanted, Item* out, ULONG* fetched) override {
    if (out == nullptr || (wanted > 1 && fetched == nullptr)) return E_POINTER;
    const std::vector<Item>& items = store_->items();
    MutexLock hold(mutex_);
    ULONG given = 0;
    while (given < wanted && position_ < items.size()) {
      const HRESULT hr = Traits::Copy(&out[given], items[position_]);
      if (FAILED(hr)) {
        while (given > 0) Traits::Destroy(out[--given]);
        return hr;
      }
      ++given;
      ++position_;
    }
    if (fetched != nullptr) *fetched = given;
    return given == wanted ? S_OK : S_FALSE;
  }
  STDMETHODIMP Skip(ULONG count) override {
    MutexLock hold(mutex_);
    const size_t size = store_->items().size();
    const bool enough = count <= size - position_;
    position_ = enough ? position_ + count : size;
    return enough ? S_OK : S_FALSE;
  }
  STDMETHODIMP Reset() override {
    MutexLock hold(mutex_);
    position_ = 0;
    return S_OK;
  }
  STDMETHODIMP Clone(Interface** out) override {
    if (out == nullptr) return E_POINTER;
    *out = nullptr;
    size_t position;
    {
      MutexLock hold(mutex_);
      position = position_;
    }
    return Create(store_, position, out);
  }

 private:
  std::atomic<ULONG> references_{1};
  const std::shared_ptr<const Store> store_;
  Mutex mutex_;
  size_t position_ GUARDED_BY(mutex_);
};

template <class Interface, const IID& kIid, class Traits>
HRESULT MakeEnumerator(const std::vector<typename Traits::Item>& items, Interface** out) {
  if (out == nullptr) return E_POINTER;
  *out = nullptr;
  try {
    auto store = std::make_shared<ItemStore<Traits>>();
    const HRESULT hr = store->Fill(items);
    if (FAILED(hr)) return hr;
    return Enumerator<Interface, kIid, Traits>::Create(std::move(store), 0, out);
  } catch (const std::bad_alloc&) {
    return E_OUTOFMEMORY;
  }
}

}  // namespace

HRESULT CreateVariantEnumerator(const std::vector<VARIANT>& items, IEnumVARIANT** out) {
  return MakeEnumerator<IEnumVARIANT, IID_IEnumVARIANT, VariantItems>(items, out);
}

HRESULT CreateConnectionPointEnumerator(const std::vector<IConnectionPoint*>& points,
                                        IEnumConnectionPoints** out) {
  return MakeEnumerator<IEnumConnectionPoints, IID_IEnumConnectionPoints, PointItems>(points, out);
}

HRESULT CreateConnectionEnumerator(const std::vector<CONNECTDATA>& connections,
                                   IEnumConnections** out) {
  return MakeEnumerator<IEnumConnections, IID_IEnumConnections, ConnectionItems>(connections, out);
}

}  // namespace vantrel::frame
