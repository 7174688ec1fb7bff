#include "printers/printer.h"

#include "driver/printer_configuration.h"
#include "driver/printer_port.h"
#include "frame/class_table.h"
#include "frame/ole_string.h"
#include "jobs/print_job_schedule.h"
#include "jobs/print_queue.h"
#include "platform/platform_error.h"
#include "printers/context_binding.h"
#include "printers/driver_interface.h"
#include "printers/printer_context.h"
#include "printers/printer_status.h"
#include "support/exceptions.h"

namespace vantrel {
namespace {

// Hands out one more reference to a child; a null out-pointer is refused.
template <class Child, class Interface>
void HandOut(const frame::ComPtr<Child>& child, Interface** out) {
  if (out == nullptr) frame::Throw(frame::kInvalidArgument);
  child->AddRef();
  *out = child.Get();
}

// A file that was not sent whole fails with the file's or the spooler's own
// error, its text naming what failed.
[[noreturn]] void ThrowNotSent(const std::string& printer, const std::string& file,
                               const RawFileOutcome& outcome) {
  const std::string reason = platform::PlatformErrorMessage(outcome.error);
  if (outcome.file_failed)
    throw OException("SendFile", outcome.error, "Cannot read '" + file + "': " + reason,
                     VANTREL_ORIGIN);
  throw OException("SendFile", outcome.error,
                   "Printer '" + printer + "' did not take '" + file + "': " + reason,
                   VANTREL_ORIGIN);
}

}  // namespace

Printer::Printer() = default;
Printer::~Printer() = default;

HRESULT Printer::FinalConstruct() {
  return Member("Printer::FinalConstruct", [this] {
    queue_ = frame::ComPtr<PrintQueue>::Adopt(frame::CreateObject<PrintQueue>());
    status_ = frame::ComPtr<PrinterStatus>::Adopt(frame::CreateObject<PrinterStatus>());
    configuration_ =
        frame::ComPtr<PrinterConfiguration>::Adopt(frame::CreateObject<PrinterConfiguration>());
    port_ = frame::ComPtr<PrinterPort>::Adopt(frame::CreateObject<PrinterPort>());
    default_schedule_ =
        frame::ComPtr<PrintJobSchedule>::Adopt(frame::CreateObject<PrintJobSchedule>());
  });
}

STDMETHODIMP Printer::Initialize(BSTR argPrinterName) {
  return Member("Printer::Initialize", [&] {
    const std::string name = frame::BstrToUtf8(argPrinterName);
    binding_.Bind(name);
    // In this order; the first child that fails ends Initialize with its
    // error, and the printer stays bound.
    queue_->Bind(name);
    status_->Bind(name);
    configuration_->Bind(name);
    port_->Bind(name);
    default_schedule_->BindToPrinter(name);
    FollowSinks();  // connected sinks follow the object to its printer
  });
}

STDMETHODIMP Printer::SendFile(BSTR argFileName, BSTR argJobName) {
  return Member("Printer::SendFile", [&] {
    const printers::ContextRef context = Context();
    const std::string file = frame::BstrToUtf8(argFileName);
    const RawFileOutcome outcome = context->driver()->SendFile(file, frame::BstrToUtf8(argJobName));
    if (!outcome.sent) ThrowNotSent(binding_.name(), file, outcome);
  });
}

printers::ContextRef Printer::Context() const {
  printers::ContextRef context = binding_.Get();
  if (!context) frame::Throw(frame::kPrinterNotInitialized);
  return context;
}

STDMETHODIMP Printer::get_Queue(IPrintQueue** retQueue) {
  return Member("Printer::get_Queue", [&] { HandOut(queue_, retQueue); });
}

STDMETHODIMP Printer::get_Status(IPrinterStatus** retStatus) {
  return Member("Printer::get_Status", [&] { HandOut(status_, retStatus); });
}

STDMETHODIMP Printer::get_Configuration(IPrinterConfiguration** retConfiguration) {
  return Member("Printer::get_Configuration", [&] { HandOut(configuration_, retConfiguration); });
}

STDMETHODIMP Printer::get_Port(IPrinterPort** retPort) {
  return Member("Printer::get_Port", [&] { HandOut(port_, retPort); });
}

STDMETHODIMP Printer::get_DefaultJobSchedule(IPrintJobSchedule** retDefaultJobSchedule) {
  return Member("Printer::get_DefaultJobSchedule",
                [&] { HandOut(default_schedule_, retDefaultJobSchedule); });
}

VANTREL_CLASS_CREATOR(Printer)

}  // namespace vantrel
