// How the library reaches a printer's driver: through the spooler only
// (basic) or through the vendor's interface module first (advanced). A
// printer's context chooses the kind when it opens the printer and hands the
// interface its spooler handle; the operations themselves live in the
// subclasses.
#pragma once

#include <memory>

namespace vantrel::platform {
class SpoolerPrinter;
}

namespace vantrel::printers {

class DriverInterface {
 public:
  virtual ~DriverInterface() = default;
  // Keeps the spooler handle, which the context owns and outlives us. Called
  // once, under the context's lock.
  virtual void Attach(platform::SpoolerPrinter* printer) = 0;
  // The only way other code tells the two kinds apart. Any thread.
  virtual bool IsAdvanced() const = 0;
};

// The interface for a printer whose spooler data does (advanced) or does not
// hold the vendor's interface value. Never null.
std::unique_ptr<DriverInterface> MakeDriverInterface(bool advanced);

}  // namespace vantrel::printers
