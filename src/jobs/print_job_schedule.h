// When a job (or a printer's jobs by default) may print and at which priority.
#pragma once

#include <string>

#include "frame/automation.h"
#include "frame/object.h"
#include "printers/context_binding.h"
#include "vantrel_stubs.h"

namespace vantrel {

class PrintJobSchedule
    : public frame::AutomationObject<IPrintJobScheduleStubs, IID_IPrintJobSchedule,
                                     CLSID_PrintJobSchedule> {
 public:
  // Binds the object to the named printer, as its Printer's default schedule does at Initialize.
  // Throws "Could not open printer" when it cannot be opened.
  void BindToPrinter(const std::string& printer_name) { binding_.Bind(printer_name); }

 protected:
  // Every member refuses to work until the object is bound.
  void CheckInitialized() override {
    if (!binding_.bound()) frame::Throw(frame::kJobScheduleNotInitialized);
  }

 private:
  printers::ContextBinding binding_;
};

}  // namespace vantrel
