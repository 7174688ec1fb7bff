// Error information: the error object and each thread's current one.
#include <atomic>
#include <mutex>
#include <new>
#include <utility>

#include "automation_runtime.h"
#include "platform/thread_annotations.h"

namespace {

// A BSTR slot that frees its string.
class OwnedText {
 public:
  OwnedText() = default;
  OwnedText(const OwnedText&) = delete;
  OwnedText& operator=(const OwnedText&) = delete;
  ~OwnedText() { SysFreeString(text_); }

  // False when memory ran out; the old text is then kept.
  bool Set(const OLECHAR* text) {
    BSTR copy = SysAllocString(text);
    if (copy == nullptr && text != nullptr) return false;
    SysFreeString(std::exchange(text_, copy));
    return true;
  }
  // A copy for the caller (null when unset); E_OUTOFMEMORY when it cannot be made.
  HRESULT CopyTo(BSTR* out) const {
    *out = text_ == nullptr ? nullptr : SysAllocStringLen(text_, SysStringLen(text_));
    return (*out == nullptr && text_ != nullptr) ? E_OUTOFMEMORY : S_OK;
  }

 private:
  BSTR text_ = nullptr;
};

// Free-threaded: its fields are guarded by mutex_, its count is atomic.
class ErrorObject final : public IErrorInfo, public ICreateErrorInfo {
 public:
  // IUnknown, shared by both interfaces.
  STDMETHODIMP QueryInterface(REFIID riid, void** out) override {
    if (out == nullptr) return E_POINTER;
    if (IsEqualIID(riid, IID_IUnknown) || IsEqualIID(riid, IID_IErrorInfo)) {
      *out = static_cast<IErrorInfo*>(this);
    } else if (IsEqualIID(riid, IID_ICreateErrorInfo)) {
      *out = static_cast<ICreateErrorInfo*>(this);
    } else {
      *out = nullptr;
      return E_NOINTERFACE;
    }
    AddRef();
    return S_OK;
  }
  STDMETHODIMP_(ULONG) AddRef() override { return ++references_; }
  STDMETHODIMP_(ULONG) Release() override {
    const ULONG left = --references_;
    if (left == 0) delete this;
    return left;
  }

  // IErrorInfo
  STDMETHODIMP GetGUID(GUID* guid) override {
    if (guid == nullptr) return E_INVALIDARG;
    vantrel::MutexLock lock(mutex_);
    *guid = guid_;
    return S_OK;
  }
  STDMETHODIMP GetSource(BSTR* out) override { return Read(&source_, out); }
  STDMETHODIMP GetDescription(BSTR* out) override { return Read(&description_, out); }
  STDMETHODIMP GetHelpFile(BSTR* out) override { return Read(&help_file_, out); }
  STDMETHODIMP GetHelpContext(DWORD* out) override {
    if (out == nullptr) return E_INVALIDARG;
    vantrel::MutexLock lock(mutex_);
    *out = help_context_;
    return S_OK;
  }

  // ICreateErrorInfo
  STDMETHODIMP SetGUID(REFGUID guid) override {
    vantrel::MutexLock lock(mutex_);
    guid_ = guid;
    return S_OK;
  }
  STDMETHODIMP SetSource(LPOLESTR text) override { return Write(&source_, text); }
  STDMETHODIMP SetDescription(LPOLESTR text) override { return Write(&description_, text); }
  STDMETHODIMP SetHelpFile(LPOLESTR text) override { return Write(&help_file_, text); }
  STDMETHODIMP SetHelpContext(DWORD context) override {
    vantrel::MutexLock lock(mutex_);
    help_context_ = context;
    return S_OK;
  }

 private:
  ~ErrorObject() = default;

  // `field` is one of the texts below, used under their lock (by address:
  // the analysis would count a reference as a use without it).
  HRESULT Read(const OwnedText* field, BSTR* out) {
    if (out == nullptr) return E_INVALIDARG;
    vantrel::MutexLock lock(mutex_);
    return field->CopyTo(out);
  }
  HRESULT Write(OwnedText* field, const OLECHAR* text) {
    vantrel::MutexLock lock(mutex_);
    return field->Set(text) ? S_OK : E_OUTOFMEMORY;
  }

  std::atomic<ULONG> references_{1};
  vantrel::Mutex mutex_;
  GUID guid_ GUARDED_BY(mutex_) = GUID_NULL;
  OwnedText source_ GUARDED_BY(mutex_);
  OwnedText description_ GUARDED_BY(mutex_);
  OwnedText help_file_ GUARDED_BY(mutex_);
  DWORD help_context_ GUARDED_BY(mutex_) = 0;
};

// The calling thread's error information; released when the thread ends.
class ThreadErrorSlot {
 public:
  ~ThreadErrorSlot() { Replace(nullptr); }
  // Stores `info` (the slot takes over the reference) and releases the old one.
  void Replace(IErrorInfo* info) {
    if (IErrorInfo* old = std::exchange(info_, info)) old->Release();
  }
  IErrorInfo* Take() { return std::exchange(info_, nullptr); }

 private:
  IErrorInfo* info_ = nullptr;
};

thread_local ThreadErrorSlot current_error;

}  // namespace

extern "C" {

HRESULT CreateErrorInfo(ICreateErrorInfo** pperrinfo) {
  if (pperrinfo == nullptr) return E_INVALIDARG;
  ErrorObject* object = new (std::nothrow) ErrorObject();
  *pperrinfo = object;
  return object == nullptr ? E_OUTOFMEMORY : S_OK;
}

HRESULT SetErrorInfo(ULONG dwReserved, IErrorInfo* perrinfo) {
  if (dwReserved != 0) return E_INVALIDARG;
  if (perrinfo != nullptr) perrinfo->AddRef();
  current_error.Replace(perrinfo);
  return S_OK;
}

HRESULT GetErrorInfo(ULONG dwReserved, IErrorInfo** pperrinfo) {
  if (pperrinfo == nullptr || dwReserved != 0) return E_INVALIDARG;
  *pperrinfo = current_error.Take();
  return *pperrinfo == nullptr ? S_FALSE : S_OK;
}

}  // extern "C"
