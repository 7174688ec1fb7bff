// Commands and settings through the driver's interface module.
#include "printers/advanced_driver_interface.h"

namespace vantrel::printers {

// TODO(commands): the interface module's channel.
void AdvancedDriverInterface::RunCommand(int32_t code, CommandRequest* request) {
  BasicDriverInterface::RunCommand(code, request);
}
bool AdvancedDriverInterface::ImportSettings(const std::string&, uint32_t) { return false; }
bool AdvancedDriverInterface::ExportSettings(const std::string&, uint32_t) { return false; }
bool AdvancedDriverInterface::ResetSettings(uint32_t) { return false; }

}  // namespace vantrel::printers
