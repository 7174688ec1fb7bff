// A one-page PDF document drawn in printer dots: the page has the label's
// size, and black rectangles are given in dots at the resolution the page
// was started with, so a PDF renderer sees what the printer would print.
// Linux only (cairo); Windows draws on the printer's device context.
#pragma once

#include <cstdint>
#include <memory>
#include <string>

#include "platform/win32_errors.h"

namespace vantrel::platform {

struct PdfPageSetup {
  int64_t width_um = 0;   // the page across, in micrometres
  int64_t length_um = 0;  // the page down, in micrometres
  int32_t dots_per_inch_x = 0;
  int32_t dots_per_inch_y = 0;
};

class PdfDotPage {
 public:
  virtual ~PdfDotPage() = default;

  // Fills [left, right) by [top, bottom), in dots, black. Never fails here:
  // a drawing error is kept and answered by Finish. One thread at a time.
  virtual void FillBlack(int32_t left, int32_t top, int32_t right, int32_t bottom) = 0;
  // Ends the page and the document and hands over its bytes; on failure a
  // Windows error number and `pdf` unchanged. Call once.
  virtual PlatformResult Finish(std::string* pdf) = 0;
};

// Starts a document of one page of `setup`'s size. kErrorInvalidParameter
// when a size or a resolution is not positive; kErrorNotEnoughMemory when
// the drawing library cannot start one. Does not block; any thread.
PlatformResult StartPdfDotPage(const PdfPageSetup& setup, std::unique_ptr<PdfDotPage>* page);

}  // namespace vantrel::platform
