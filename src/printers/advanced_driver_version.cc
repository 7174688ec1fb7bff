// The interface module's version and date.
#include "printers/advanced_driver_interface.h"

namespace vantrel::printers {

// TODO(printer): the module's version table.
std::string AdvancedDriverInterface::GetDriverVersion() {
  return BasicDriverInterface::GetDriverVersion();
}
std::string AdvancedDriverInterface::GetDriverDate() {
  return BasicDriverInterface::GetDriverDate();
}

}  // namespace vantrel::printers
