// A printer's spooler port and the device's bidirectional channel behind it.
#pragma once

#include <string>

#include "frame/automation.h"
#include "frame/object.h"
#include "printers/context_binding.h"
#include "vantrel_stubs.h"

namespace vantrel {

class PrinterPort
    : public frame::AutomationObject<IPrinterPortStubs, IID_IPrinterPort, CLSID_PrinterPort> {
 public:
  // Binds the object to the named printer, as its Printer does at Initialize.
  // Throws "Could not open printer" when it cannot be opened.
  void Bind(const std::string& printer_name) { binding_.Bind(printer_name); }

 protected:
  // Every member refuses to work until the object is bound.
  void CheckInitialized() override {
    if (!binding_.bound()) frame::Throw(frame::kPrinterPortNotInitialized);
  }

 private:
  printers::ContextBinding binding_;
};

}  // namespace vantrel
