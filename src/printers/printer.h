// One printer of the print server: its spooler fields, its status, commands
// and child objects, and the source of _IPrinterEvents.
#pragma once

#include <string>

#include "frame/automation.h"
#include "frame/com_ptr.h"
#include "frame/event_source.h"
#include "platform/thread_annotations.h"
#include "printers/context_binding.h"
#include "printers/printer_event_targets.h"
#include "vantrel_stubs.h"

namespace vantrel {

class PrintQueue;
class PrinterStatus;
class PrinterConfiguration;
class PrinterPort;
class PrintJobSchedule;

class Printer : public frame::EventSourceObject<IPrinterStubs, IID_IPrinter, CLSID_Printer,
                                                DIID__IPrinterEvents>,
                public printers::PrinterEventTarget {
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

  // Prints the file's bytes unchanged as one job named argJobName (else the
  // file's name). A file that cannot be opened or read fails with its own
  // system error (0x80070002 for a missing one) and sends nothing; a job the
  // spooler refuses fails with the spooler's error. Blocks for the transfer.
  STDMETHODIMP SendFile(BSTR argFileName, BSTR argJobName) override;

  // The spooler's fields of the printer (printer_properties.cc). Before
  // Initialize each fails with "Printer object not initialized", then a
  // null out-pointer with "Invalid argument". Reads never fail after that: a
  // spooler refusal reads as "", 0 or false. Each blocks on the spooler.
  STDMETHODIMP get_Name(BSTR* retName) override;
  STDMETHODIMP get_ServerName(BSTR* retServerName) override;
  STDMETHODIMP get_ShareName(BSTR* retShareName) override;
  // "Invalid printer share name" for a name holding / \ or , (nothing
  // changes) or one the spooler refuses; an empty name unshares.
  STDMETHODIMP put_ShareName(BSTR argShareName) override;
  STDMETHODIMP get_PortName(BSTR* retPortName) override;
  // "Invalid port" for a port the spooler does not know.
  STDMETHODIMP put_PortName(BSTR argPortName) override;
  STDMETHODIMP get_ModelName(BSTR* retModelName) override;  // the driver's name
  STDMETHODIMP get_Comment(BSTR* retComment) override;
  STDMETHODIMP put_Comment(BSTR argComment) override;  // a refusal is not reported
  STDMETHODIMP get_Location(BSTR* retLocation) override;
  STDMETHODIMP put_Location(BSTR argLocation) override;  // a refusal is not reported
  STDMETHODIMP get_Local(VARIANT_BOOL* retLocal) override;
  STDMETHODIMP get_Network(VARIANT_BOOL* retNetwork) override;
  STDMETHODIMP get_Shared(VARIANT_BOOL* retShared) override;
  // Sharing a printer without a share name shares it under its own name.
  STDMETHODIMP put_Shared(VARIANT_BOOL argShared) override;
  // The driver file's version "a.b.c.d" and date; "" when unknown.
  STDMETHODIMP get_DriverVersion(BSTR* retDriverVersion) override;
  STDMETHODIMP get_DriverDate(BSTR* retDriverDate) override;

  // PrinterEventTarget: how the printer's watcher holds this object.
  bool TryRetain() override { return TryInternalAddRef(); }
  void Unretain() override { InternalRelease(); }

 protected:
  void CheckInitialized() override {
    if (!binding_.bound()) frame::Throw(frame::kPrinterNotInitialized);
  }
  // The bound context, held for the caller's call; throws "Printer object
  // not initialized" when unbound.
  printers::ContextRef Context() const;

  // The first sink starts the printer's watcher and lists this object for
  // its events (a sink connected before Initialize, at Initialize); the last
  // one, or destruction, takes it off the list (printer_advise.cc). Run in
  // the frame "Printer::Advise".
  HRESULT OnAdvised(size_t count) override;
  void OnUnadvised(size_t count) override;
  void FinalRelease() override;

 private:
  // Lists or unlists this object with the bound context as the sinks and the
  // binding now say; throws when the watcher cannot start.
  void FollowSinks();
  // Unlists this object; the caller drops the context after the lock.
  printers::ContextRef StopListening() REQUIRES(listening_mutex_);

  printers::ContextBinding binding_;
  // Serialises listing and unlisting; taken before the object's critical
  // section (the sink count) and a context's locks.
  Mutex listening_mutex_;
  // The context this object is listed with, held while listed.
  printers::ContextRef listening_ GUARDED_BY(listening_mutex_);
  // Set once in FinalConstruct, then only read.
  frame::ComPtr<PrintQueue> queue_;
  frame::ComPtr<PrinterStatus> status_;
  frame::ComPtr<PrinterConfiguration> configuration_;
  frame::ComPtr<PrinterPort> port_;
  frame::ComPtr<PrintJobSchedule> default_schedule_;
};

}  // namespace vantrel
