// A printer's status as named conditions and a text; bound by its Printer.
#pragma once

#include <string>

#include "frame/automation.h"
#include "frame/object.h"
#include "printers/context_binding.h"
#include "vantrel_stubs.h"

namespace vantrel {

class PrinterStatus
    : public frame::AutomationObject<IPrinterStatusStubs, IID_IPrinterStatus, CLSID_PrinterStatus> {
 public:
  // Binds the object to the named printer, as its Printer does at Initialize.
  // Throws "Could not open printer" when it cannot be opened.
  void Bind(const std::string& printer_name) { binding_.Bind(printer_name); }

 protected:
  // Every member refuses to work until the object is bound.
  void CheckInitialized() override {
    if (!binding_.bound()) frame::Throw(frame::kPrinterStatusNotInitialized);
  }

 private:
  printers::ContextBinding binding_;
};

}  // namespace vantrel
