// How an object that names one printer holds that printer's shared context.
// A ContextRef is one counted reference, dropped when the ref goes; a
// ContextBinding is the reference an object keeps between calls, which its
// Printer may move to another printer while other threads use the object.
#pragma once

#include <string>

#include "platform/thread_annotations.h"

namespace vantrel::printers {

class PrinterContext;

class ContextRef {
 public:
  ContextRef() = default;
  // The context of `name`, opening the printer when no object holds it yet.
  // Throws what PrinterContext::Open throws ("Could not open printer").
  static ContextRef Acquire(const std::string& name);
  ~ContextRef();
  ContextRef(ContextRef&& other) noexcept;
  ContextRef& operator=(ContextRef&& other) noexcept;
  ContextRef(const ContextRef&) = delete;
  ContextRef& operator=(const ContextRef&) = delete;

  // One more reference to the same context.
  ContextRef Share() const;

  PrinterContext* get() const { return context_; }
  PrinterContext* operator->() const { return context_; }
  explicit operator bool() const { return context_ != nullptr; }

 private:
  explicit ContextRef(PrinterContext* adopted) : context_(adopted) {}
  PrinterContext* context_ = nullptr;
};

class ContextBinding {
 public:
  // Holds the context of `name` from now on. Binding again to the same name
  // keeps the context; another name releases the old one first. Throws
  // what ContextRef::Acquire throws, and is then unbound.
  void Bind(const std::string& name);
  // The bound context with a reference of the caller's own, so that a
  // rebinding on another thread cannot free it mid-call; empty when unbound.
  ContextRef Get() const;
  bool bound() const;
  std::string name() const;

 private:
  mutable Mutex mutex_;
  std::string name_ GUARDED_BY(mutex_);
  ContextRef context_ GUARDED_BY(mutex_);
};

}  // namespace vantrel::printers
