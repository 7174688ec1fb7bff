#include "unit/pdf_facts.h"

#include <gtest/gtest.h>
#include <zlib.h>

#include <iterator>
#include <regex>

namespace vantrel::testing {
namespace {

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

}  // namespace

PdfFacts ReadPdfFacts(const std::string& pdf) {
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

}  // namespace vantrel::testing
