#include "printers/printer.h"

#include "driver/printer_configuration.h"
#include "driver/printer_port.h"
#include "frame/class_table.h"
#include "frame/ole_string.h"
#include "jobs/print_job_schedule.h"
#include "jobs/print_queue.h"
#include "printers/context_binding.h"
#include "printers/printer_status.h"

namespace vantrel {
namespace {

// Hands out one more reference to a child; a null out-pointer is refused.
template <class Child, class Interface>
void HandOut(const frame::ComPtr<Child>& child, Interface** out) {
  if (out == nullptr) frame::Throw(frame::kInvalidArgument);
  child->AddRef();
  *out = child.Get();
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
