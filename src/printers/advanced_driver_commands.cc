// Commands and settings through the driver's interface module.
#include "printers/advanced_driver_interface.h"
#include "printers/driver_commands.h"
#include "printers/printer_diagnostics.h"

namespace vantrel::printers {

namespace {

// The two test labels are the library's own: the driver is not asked.
constexpr int32_t kTestStandard = 1;
constexpr int32_t kTestBlank = 2;

}  // namespace

void AdvancedDriverInterface::RunCommand(int32_t code, CommandRequest* request) {
  if (code != kTestStandard && code != kTestBlank) {
    RunDriverAction(channel_, printer_name(), code, request);
    return;
  }
  SetAnswersFromActionFlags(kActionSupported, request);
  if (!request->execute) return;
  PrinterDiagnostics::PrintTest(
      printer_name(), code == kTestStandard ? TestLabelKind::kStandard : TestLabelKind::kBlank);
}

bool AdvancedDriverInterface::ImportSettings(const std::string& path, uint32_t flags) {
  return ImportDriverSettings(channel_, printer_name(), path, flags);
}

bool AdvancedDriverInterface::ExportSettings(const std::string& path, uint32_t flags) {
  return ExportDriverSettings(channel_, printer_name(), path, flags);
}

bool AdvancedDriverInterface::ResetSettings(uint32_t flags) {
  return ResetDriverSettings(channel_, printer_name(), flags);
}

}  // namespace vantrel::printers
