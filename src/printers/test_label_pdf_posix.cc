#include "printers/test_label_pdf.h"

#include <memory>

#include "platform/test_label_pdf.h"

namespace vantrel {
namespace {

class PdfTestLabelCanvas final : public TestLabelCanvas {
 public:
  PdfTestLabelCanvas(const DeviceResolution& resolution, std::string* pdf)
      : resolution_(resolution), pdf_(pdf) {}

  DeviceResolution Resolution() const override { return resolution_; }

  platform::PlatformResult BeginPage(const LabelSize& size) override {
    return platform::StartPdfDotPage(
        {size.width_um, size.length_um, resolution_.dots_per_inch_x, resolution_.dots_per_inch_y},
        &page_);
  }

  void FillBlack(const DeviceRect& rect) override {
    page_->FillBlack(rect.left, rect.top, rect.right, rect.bottom);
  }

  platform::PlatformResult EndPage() override { return page_->Finish(pdf_); }

 private:
  const DeviceResolution resolution_;
  std::string* const pdf_;
  std::unique_ptr<platform::PdfDotPage> page_;
};

}  // namespace

platform::PlatformResult RenderTestLabelPdf(TestLabelKind kind, const LabelPaper& paper,
                                            const DeviceResolution& resolution, std::string* pdf) {
  PdfTestLabelCanvas canvas(resolution, pdf);
  return DrawTestLabel(canvas, kind, paper);
}

}  // namespace vantrel
