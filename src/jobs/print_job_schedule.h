// When a job (or a printer's jobs by default) may print and at which priority.
#pragma once

#include <atomic>

#include "frame/automation.h"
#include "frame/object.h"
#include "vantrel_stubs.h"

namespace vantrel {

class PrintJobSchedule
    : public frame::AutomationObject<IPrintJobScheduleStubs, IID_IPrintJobSchedule,
                                     CLSID_PrintJobSchedule> {
 protected:
  // Every member but Initialize refuses to work until the object is bound.
  void CheckInitialized() override {
    if (!initialized_.load(std::memory_order_acquire))
      frame::Throw(frame::kJobScheduleNotInitialized);
  }

 private:
  std::atomic<bool> initialized_{false};
};

}  // namespace vantrel
