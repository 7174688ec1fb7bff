// A printer's status as named conditions and a text; bound by its Printer.
#pragma once

#include <atomic>

#include "frame/automation.h"
#include "frame/object.h"
#include "vantrel_stubs.h"

namespace vantrel {

class PrinterStatus
    : public frame::AutomationObject<IPrinterStatusStubs, IID_IPrinterStatus, CLSID_PrinterStatus> {
 protected:
  // Every member but Initialize refuses to work until the object is bound.
  void CheckInitialized() override {
    if (!initialized_.load(std::memory_order_acquire))
      frame::Throw(frame::kPrinterStatusNotInitialized);
  }

 private:
  std::atomic<bool> initialized_{false};
};

}  // namespace vantrel
