// A test object that counts its references and answers its default member
// (DISPID_VALUE, property get) with a value the test sets. It lives on the
// test's stack: the count only tells whether references were balanced.
#pragma once

#include <atomic>

#include "automation_runtime.h"

namespace vantrel::testing {

class CountingDispatch : public IDispatch {
 public:
  // `answers_dispatch` false: QueryInterface offers IUnknown only.
  explicit CountingDispatch(bool answers_dispatch = true) : answers_dispatch_(answers_dispatch) {
    VariantInit(&value_);
  }
  ~CountingDispatch() { VariantClear(&value_); }

  ULONG references() const { return references_; }
  int value_reads() const { return value_reads_; }
  // The default member's value (copied); a failing result makes Invoke fail.
  void SetValue(const VARIANT& value) { VariantCopy(&value_, &value); }
  void FailInvoke(HRESULT failure) { invoke_failure_ = failure; }

  STDMETHODIMP QueryInterface(REFIID iid, void** out) override {
    if (IsEqualIID(iid, IID_IUnknown) || (answers_dispatch_ && IsEqualIID(iid, IID_IDispatch))) {
      *out = static_cast<IDispatch*>(this);
      AddRef();
      return S_OK;
    }
    *out = nullptr;
    return E_NOINTERFACE;
  }
  STDMETHODIMP_(ULONG) AddRef() override { return ++references_; }
  STDMETHODIMP_(ULONG) Release() override { return --references_; }

  STDMETHODIMP GetTypeInfoCount(UINT*) override { return E_NOTIMPL; }
  STDMETHODIMP GetTypeInfo(UINT, LCID, ITypeInfo**) override { return E_NOTIMPL; }
  STDMETHODIMP GetIDsOfNames(REFIID, LPOLESTR*, UINT, LCID, DISPID*) override { return E_NOTIMPL; }
  STDMETHODIMP Invoke(DISPID member, REFIID, LCID, WORD flags, DISPPARAMS* params, VARIANT* result,
                      EXCEPINFO*, UINT*) override {
    if (member != DISPID_VALUE || !(flags & DISPATCH_PROPERTYGET)) return DISP_E_MEMBERNOTFOUND;
    if (params == nullptr || params->cArgs != 0) return DISP_E_BADPARAMCOUNT;
    ++value_reads_;
    if (FAILED(invoke_failure_)) return invoke_failure_;
    return result == nullptr ? S_OK : VariantCopy(result, &value_);
  }

 private:
  const bool answers_dispatch_;
  std::atomic<ULONG> references_{1};
  int value_reads_ = 0;
  HRESULT invoke_failure_ = S_OK;
  VARIANT value_;
};

}  // namespace vantrel::testing
