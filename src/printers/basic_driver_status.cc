// Status through the spooler's word alone.
#include "printers/basic_driver_interface.h"

namespace vantrel::printers {

// TODO(status): the spooler rules for flags, severity and text.
std::string BasicDriverInterface::GetStatusText() { return "Ready"; }
bool BasicDriverInterface::GetStatusFlag(int32_t) { return false; }
uint32_t BasicDriverInterface::GetSeverity() { return 1; }
uint32_t BasicDriverInterface::GetStatusWord2() { return 0; }
StatusReading BasicDriverInterface::ReadStatus() { return {}; }

}  // namespace vantrel::printers
