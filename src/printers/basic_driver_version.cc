// The driver's version and date: those of the spooler's driver file.
#include "printers/basic_driver_interface.h"
#include "printers/driver_file.h"

namespace vantrel::printers {

DriverFileFacts BasicDriverInterface::ReadDriverFile() {
  if (printer() == nullptr) return {};
  return ReadSpoolerDriverFile(*printer());
}

std::string BasicDriverInterface::GetDriverVersion() { return ReadDriverFile().version; }
std::string BasicDriverInterface::GetDriverDate() { return ReadDriverFile().date; }

}  // namespace vantrel::printers
