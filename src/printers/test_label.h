// The library's own test label: a 2 inch by 1 inch design of black
// rectangles (two frames and four block letters), scaled down to fit a
// smaller label and drawn on whatever canvas the target offers (a printer's
// device context, a PDF page). Pure geometry; no OS calls.
#pragma once

#include <array>
#include <cstdint>

#include "platform/win32_errors.h"

namespace vantrel {

// A rectangle of the design in thousandths of an inch. Some are written
// right-to-left or bottom-to-top; they mean their normalised form.
struct DesignRect {
  int32_t left;
  int32_t top;
  int32_t right;
  int32_t bottom;
};

// A rectangle in device dots, normalised: left <= right, top <= bottom.
// Covers [left, right) by [top, bottom).
struct DeviceRect {
  int32_t left = 0;
  int32_t top = 0;
  int32_t right = 0;
  int32_t bottom = 0;
  friend bool operator==(const DeviceRect&, const DeviceRect&) = default;
};

// Dots per inch across (x) and down (y).
struct DeviceResolution {
  int32_t dots_per_inch_x = 0;
  int32_t dots_per_inch_y = 0;
};

// The paper fields of a printer's device mode, in tenths of a millimetre;
// a size the mode does not carry has its flag false.
struct LabelPaper {
  bool has_width = false;
  int32_t paper_width = 0;
  bool has_length = false;
  int32_t paper_length = 0;
};

// The printable label in micrometres.
struct LabelSize {
  int64_t width_um = 0;
  int64_t length_um = 0;
  friend bool operator==(const LabelSize&, const LabelSize&) = default;
};

enum class TestLabelKind { kBlank = 0, kStandard = 1 };

constexpr int64_t kDesignWidthUm = 50800;   // 2 inches
constexpr int64_t kDesignLengthUm = 25400;  // 1 inch
// Design units added to every scaled x before it becomes dots.
constexpr int32_t kDesignOffsetX = 10;

// The design: 21 rectangles, drawn in this order.
const std::array<DesignRect, 21>& TestLabelDesign();

// The label's size from the paper fields: the width loses 6 mm of margin;
// a missing width or length is the design's own (2 by 1 inch).
LabelSize TestLabelSizeOf(const LabelPaper& paper);

// The factor the design is drawn at: the smallest of width / 2 inches,
// length / 1 inch and 1.0, so the design shrinks to fit and never grows;
// 0 for a label with no width left after its margins.
double TestLabelScale(const LabelSize& size);

// One rectangle of the design in device dots at `scale` and `resolution`:
// each coordinate scaled and rounded, x moved by kDesignOffsetX, then
// converted to dots with rounding. The answer is normalised.
DeviceRect TestLabelDeviceRect(const DesignRect& rect, double scale,
                               const DeviceResolution& resolution);

// Where the test label is drawn. Implementations answer Windows error
// numbers and never throw.
class TestLabelCanvas {
 public:
  virtual ~TestLabelCanvas() = default;
  // The device's dots per inch; asked before the page begins.
  virtual DeviceResolution Resolution() const = 0;
  // Starts the one page of a label of `size`.
  virtual platform::PlatformResult BeginPage(const LabelSize& size) = 0;
  // Fills `rect` black; called only between BeginPage and EndPage.
  virtual void FillBlack(const DeviceRect& rect) = 0;
  // Ends the page and the document.
  virtual platform::PlatformResult EndPage() = 0;
};

// Draws the test label of `kind` for a label of `paper` on `canvas`: one
// page, the 21 rectangles for the standard label, nothing for the blank one
// (it only feeds a label). Success is 0; a canvas failure is its error
// number, and a page that began is always ended. Blocks as long as the
// canvas does; any thread, one drawing per canvas at a time.
platform::PlatformResult DrawTestLabel(TestLabelCanvas& canvas, TestLabelKind kind,
                                       const LabelPaper& paper);

}  // namespace vantrel
