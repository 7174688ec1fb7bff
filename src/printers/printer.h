// One printer of the print server: its spooler fields, its status, commands
// and child objects, and the source of _IPrinterEvents.
#pragma once

#include <string>

#include "frame/automation.h"
#include "frame/com_ptr.h"
#include "frame/event_source.h"
#include "printers/context_binding.h"
#include "vantrel_stubs.h"

namespace vantrel {

class PrintQueue;
class PrinterStatus;
class PrinterConfiguration;
class PrinterPort;
class PrintJobSchedule;

class Printer : public frame::EventSourceObject<IPrinterStubs, IID_IPrinter, CLSID_Printer,
                                                DIID__IPrinterEvents> {
 public:
  Printer();
  ~Printer() override;  // where the children's classes are known

  // Creates the five children, unbound until Initialize binds them.
  HRESULT FinalConstruct() override;

  // Binds the object and its five children to the named printer. The same
  // name again keeps the printer's context; another name releases it.
  STDMETHODIMP Initialize(BSTR argPrinterName) override;
  STDMETHODIMP Command(PrinterCommand argPrinterCommand, VARIANT argCommandParameters) override;

  // The children are handed out bound or not; using an unbound one fails
  // there with its own error.
  STDMETHODIMP get_Queue(IPrintQueue** retQueue) override;
  STDMETHODIMP get_Status(IPrinterStatus** retStatus) override;
  STDMETHODIMP get_Configuration(IPrinterConfiguration** retConfiguration) override;
  STDMETHODIMP get_Port(IPrinterPort** retPort) override;
  STDMETHODIMP get_DefaultJobSchedule(IPrintJobSchedule** retDefaultJobSchedule) override;

 protected:
  void CheckInitialized() override {
    if (!binding_.bound()) frame::Throw(frame::kPrinterNotInitialized);
  }
  // The bound context, held for the caller's call; throws "Printer object
  // not initialized" when unbound.
  printers::ContextRef Context() const;

 private:
  printers::ContextBinding binding_;
  // Set once in FinalConstruct, then only read.
  frame::ComPtr<PrintQueue> queue_;
  frame::ComPtr<PrinterStatus> status_;
  frame::ComPtr<PrinterConfiguration> configuration_;
  frame::ComPtr<PrinterPort> port_;
  frame::ComPtr<PrintJobSchedule> default_schedule_;
};

}  // namespace vantrel
