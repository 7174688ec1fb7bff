#include "printers/printer_context_registry.h"

#include <algorithm>
#include <memory>

namespace vantrel::printers {

PrinterContextRegistry::PrinterContextRegistry(platform::Spooler& spooler) : spooler_(&spooler) {}
PrinterContextRegistry::PrinterContextRegistry() : spooler_(nullptr) {}

PrinterContextRegistry::~PrinterContextRegistry() {
  for (PrinterContext* context : contexts_) delete context;
}

PrinterContextRegistry& PrinterContextRegistry::Instance() {
  // Never destroyed: objects released during process exit still find it.
  static auto* const registry = new PrinterContextRegistry();
  return *registry;
}

PrinterContext* PrinterContextRegistry::Acquire(const std::string& name) {
  OLock lock(lock_);
  if (shutting_down_) return nullptr;
  for (PrinterContext* context : contexts_) {
    if (context->GetName() == name) {
      ++context->references_;
      return context;
    }
  }
  auto context =
      std::make_unique<PrinterContext>(spooler_ ? *spooler_ : platform::DefaultSpooler());
  context->Open(name);
  context->references_ = 1;
  contexts_.push_back(context.get());
  return context.release();
}

void PrinterContextRegistry::AddReference(PrinterContext* context) {
  OLock lock(lock_);
  ++context->references_;
}

void PrinterContextRegistry::Release(PrinterContext* context) {
  std::unique_ptr<PrinterContext> closing;
  {
    OLock lock(lock_);
    if (shutting_down_ || context == nullptr || --context->references_ > 0) return;
    contexts_.erase(std::find(contexts_.begin(), contexts_.end(), context));
    closing.reset(context);
  }
  // Closed outside the registry's lock: closing may wait on the spooler.
}

void PrinterContextRegistry::BeginShutdown() {
  OLock lock(lock_);
  shutting_down_ = true;
}

size_t PrinterContextRegistry::size() {
  OLock lock(lock_);
  return contexts_.size();
}

}  // namespace vantrel::printers
