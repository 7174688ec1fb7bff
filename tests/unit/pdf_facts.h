// What tests read back from a PDF the library wrote: its pages, their media
// boxes and the rectangles its page contents fill.
#pragma once

#include <array>
#include <string>
#include <vector>

namespace vantrel::testing {

struct PdfFacts {
  int pages = 0;
  std::vector<std::array<double, 4>> media_boxes;
  // The "x y w h re" operands of the page contents, in points.
  std::vector<std::array<double, 4>> rectangles;
};

PdfFacts ReadPdfFacts(const std::string& pdf);

// One page whose media box is `width` by `length` points.
void ExpectOnePageOfPoints(const PdfFacts& facts, double width, double length);

}  // namespace vantrel::testing
