#include "printers/context_binding.h"

#include <utility>

#include "printers/printer_context_registry.h"

namespace vantrel::printers {

ContextRef ContextRef::Acquire(const std::string& name) {
  return ContextRef(PrinterContextRegistry::Instance().Acquire(name));
}

ContextRef::~ContextRef() {
  if (context_ != nullptr) PrinterContextRegistry::Instance().Release(context_);
}

ContextRef::ContextRef(ContextRef&& other) noexcept
    : context_(std::exchange(other.context_, nullptr)) {}

ContextRef& ContextRef::operator=(ContextRef&& other) noexcept {
  if (this != &other) {
    ContextRef old(std::exchange(context_, std::exchange(other.context_, nullptr)));
  }
  return *this;
}

ContextRef ContextRef::Share() const {
  if (context_ == nullptr) return {};
  PrinterContextRegistry::Instance().AddReference(context_);
  return ContextRef(context_);
}

void ContextBinding::Bind(const std::string& name) {
  {
    ContextRef released;  // dropped after the lock: the last release closes the printer
    MutexLock lock(mutex_);
    if (context_ && name_ == name) return;
    released = std::move(context_);
    name_.clear();
  }
  // Opened without our lock held: opening asks the spooler.
  ContextRef opened = ContextRef::Acquire(name);
  ContextRef replaced;  // another thread's binding made meanwhile
  MutexLock lock(mutex_);
  replaced = std::move(context_);
  context_ = std::move(opened);
  name_ = name;
}

ContextRef ContextBinding::Get() const {
  MutexLock lock(mutex_);
  return context_.Share();
}

bool ContextBinding::bound() const {
  MutexLock lock(mutex_);
  return static_cast<bool>(context_);
}

std::string ContextBinding::name() const {
  MutexLock lock(mutex_);
  return name_;
}

}  // namespace vantrel::printers
