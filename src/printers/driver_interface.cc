#include "printers/driver_interface.h"

#include "printers/advanced_driver_interface.h"
#include "printers/basic_driver_interface.h"

namespace vantrel::printers {

std::unique_ptr<DriverInterface> MakeDriverInterface(bool advanced) {
  if (advanced) return std::make_unique<AdvancedDriverInterface>();
  return std::make_unique<BasicDriverInterface>();
}

}  // namespace vantrel::printers
