#include "printers/driver_interface.h"

namespace vantrel::printers {
namespace {

class BasicDriverInterface : public DriverInterface {
 public:
  void Attach(platform::SpoolerPrinter* printer) override { printer_ = printer; }
  bool IsAdvanced() const override { return false; }

 protected:
  platform::SpoolerPrinter* printer_ = nullptr;  // owned by the context
};

class AdvancedDriverInterface : public BasicDriverInterface {
 public:
  bool IsAdvanced() const override { return true; }
};

}  // namespace

std::unique_ptr<DriverInterface> MakeDriverInterface(bool advanced) {
  if (advanced) return std::make_unique<AdvancedDriverInterface>();
  return std::make_unique<BasicDriverInterface>();
}

}  // namespace vantrel::printers
