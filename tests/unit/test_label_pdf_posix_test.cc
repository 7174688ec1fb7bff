#include "printers/test_label_pdf.h"

#include <gtest/gtest.h>

#include <array>
#include <string>

#include "platform/win32_errors.h"
#include "unit/pdf_facts.h"

namespace vantrel {
namespace {

TEST(TestLabelPdfTest, StandardLabelIsOnePageOfTheLabelsSizeWithTheDesign) {
  std::string pdf;
  ASSERT_EQ(
      RenderTestLabelPdf(TestLabelKind::kStandard, {true, 1016, true, 1524}, {203, 203}, &pdf), 0);
  ASSERT_EQ(pdf.rfind("%PDF-", 0), 0u);
  const testing::PdfFacts facts = testing::ReadPdfFacts(pdf);
  // 95.6 by 152.4 mm in points of 1/72 inch.
  testing::ExpectOnePageOfPoints(facts, 95.6 / 25.4 * 72, 432);
  // Each rectangle sits where the printer's dots would, measured from the top
  // left corner; the drawing library keeps 1/256 point.
  ASSERT_EQ(facts.rectangles.size(), 21u);
  for (size_t i = 0; i < facts.rectangles.size(); ++i) {
    const DeviceRect dots = TestLabelDeviceRect(TestLabelDesign()[i], 1.0, {203, 203});
    const std::array<double, 4> points = {dots.left * 72.0 / 203, dots.top * 72.0 / 203,
                                          (dots.right - dots.left) * 72.0 / 203,
                                          (dots.bottom - dots.top) * 72.0 / 203};
    for (size_t k = 0; k < 4; ++k) EXPECT_NEAR(facts.rectangles[i][k], points[k], 0.005) << i;
  }
}

TEST(TestLabelPdfTest, BlankLabelIsOneEmptyPage) {
  std::string pdf;
  ASSERT_EQ(RenderTestLabelPdf(TestLabelKind::kBlank, {true, 381, true, 254}, {300, 300}, &pdf), 0);
  const testing::PdfFacts facts = testing::ReadPdfFacts(pdf);
  testing::ExpectOnePageOfPoints(facts, 32.1 / 25.4 * 72, 72);
  EXPECT_TRUE(facts.rectangles.empty());
}

TEST(TestLabelPdfTest, ImpossibleSizesAreRefused) {
  std::string pdf = "untouched";
  EXPECT_EQ(RenderTestLabelPdf(TestLabelKind::kStandard, {}, {0, 203}, &pdf),
            platform::kErrorInvalidParameter);
  // Paper narrower than its margins leaves no label to print on.
  EXPECT_EQ(RenderTestLabelPdf(TestLabelKind::kStandard, {true, 60, true, 254}, {203, 203}, &pdf),
            platform::kErrorInvalidParameter);
  EXPECT_EQ(pdf, "untouched");
}

}  // namespace
}  // namespace vantrel
