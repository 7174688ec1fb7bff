#include "printers/test_label.h"

#include <gtest/gtest.h>

#include <vector>

#include "platform/win32_errors.h"

namespace vantrel {
namespace {

constexpr LabelPaper kFourBySix{true, 1016, true, 1524};
constexpr LabelPaper kSmallLabel{true, 381, true, 254};  // 38.1 by 25.4 mm
constexpr DeviceResolution k203Dpi{203, 203};
constexpr DeviceResolution k300Dpi{300, 300};

// Remembers what was drawn; can be told to fail a step.
class RecordingCanvas : public TestLabelCanvas {
 public:
  explicit RecordingCanvas(DeviceResolution resolution) : resolution_(resolution) {}

  DeviceResolution Resolution() const override { return resolution_; }
  platform::PlatformResult BeginPage(const LabelSize& size) override {
    pages_begun.push_back(size);
    return begin_error;
  }
  void FillBlack(const DeviceRect& rect) override {
    EXPECT_EQ(pages_begun.size(), 1u) << "filled outside a page";
    EXPECT_EQ(pages_ended, 0) << "filled after the page ended";
    filled.push_back(rect);
  }
  platform::PlatformResult EndPage() override {
    ++pages_ended;
    return end_error;
  }

  long begin_error = 0;
  long end_error = 0;
  std::vector<LabelSize> pages_begun;
  std::vector<DeviceRect> filled;
  int pages_ended = 0;

 private:
  DeviceResolution resolution_;
};

std::vector<DeviceRect> Draw(const LabelPaper& paper, DeviceResolution resolution) {
  RecordingCanvas canvas(resolution);
  EXPECT_EQ(DrawTestLabel(canvas, TestLabelKind::kStandard, paper), 0);
  EXPECT_EQ(canvas.pages_ended, 1);
  return canvas.filled;
}

TEST(TestLabelSizeTest, PaperFieldsBecomeLabelSizeAndScale) {
  EXPECT_EQ(TestLabelSizeOf(kFourBySix), (LabelSize{95600, 152400}));
  EXPECT_EQ(TestLabelScale(TestLabelSizeOf(kFourBySix)), 1.0);  // capped, never enlarged

  EXPECT_EQ(TestLabelSizeOf(kSmallLabel), (LabelSize{32100, 25400}));
  EXPECT_DOUBLE_EQ(TestLabelScale(TestLabelSizeOf(kSmallLabel)), 32100.0 / 50800.0);

  // A mode without paper fields is the design's own 2 by 1 inches.
  EXPECT_EQ(TestLabelSizeOf({}), (LabelSize{50800, 25400}));
  EXPECT_EQ(TestLabelScale(TestLabelSizeOf({})), 1.0);

  // Each field is used on its own; a short label limits the scale by its length.
  EXPECT_EQ(TestLabelSizeOf({true, 381, false, 0}), (LabelSize{32100, 25400}));
  EXPECT_EQ(TestLabelSizeOf({false, 0, true, 127}), (LabelSize{50800, 12700}));
  EXPECT_DOUBLE_EQ(TestLabelScale(TestLabelSizeOf({true, 1016, true, 127})), 0.5);

  // Paper narrower than the margins collapses the design instead of mirroring it.
  EXPECT_EQ(TestLabelScale(TestLabelSizeOf({true, 40, true, 254})), 0.0);
}

// Expected dots worked out by hand: scale and round each coordinate, add 10
// to x, then multiply by dpi / 1000 rounding halves up.
TEST(TestLabelDrawTest, FullScaleRectanglesInDots) {
  const std::vector<DeviceRect> at203 = Draw(kFourBySix, k203Dpi);
  ASSERT_EQ(at203.size(), 21u);
  EXPECT_EQ(at203[0], (DeviceRect{2, 0, 408, 2}));      // (0,0,2000,10)
  EXPECT_EQ(at203[2], (DeviceRect{2, 201, 408, 203}));  // (2000,990,0,1000) reversed in x
  EXPECT_EQ(at203[3], (DeviceRect{2, 0, 4, 203}));      // (0,1000,10,0) reversed in x and y
  EXPECT_EQ(at203[8], (DeviceRect{22, 41, 104, 51}));   // (100,200,500,250)

  const std::vector<DeviceRect> at300 = Draw(kFourBySix, k300Dpi);
  ASSERT_EQ(at300.size(), 21u);
  EXPECT_EQ(at300[0], (DeviceRect{3, 0, 603, 3}));
  EXPECT_EQ(at300[2], (DeviceRect{3, 297, 603, 300}));
  EXPECT_EQ(at300[3], (DeviceRect{3, 0, 6, 300}));
  EXPECT_EQ(at300[8], (DeviceRect{33, 60, 153, 75}));
  // Resolutions across and down each apply to their own axis.
  EXPECT_EQ(TestLabelDeviceRect({0, 1000, 10, 0}, 1.0, {600, 300}), (DeviceRect{6, 0, 12, 300}));
}

TEST(TestLabelDrawTest, ShrunkRectanglesInDots) {
  // Scale 32100/50800: 10 -> 6, 100 -> 63, 200 -> 126, 250 -> 158, 500 -> 316,
  // 990 -> 626, 1000 -> 632, 2000 -> 1264 design units.
  const std::vector<DeviceRect> at203 = Draw(kSmallLabel, k203Dpi);
  ASSERT_EQ(at203.size(), 21u);
  EXPECT_EQ(at203[0], (DeviceRect{2, 0, 259, 1}));
  EXPECT_EQ(at203[2], (DeviceRect{2, 127, 259, 128}));
  EXPECT_EQ(at203[8], (DeviceRect{15, 26, 66, 32}));

  const std::vector<DeviceRect> at300 = Draw(kSmallLabel, k300Dpi);
  ASSERT_EQ(at300.size(), 21u);
  EXPECT_EQ(at300[0], (DeviceRect{3, 0, 382, 2}));
  EXPECT_EQ(at300[2], (DeviceRect{3, 188, 382, 190}));
  EXPECT_EQ(at300[8], (DeviceRect{22, 38, 98, 47}));
}

TEST(TestLabelDrawTest, EveryRectangleIsNormalisedAndInsideTheDesign) {
  for (const LabelPaper& paper : {kFourBySix, kSmallLabel}) {
    const double scale = TestLabelScale(TestLabelSizeOf(paper));
    for (const DeviceResolution resolution : {k203Dpi, k300Dpi, DeviceResolution{600, 300}}) {
      // The design's far corner, 2010 by 1000 units with the x offset, in dots.
      const double right_edge = (2000 * scale + 10) * resolution.dots_per_inch_x / 1000 + 1;
      const double bottom_edge = 1000 * scale * resolution.dots_per_inch_y / 1000 + 1;
      for (const DeviceRect& rect : Draw(paper, resolution)) {
        EXPECT_LT(rect.left, rect.right);
        EXPECT_LT(rect.top, rect.bottom);
        EXPECT_GE(rect.left, 0);
        EXPECT_GE(rect.top, 0);
        EXPECT_LE(rect.right, right_edge);
        EXPECT_LE(rect.bottom, bottom_edge);
      }
    }
  }
}

TEST(TestLabelDrawTest, OnePageOfTheLabelsSizeWhateverTheKind) {
  RecordingCanvas standard(k203Dpi);
  EXPECT_EQ(DrawTestLabel(standard, TestLabelKind::kStandard, kSmallLabel), 0);
  EXPECT_EQ(standard.pages_begun, (std::vector<LabelSize>{{32100, 25400}}));
  EXPECT_EQ(standard.filled.size(), 21u);
  EXPECT_EQ(standard.pages_ended, 1);

  RecordingCanvas blank(k203Dpi);
  EXPECT_EQ(DrawTestLabel(blank, TestLabelKind::kBlank, kFourBySix), 0);
  EXPECT_EQ(blank.pages_begun, (std::vector<LabelSize>{{95600, 152400}}));
  EXPECT_TRUE(blank.filled.empty());
  EXPECT_EQ(blank.pages_ended, 1);
}

TEST(TestLabelDrawTest, CanvasFailuresAreAnswered) {
  RecordingCanvas refuses_page(k300Dpi);
  refuses_page.begin_error = platform::kErrorAccessDenied;
  EXPECT_EQ(DrawTestLabel(refuses_page, TestLabelKind::kStandard, kFourBySix),
            platform::kErrorAccessDenied);
  EXPECT_TRUE(refuses_page.filled.empty());
  EXPECT_EQ(refuses_page.pages_ended, 0);  // nothing to end

  RecordingCanvas fails_end(k300Dpi);
  fails_end.end_error = platform::kErrorCantWrite;
  EXPECT_EQ(DrawTestLabel(fails_end, TestLabelKind::kStandard, kFourBySix),
            platform::kErrorCantWrite);
  EXPECT_EQ(fails_end.filled.size(), 21u);
}

}  // namespace
}  // namespace vantrel
