// The driver's version and date.
#include "printers/basic_driver_interface.h"

namespace vantrel::printers {

// TODO(printer): the driver file's version and date.
std::string BasicDriverInterface::GetDriverVersion() { return {}; }
std::string BasicDriverInterface::GetDriverDate() { return {}; }

}  // namespace vantrel::printers
