// One printer of the print server: its spooler fields, its status, commands
// and child objects, and the source of _IPrinterEvents.
#pragma once

#include <atomic>

#include "frame/automation.h"
#include "frame/com_ptr.h"
#include "frame/event_source.h"
#include "vantrel_stubs.h"

namespace vantrel {

class Printer : public frame::EventSourceObject<IPrinterStubs, IID_IPrinter, CLSID_Printer,
                                                DIID__IPrinterEvents> {
 public:
  // Creates the five children, unbound until Initialize binds them.
  HRESULT FinalConstruct() override;

  // The children are handed out bound or not; using an unbound one fails
  // there with its own error.
  STDMETHODIMP get_Queue(IPrintQueue** retQueue) override;
  STDMETHODIMP get_Status(IPrinterStatus** retStatus) override;
  STDMETHODIMP get_Configuration(IPrinterConfiguration** retConfiguration) override;
  STDMETHODIMP get_Port(IPrinterPort** retPort) override;
  STDMETHODIMP get_DefaultJobSchedule(IPrintJobSchedule** retDefaultJobSchedule) override;

 protected:
  void CheckInitialized() override {
    if (!initialized_.load(std::memory_order_acquire)) frame::Throw(frame::kPrinterNotInitialized);
  }

 private:
  std::atomic<bool> initialized_{false};
  // Set once in FinalConstruct, then only read.
  frame::ComPtr<IPrintQueue> queue_;
  frame::ComPtr<IPrinterStatus> status_;
  frame::ComPtr<IPrinterConfiguration> configuration_;
  frame::ComPtr<IPrinterPort> port_;
  frame::ComPtr<IPrintJobSchedule> default_schedule_;
};

}  // namespace vantrel
