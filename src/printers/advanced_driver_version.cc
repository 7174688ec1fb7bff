// The driver's version and date from its module: the spooler's driver module
// where the spooler names one (Windows), else the vendor's interface module
// (Linux, where the spooler's driver file is a PPD); a module's own build
// date comes before its file date.
#include "printers/advanced_driver_interface.h"
#include "printers/driver_file.h"

namespace vantrel::printers {

DriverFileFacts AdvancedDriverInterface::ReadDriverFile() {
  if (printer() == nullptr) return {};
  platform::DriverFile file;
  std::string module;
  if (printer()->GetDriverFile(&file) == platform::kErrorSuccess) module = file.module_path;
  if (module.empty()) module = ReadInterfaceModulePath(*printer());
  DriverFileFacts facts = ReadModuleFile(module);
  // A module that cannot be read leaves the spooler's driver file.
  return facts.found ? facts : BasicDriverInterface::ReadDriverFile();
}

std::string AdvancedDriverInterface::GetDriverVersion() { return ReadDriverFile().version; }

std::string AdvancedDriverInterface::GetDriverDate() {
  const DriverFileFacts facts = ReadDriverFile();
  return facts.build_date.empty() ? facts.date : facts.build_date;
}

}  // namespace vantrel::printers
