// A printer's queue: its jobs, pause, resume and purge, and the source of
// _IPrintQueueEvents.
#pragma once

#include <string>

#include "frame/automation.h"
#include "frame/event_source.h"
#include "printers/context_binding.h"
#include "vantrel_stubs.h"

namespace vantrel {

class PrintQueue : public frame::EventSourceObject<IPrintQueueStubs, IID_IPrintQueue,
                                                   CLSID_PrintQueue, DIID__IPrintQueueEvents> {
 public:
  // Binds the queue to the named printer, as its Printer does at Initialize.
  // Throws "Could not open printer" when it cannot be opened.
  void Bind(const std::string& printer_name) { binding_.Bind(printer_name); }

 private:
  printers::ContextBinding binding_;
};

}  // namespace vantrel
