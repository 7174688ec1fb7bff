// A printer's device context for drawing (Windows only: GDI). Linux prints
// through documents instead (test_label_pdf.h).
#pragma once

#include <cstdint>
#include <memory>
#include <string>
#include <string_view>

#include "platform/spooler.h"
#include "platform/win32_errors.h"

namespace vantrel::platform {

// What the printer's driver says about itself through its private escapes,
// read once when the context is made.
struct DriverEscapes {
  // Bit 0 of byte 10 of the block escape 11002 answers; kept for the
  // driver's sake, nothing here depends on it.
  bool capability_flag = false;
  // Escape 11052 answered 1: the driver prints test labels itself.
  bool prints_test_labels = false;
};

class PrinterDeviceContext {
 public:
  // Deletes the device context; a document still open is ended first.
  virtual ~PrinterDeviceContext() = default;

  // LOGPIXELSX and LOGPIXELSY.
  virtual int32_t DotsPerInchX() const = 0;
  virtual int32_t DotsPerInchY() const = 0;
  // The paper of the printer's default device mode.
  virtual PaperFields Paper() const = 0;
  virtual DriverEscapes Escapes() const = 0;

  // StartDoc with `document_name`, then StartPage.
  virtual PlatformResult StartDocument(std::string_view document_name) = 0;
  // PatBlt BLACKNESS over [left, right) by [top, bottom), in device dots.
  virtual void FillBlack(int32_t left, int32_t top, int32_t right, int32_t bottom) = 0;
  // Hands the label to a driver that prints test labels itself: escape 11052
  // with a block made of the kind (4 bytes, little-endian) followed by the
  // printer's default device mode. Inside a document.
  virtual PlatformResult HandTestLabelToDriver(uint32_t kind) = 0;
  // EndPage, then EndDoc; the first failure.
  virtual PlatformResult EndDocument() = 0;
};

// CreateDC("WINSPOOL", printer_name) with the printer's default device mode.
// The system's error (or kErrorInvalidPrinterName) when no context can be
// made. Blocks on the spooler and the driver; any thread, one thread at a
// time per context.
PlatformResult OpenPrinterDeviceContext(const std::string& printer_name,
                                        std::unique_ptr<PrinterDeviceContext>* context);

}  // namespace vantrel::platform
