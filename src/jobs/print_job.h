// One spooler job of one printer, and the source of _IPrintJobEvents.
#pragma once

#include <atomic>

#include "frame/automation.h"
#include "frame/event_source.h"
#include "vantrel_stubs.h"

namespace vantrel {

class PrintJob : public frame::EventSourceObject<IPrintJobStubs, IID_IPrintJob, CLSID_PrintJob,
                                                 DIID__IPrintJobEvents> {
 protected:
  // Every member but Initialize refuses to work until the object is bound.
  void CheckInitialized() override {
    if (!initialized_.load(std::memory_order_acquire)) frame::Throw(frame::kJobNotInitialized);
  }

 private:
  std::atomic<bool> initialized_{false};
};

}  // namespace vantrel
