#include "printers/test_label.h"

#include <algorithm>

namespace vantrel {
namespace {

constexpr std::array<DesignRect, 21> kDesign = {{
    // Outer frame, 10 units wide.
    {0, 0, 2000, 10},
    {1990, 0, 2000, 1000},
    {2000, 990, 0, 1000},
    {0, 1000, 10, 0},
    // Inner frame.
    {30, 30, 1970, 40},
    {1960, 30, 1970, 970},
    {1970, 960, 30, 970},
    {30, 970, 40, 30},
    // T
    {100, 200, 500, 250},
    {275, 200, 325, 800},
    // E
    {600, 200, 950, 250},
    {600, 475, 900, 525},
    {600, 750, 950, 800},
    {600, 200, 650, 800},
    // S
    {1050, 200, 1400, 250},
    {1050, 475, 1400, 525},
    {1050, 750, 1400, 800},
    {1050, 200, 1100, 525},
    {1350, 475, 1400, 800},
    // T
    {1500, 200, 1900, 250},
    {1675, 200, 1725, 800},
}};

// Paper widths lose this much (tenths of a millimetre) to the printer's margins.
constexpr int32_t kPaperWidthMargin = 60;
constexpr int64_t kMicrometresPerPaperUnit = 100;
constexpr int32_t kDesignUnitsPerInch = 1000;

// value * numerator / denominator rounded half away from zero, computed
// without overflow, as device-unit conversions round.
int32_t MulDivRounded(int32_t value, int32_t numerator, int32_t denominator) {
  const int64_t product = int64_t{value} * numerator;
  const int64_t half = denominator / 2;
  return static_cast<int32_t>((product >= 0 ? product + half : product - half) / denominator);
}

int32_t ScaleDesignUnits(int32_t value, double scale) {
  return static_cast<int32_t>(value * scale + 0.5);
}

int32_t DeviceX(int32_t design_x, double scale, const DeviceResolution& resolution) {
  return MulDivRounded(ScaleDesignUnits(design_x, scale) + kDesignOffsetX,
                       resolution.dots_per_inch_x, kDesignUnitsPerInch);
}

int32_t DeviceY(int32_t design_y, double scale, const DeviceResolution& resolution) {
  return MulDivRounded(ScaleDesignUnits(design_y, scale), resolution.dots_per_inch_y,
                       kDesignUnitsPerInch);
}

void DrawDesign(TestLabelCanvas& canvas, double scale, const DeviceResolution& resolution) {
  for (const DesignRect& rect : kDesign) {
    canvas.FillBlack(TestLabelDeviceRect(rect, scale, resolution));
  }
}

}  // namespace

const std::array<DesignRect, 21>& TestLabelDesign() { return kDesign; }

LabelSize TestLabelSizeOf(const LabelPaper& paper) {
  LabelSize size{kDesignWidthUm, kDesignLengthUm};
  if (paper.has_width) {
    size.width_um = (int64_t{paper.paper_width} - kPaperWidthMargin) * kMicrometresPerPaperUnit;
  }
  if (paper.has_length) {
    size.length_um = int64_t{paper.paper_length} * kMicrometresPerPaperUnit;
  }
  return size;
}

double TestLabelScale(const LabelSize& size) {
  const double across = static_cast<double>(size.width_um) / kDesignWidthUm;
  const double down = static_cast<double>(size.length_um) / kDesignLengthUm;
  // A paper narrower than its margins collapses the design rather than
  // mirroring it.
  return std::clamp(std::min(across, down), 0.0, 1.0);
}

DeviceRect TestLabelDeviceRect(const DesignRect& rect, double scale,
                               const DeviceResolution& resolution) {
  // Scaling and conversion keep order, so normalising first is the same as
  // normalising the dots.
  const auto [left, right] = std::minmax(rect.left, rect.right);
  const auto [top, bottom] = std::minmax(rect.top, rect.bottom);
  return {DeviceX(left, scale, resolution), DeviceY(top, scale, resolution),
          DeviceX(right, scale, resolution), DeviceY(bottom, scale, resolution)};
}

platform::PlatformResult DrawTestLabel(TestLabelCanvas& canvas, TestLabelKind kind,
                                       const LabelPaper& paper) {
  const LabelSize size = TestLabelSizeOf(paper);
  const DeviceResolution resolution = canvas.Resolution();
  if (const long error = canvas.BeginPage(size)) return error;
  if (kind == TestLabelKind::kStandard) DrawDesign(canvas, TestLabelScale(size), resolution);
  return canvas.EndPage();
}

}  // namespace vantrel
