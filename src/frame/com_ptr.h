// A counted reference to a COM interface: AddRef on copy, Release on reset.
#pragma once

#include <utility>

#include "automation_runtime.h"

namespace vantrel::frame {

template <class T>
class ComPtr {
 public:
  ComPtr() = default;
  ComPtr(T* p) : p_(p) {  // NOLINT: adds a reference, as a copy would
    if (p_) p_->AddRef();
  }
  ComPtr(const ComPtr& other) : ComPtr(other.p_) {}
  ComPtr(ComPtr&& other) noexcept : p_(std::exchange(other.p_, nullptr)) {}
  ComPtr& operator=(ComPtr other) noexcept {
    std::swap(p_, other.p_);
    return *this;
  }
  ~ComPtr() { Reset(); }

  // Takes over a reference the caller already owns.
  static ComPtr Adopt(T* p) {
    ComPtr result;
    result.p_ = p;
    return result;
  }

  T* Get() const { return p_; }
  T* operator->() const { return p_; }
  explicit operator bool() const { return p_ != nullptr; }

  // Releases the held reference and hands out the slot for an out-parameter.
  T** Receive() {
    Reset();
    return &p_;
  }
  void Reset() {
    if (T* p = std::exchange(p_, nullptr)) p->Release();
  }
  // The caller takes ownership of the reference.
  T* Detach() { return std::exchange(p_, nullptr); }

 private:
  T* p_ = nullptr;
};

}  // namespace vantrel::frame
