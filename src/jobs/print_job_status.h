// A job's status flags as named conditions; bound by its PrintJob.
#pragma once

#include <atomic>

#include "frame/automation.h"
#include "frame/object.h"
#include "vantrel_stubs.h"

namespace vantrel {

class PrintJobStatus : public frame::AutomationObject<IPrintJobStatusStubs, IID_IPrintJobStatus,
                                                      CLSID_PrintJobStatus> {
 protected:
  // Every member but Initialize refuses to work until the object is bound.
  void CheckInitialized() override {
    if (!initialized_.load(std::memory_order_acquire))
      frame::Throw(frame::kJobStatusNotInitialized);
  }

 private:
  std::atomic<bool> initialized_{false};
};

}  // namespace vantrel
