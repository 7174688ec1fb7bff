#include "printers/printer.h"

#include "driver/printer_configuration.h"
#include "driver/printer_port.h"
#include "frame/class_table.h"
#include "jobs/print_job_schedule.h"
#include "jobs/print_queue.h"
#include "printers/printer_status.h"

namespace vantrel {
namespace {

// Hands out one more reference to a child; a null out-pointer is refused.
template <class Interface>
void HandOut(const frame::ComPtr<Interface>& child, Interface** out) {
  if (out == nullptr) frame::Throw(frame::kInvalidArgument);
  child->AddRef();
  *out = child.Get();
}

}  // namespace

HRESULT Printer::FinalConstruct() {
  return Member("Printer::FinalConstruct", [this] {
    queue_ = frame::ComPtr<IPrintQueue>::Adopt(frame::CreateObject<PrintQueue>());
    status_ = frame::ComPtr<IPrinterStatus>::Adopt(frame::CreateObject<PrinterStatus>());
    configuration_ =
        frame::ComPtr<IPrinterConfiguration>::Adopt(frame::CreateObject<PrinterConfiguration>());
    port_ = frame::ComPtr<IPrinterPort>::Adopt(frame::CreateObject<PrinterPort>());
    default_schedule_ =
        frame::ComPtr<IPrintJobSchedule>::Adopt(frame::CreateObject<PrintJobSchedule>());
  });
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
