// The printer's own test label, printed for the test commands: the
// spooler's way on Linux, the device context's on Windows. A printer that
// cannot take it is logged, never raised.
#pragma once

#include <string>

#include "printers/test_label.h"

namespace vantrel {

class PrinterDiagnostics {
 public:
  // Prints the test label of `kind` (standard or blank) on the printer named
  // `printer_name`. When no device context can be made for it, writes
  // "Unable to open device context for printer: NAME" to the event log as an
  // error; any other failure is logged with the error number. Blocks on the
  // spooler; any thread, holding no lock of ours; never throws for the
  // printer's refusal.
  static void PrintTest(const std::string& printer_name, TestLabelKind kind);
};

}  // namespace vantrel
