// A printer's spooler port and the device's bidirectional channel behind it.
#pragma once

#include <atomic>

#include "frame/automation.h"
#include "frame/object.h"
#include "vantrel_stubs.h"

namespace vantrel {

class PrinterPort
    : public frame::AutomationObject<IPrinterPortStubs, IID_IPrinterPort, CLSID_PrinterPort> {
 protected:
  // Every member but Initialize refuses to work until the object is bound.
  void CheckInitialized() override {
    if (!initialized_.load(std::memory_order_acquire))
      frame::Throw(frame::kPrinterPortNotInitialized);
  }

 private:
  std::atomic<bool> initialized_{false};
};

}  // namespace vantrel
