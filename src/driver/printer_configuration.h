// The driver's settings of one printer: save, load and reset.
#pragma once

#include <atomic>

#include "frame/automation.h"
#include "frame/object.h"
#include "vantrel_stubs.h"

namespace vantrel {

class PrinterConfiguration
    : public frame::AutomationObject<IPrinterConfigurationStubs, IID_IPrinterConfiguration,
                                     CLSID_PrinterConfiguration> {
 protected:
  // Every member but Initialize refuses to work until the object is bound.
  void CheckInitialized() override {
    if (!initialized_.load(std::memory_order_acquire))
      frame::Throw(frame::kPrinterConfigurationNotInitialized);
  }

 private:
  std::atomic<bool> initialized_{false};
};

}  // namespace vantrel
