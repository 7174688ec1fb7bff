// Status through the driver's XPML service, falling back to the spooler.
#include "printers/advanced_driver_interface.h"

namespace vantrel::printers {

// TODO(status): the driver's service.
std::string AdvancedDriverInterface::GetStatusText() {
  return BasicDriverInterface::GetStatusText();
}
bool AdvancedDriverInterface::GetStatusFlag(int32_t code) {
  return BasicDriverInterface::GetStatusFlag(code);
}
uint32_t AdvancedDriverInterface::GetSeverity() { return BasicDriverInterface::GetSeverity(); }
uint32_t AdvancedDriverInterface::GetStatusWord2() {
  return BasicDriverInterface::GetStatusWord2();
}
StatusReading AdvancedDriverInterface::ReadStatus() { return BasicDriverInterface::ReadStatus(); }
bool AdvancedDriverInterface::IsMonitoringOn() { return false; }
std::string AdvancedDriverInterface::QueryJob(uint32_t) { return {}; }

}  // namespace vantrel::printers
