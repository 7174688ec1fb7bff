#include "frame/class_table.h"

#include <cstring>
#include <iterator>

#include "frame/automation.h"

namespace vantrel {

// Defined beside each class.
HRESULT CreateCommandParameters(IUnknown*, REFIID, void**);
HRESULT CreatePrinterPort(IUnknown*, REFIID, void**);
HRESULT CreatePrinterConfiguration(IUnknown*, REFIID, void**);
HRESULT CreatePrintQueue(IUnknown*, REFIID, void**);
HRESULT CreatePrintJobSchedule(IUnknown*, REFIID, void**);
HRESULT CreatePrintJobs(IUnknown*, REFIID, void**);
HRESULT CreatePrinterStatus(IUnknown*, REFIID, void**);
HRESULT CreateKesto(IUnknown*, REFIID, void**);
HRESULT CreateImmediateCommand(IUnknown*, REFIID, void**);
HRESULT CreatePrinter(IUnknown*, REFIID, void**);
HRESULT CreatePrinterConfigurationFilter(IUnknown*, REFIID, void**);
HRESULT CreateQueryResponse(IUnknown*, REFIID, void**);
HRESULT CreatePrinters(IUnknown*, REFIID, void**);
HRESULT CreatePrintersFilter(IUnknown*, REFIID, void**);
HRESULT CreatePrintJob(IUnknown*, REFIID, void**);
HRESULT CreatePrintJobStatus(IUnknown*, REFIID, void**);
HRESULT CreatePrintJobsFilter(IUnknown*, REFIID, void**);
HRESULT CreatePrintServer(IUnknown*, REFIID, void**);
HRESULT CreateQueryCommand(IUnknown*, REFIID, void**);

namespace frame {
namespace {

// Rows 3 and 11 share the ProgID "Vantrel.PrinterConfiguratio.1": the later
// row wins at registration. Row 5 registers another CLSID than the one it is
// created by, so its ProgID cannot create it. Both are part of the registered
// identity clients know and are kept.
const ClassEntry kClasses[] = {
    {&CLSID_CommandParameters, nullptr, "CommandParameters Class", "Antrel.CommandParameters.1",
     "Antrel.CommandParameters", 120, &CreateCommandParameters},
    {&CLSID_PrinterPort, nullptr, "PrinterPort Class", "Vantrel.PrinterPort.1",
     "Vantrel.PrinterPort", 117, &CreatePrinterPort},
    {&CLSID_PrinterConfiguration, nullptr, "PrinterConfiguration Class",
     "Vantrel.PrinterConfiguratio.1", "Vantrel.PrinterConfiguration", 113,
     &CreatePrinterConfiguration},
    {&CLSID_PrintQueue, nullptr, "PrinterQueue Class", "Vantrel.PrinterQueue.1",
     "Vantrel.PrinterQueue", 108, &CreatePrintQueue},
    {&CLSID_PrintJobSchedule, "{1E9A3A0F-B984-4ACC-B178-A97DA48AC9C6}", "PrintJobSchedule Class",
     "Vantrel.PrintJobSchedule.1", "Vantrel.PrintJobSchedule", 118, &CreatePrintJobSchedule},
    {&CLSID_PrintJobs, nullptr, "Jobs Class", "Vantrel.Jobs.1", "Vantrel.Jobs", 111,
     &CreatePrintJobs},
    {&CLSID_PrinterStatus, nullptr, "PrinterStatus Class", "Vantrel.PrinterStatus.1",
     "Vantrel.PrinterStatus", 105, &CreatePrinterStatus},
    {&CLSID_Kesto, nullptr, "Kesto Class", "Vantrel.Kesto.1", "Vantrel.Kesto", 102, &CreateKesto},
    {&CLSID_ImmediateCommand, nullptr, "ImmediateCommand Class", "Vantrel.ImmediateCommand.1",
     "Vantrel.ImmediateCommand", 121, &CreateImmediateCommand},
    {&CLSID_Printer, nullptr, "Printer Class", "Vantrel.Printer.1", "Vantrel.Printer", 104,
     &CreatePrinter},
    {&CLSID_PrinterConfigurationFilter, nullptr, "PrinterConfigurationFilter Class",
     "Vantrel.PrinterConfiguratio.1", "Vantrel.PrinterConfigurationF", 114,
     &CreatePrinterConfigurationFilter},
    {&CLSID_QueryResponse, nullptr, "QueryResponse Class", "Vantrel.QueryResponse.1",
     "Vantrel.QueryResponse", 116, &CreateQueryResponse},
    {&CLSID_Printers, nullptr, "Printers Class", "Vantrel.Printers.1", "Vantrel.Printers", 106,
     &CreatePrinters},
    {&CLSID_PrintersFilter, nullptr, "PrintersFilter Class", "Vantrel.PrintersFilter.1",
     "Vantrel.PrintersFilter", 107, &CreatePrintersFilter},
    {&CLSID_PrintJob, nullptr, "Job Class", "Vantrel.Job.1", "Vantrel.Job", 109, &CreatePrintJob},
    {&CLSID_PrintJobStatus, nullptr, "JobStatus Class", "Vantrel.JobStatus.1", "Vantrel.JobStatus",
     110, &CreatePrintJobStatus},
    {&CLSID_PrintJobsFilter, nullptr, "JobsFilter Class", "Vantrel.JobsFilter.1",
     "Vantrel.JobsFilter", 112, &CreatePrintJobsFilter},
    {&CLSID_PrintServer, nullptr, "PrintServer Class", "Vantrel.PrintServer.1",
     "Vantrel.PrintServer", 103, &CreatePrintServer},
    {&CLSID_QueryCommand, nullptr, "QueryCommand Class", "Vantrel.QueryCommand.1",
     "Vantrel.QueryCommand", 115, &CreateQueryCommand},
};

}  // namespace

std::span<const ClassEntry> ClassTable() { return kClasses; }

const ClassEntry* FindClass(REFCLSID clsid) {
  for (const ClassEntry& entry : kClasses) {
    if (std::memcmp(entry.clsid, &clsid, sizeof(GUID)) == 0) return &entry;
  }
  return nullptr;
}

}  // namespace frame
}  // namespace vantrel
