#include "printers/printer_diagnostics.h"

#include "printers/test_label_printing.h"
#include "support/event_log.h"

namespace vantrel {
namespace {

constexpr char kOrigin[] = "PrinterDiagnostics::PrintTest";

void LogError(const std::string& message) {
  OEventLog::Process()->Write(kLogErrors, std::string("[") + kOrigin + "] " + message);
}

}  // namespace

void PrinterDiagnostics::PrintTest(const std::string& printer_name, TestLabelKind kind) {
  const TestLabelPrinting outcome = PrintTestLabel(printer_name, kind);
  switch (outcome.result) {
    case TestLabelPrinting::Result::kPrinted:
      return;
    case TestLabelPrinting::Result::kNoDeviceContext:
      LogError("Unable to open device context for printer: " + printer_name);
      return;
    case TestLabelPrinting::Result::kFailed:
      LogError("Unable to print the test label on printer: " + printer_name + " (error " +
               std::to_string(outcome.error) + ")");
      return;
  }
}

}  // namespace vantrel
