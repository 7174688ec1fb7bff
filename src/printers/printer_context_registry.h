// The process's printer contexts, one per printer name, reference-counted.
// The registry's lock is always taken before a context's lock.
#pragma once

#include <string>
#include <vector>

#include "platform/spooler.h"
#include "printers/printer_context.h"
#include "support/synchronizer.h"

namespace vantrel::printers {

class PrinterContextRegistry {
 public:
  // Contexts open their printers on `spooler`, which must outlive them.
  explicit PrinterContextRegistry(platform::Spooler& spooler);
  // Contexts open their printers on the process's spooler of the moment
  // (platform::DefaultSpooler), so a test may put its own in place.
  PrinterContextRegistry();
  ~PrinterContextRegistry();  // frees the contexts still held

  // The process's registry, on platform::DefaultSpooler().
  static PrinterContextRegistry& Instance();

  // The context of `name` with one more reference, opening the printer when
  // no context has that name (compared with each context's GetName, exactly).
  // Null while shutting down. Throws what PrinterContext::Open throws; the
  // context is then not kept. Blocks on the spooler. Any thread.
  PrinterContext* Acquire(const std::string& name);
  // One more reference to a context the caller holds a reference to.
  void AddReference(PrinterContext* context);
  // Drops one reference; the last one closes the printer and frees the
  // context. Does nothing while shutting down. Any thread.
  void Release(PrinterContext* context);
  // From now on Acquire answers null and Release does nothing.
  void BeginShutdown();
  size_t size();

 private:
  platform::Spooler* const spooler_;  // null: the process's of the moment
  // Taken before a context's lock, never after it.
  OCriticalSection lock_ ACQUIRED_BEFORE(PrinterContext::lock_);
  std::vector<PrinterContext*> contexts_ GUARDED_BY(lock_);  // in order of creation
  bool shutting_down_ GUARDED_BY(lock_) = false;
};

}  // namespace vantrel::printers
