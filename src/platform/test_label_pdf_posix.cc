#include "platform/test_label_pdf.h"

#include <cairo-pdf.h>
#include <cairo.h>

namespace vantrel::platform {
namespace {

constexpr double kPointsPerInch = 72.0;
constexpr double kMicrometresPerInch = 25400.0;

PlatformResult ErrorOfStatus(cairo_status_t status) {
  switch (status) {
    case CAIRO_STATUS_SUCCESS:
      return kErrorSuccess;
    case CAIRO_STATUS_NO_MEMORY:
      return kErrorNotEnoughMemory;
    case CAIRO_STATUS_INVALID_SIZE:
      return kErrorInvalidParameter;
    case CAIRO_STATUS_WRITE_ERROR:
      return kErrorCantWrite;
    default:
      return kErrorInternalError;
  }
}

double Points(int64_t micrometres) {
  return static_cast<double>(micrometres) * kPointsPerInch / kMicrometresPerInch;
}

cairo_status_t AppendBytes(void* closure, const unsigned char* data, unsigned int length) {
  static_cast<std::string*>(closure)->append(reinterpret_cast<const char*>(data), length);
  return CAIRO_STATUS_SUCCESS;
}

class CairoPdfDotPage final : public PdfDotPage {
 public:
  explicit CairoPdfDotPage(const PdfPageSetup& setup)
      : surface_(cairo_pdf_surface_create_for_stream(AppendBytes, &bytes_, Points(setup.width_um),
                                                     Points(setup.length_um))),
        cairo_(cairo_create(surface_)) {
    // Plain objects, no object streams: the simplest readers can page it.
    cairo_pdf_surface_restrict_to_version(surface_, CAIRO_PDF_VERSION_1_4);
    // From here on a unit is one printer dot.
    cairo_scale(cairo_, kPointsPerInch / setup.dots_per_inch_x,
                kPointsPerInch / setup.dots_per_inch_y);
    // Whole dots only, as the printer prints them.
    cairo_set_antialias(cairo_, CAIRO_ANTIALIAS_NONE);
    cairo_set_source_rgb(cairo_, 0, 0, 0);
  }

  ~CairoPdfDotPage() override {
    cairo_destroy(cairo_);
    cairo_surface_destroy(surface_);
  }

  CairoPdfDotPage(const CairoPdfDotPage&) = delete;
  CairoPdfDotPage& operator=(const CairoPdfDotPage&) = delete;

  PlatformResult status() const { return ErrorOfStatus(cairo_status(cairo_)); }

  void FillBlack(int32_t left, int32_t top, int32_t right, int32_t bottom) override {
    cairo_rectangle(cairo_, left, top, right - left, bottom - top);
    cairo_fill(cairo_);
  }

  PlatformResult Finish(std::string* pdf) override {
    if (const long error = status()) return error;
    cairo_show_page(cairo_);
    cairo_surface_finish(surface_);
    if (const long error = ErrorOfStatus(cairo_surface_status(surface_))) return error;
    pdf->swap(bytes_);
    return kErrorSuccess;
  }

 private:
  std::string bytes_;  // written by the surface as it goes, so declared before it
  cairo_surface_t* surface_;
  cairo_t* cairo_;
};

}  // namespace

PlatformResult StartPdfDotPage(const PdfPageSetup& setup, std::unique_ptr<PdfDotPage>* page) {
  if (setup.width_um <= 0 || setup.length_um <= 0 || setup.dots_per_inch_x <= 0 ||
      setup.dots_per_inch_y <= 0) {
    return kErrorInvalidParameter;
  }
  auto started = std::make_unique<CairoPdfDotPage>(setup);
  if (const long error = started->status()) return error;
  *page = std::move(started);
  return kErrorSuccess;
}

}  // namespace vantrel::platform
