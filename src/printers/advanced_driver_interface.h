// A printer whose driver offers the vendor's interface module: status from
// the driver's XPML service when its monitoring is on, commands and settings
// through the module, everything else as the basic kind.
#pragma once

#include <string>

#include "printers/basic_driver_interface.h"

namespace vantrel::printers {

class AdvancedDriverInterface : public BasicDriverInterface {
 public:
  AdvancedDriverInterface();
  ~AdvancedDriverInterface() override;

  bool IsAdvanced() const override { return true; }
};

}  // namespace vantrel::printers
