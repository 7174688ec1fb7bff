#include "printers/test_label_pdf.h"

#include <gtest/gtest.h>
#include <zlib.h>

#include <array>
#include <regex>
#include <string>
#include <vector>

#include "platform/win32_errors.h"

namespace vantrel {
namespace {

struct PdfFacts {
  int pages = 0;
  std::vector<std::array<double, 4>> media_boxes;
  // The "x y w h re" operands of the page contents, in points.
  std::vector<std::array<double, 4>> rectangles;
};

std::string Inflate(const std::string& compressed) {
  std::string out(1 << 20, '\0');
  uLongf size = out.size();
  const int status =
      uncompress(reinterpret_cast<Bytef*>(out.data()), &size,
                 reinterpret_cast<const Bytef*>(compressed.data()), compressed.size());
  EXPECT_EQ(status, Z_OK);
  out.resize(status == Z_OK ? size : 0);
  return out;
}

std::array<double, 4> Numbers(const std::smatch& match) {
  return {std::stod(match[1]), std::stod(match[2]), std::stod(match[3]), std::stod(match[4])};
}

std::vector<std::array<double, 4>> Rectangles(const std::string& pdf) {
  static const std::regex stream(R"(/Filter /FlateDecode[^>]*>>\s*stream\r?\n)");
  static const std::regex rectangle(R"(([-\d.]+) ([-\d.]+) ([-\d.]+) ([-\d.]+) re\b)");
  std::vector<std::array<double, 4>> found;
  for (std::sregex_iterator it(pdf.begin(), pdf.end(), stream), end; it != end; ++it) {
    const size_t start = it->position() + it->length();
    const std::string contents = Inflate(pdf.substr(start, pdf.find("endstream", start) - start));
    for (std::sregex_iterator re(contents.begin(), contents.end(), rectangle); re != end; ++re) {
      found.push_back(Numbers(*re));
    }
  }
  return found;
}

PdfFacts Read(const std::string& pdf) {
  PdfFacts facts;
  static const std::regex page(R"(/Type\s*/Page\b)");
  facts.pages =
      std::distance(std::sregex_iterator(pdf.begin(), pdf.end(), page), std::sregex_iterator());
  static const std::regex box(R"(/MediaBox\s*\[\s*([-\d.]+) ([-\d.]+) ([-\d.]+) ([-\d.]+)\s*\])");
  for (std::sregex_iterator it(pdf.begin(), pdf.end(), box), end; it != end; ++it) {
    facts.media_boxes.push_back(Numbers(*it));
  }
  facts.rectangles = Rectangles(pdf);
  return facts;
}

void ExpectOnePageOfPoints(const PdfFacts& facts, double width, double length) {
  EXPECT_EQ(facts.pages, 1);
  ASSERT_EQ(facts.media_boxes.size(), 1u);
  const std::array<double, 4>& box = facts.media_boxes[0];
  EXPECT_EQ(box[0], 0);
  EXPECT_EQ(box[1], 0);
  EXPECT_NEAR(box[2], width, 0.01);
  EXPECT_NEAR(box[3], length, 0.01);
}

TEST(TestLabelPdfTest, StandardLabelIsOnePageOfTheLabelsSizeWithTheDesign) {
  std::string pdf;
  ASSERT_EQ(
      RenderTestLabelPdf(TestLabelKind::kStandard, {true, 1016, true, 1524}, {203, 203}, &pdf), 0);
  ASSERT_EQ(pdf.rfind("%PDF-", 0), 0u);
  const PdfFacts facts = Read(pdf);
  // 95.6 by 152.4 mm in points of 1/72 inch.
  ExpectOnePageOfPoints(facts, 95.6 / 25.4 * 72, 432);
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
  const PdfFacts facts = Read(pdf);
  ExpectOnePageOfPoints(facts, 32.1 / 25.4 * 72, 72);
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
