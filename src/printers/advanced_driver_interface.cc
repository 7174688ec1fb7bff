#include "printers/advanced_driver_interface.h"

namespace vantrel::printers {

AdvancedDriverInterface::AdvancedDriverInterface() = default;
AdvancedDriverInterface::~AdvancedDriverInterface() = default;

}  // namespace vantrel::printers
