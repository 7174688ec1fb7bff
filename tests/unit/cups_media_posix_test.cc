// A queue's default paper from IPP messages built in memory.
#include <gtest/gtest.h>

#include <optional>
#include <string>

#include "platform/cups/cups_media_posix.h"

namespace vantrel::platform::cups {
namespace {

struct Defaults {
  std::optional<std::pair<int, int>> media_col;  // x and y in hundredths of a millimetre
  std::string media;                             // media-default, "" for none
};

PaperFields PaperOf(const Defaults& defaults) {
  ipp_t* message = ippNew();
  ippAddString(message, IPP_TAG_OPERATION, IPP_TAG_CHARSET, "attributes-charset", nullptr, "utf-8");
  ippAddString(message, IPP_TAG_PRINTER, IPP_TAG_NAME, "printer-name", nullptr, "Labels");
  if (defaults.media_col) {
    ipp_t* size = ippNew();
    ippAddInteger(size, IPP_TAG_ZERO, IPP_TAG_INTEGER, "x-dimension", defaults.media_col->first);
    ippAddInteger(size, IPP_TAG_ZERO, IPP_TAG_INTEGER, "y-dimension", defaults.media_col->second);
    ipp_t* col = ippNew();
    ippAddCollection(col, IPP_TAG_ZERO, "media-size", size);
    ippAddCollection(message, IPP_TAG_PRINTER, "media-col-default", col);
    ippDelete(size);
    ippDelete(col);
  }
  if (!defaults.media.empty()) {
    ippAddString(message, IPP_TAG_PRINTER, IPP_TAG_KEYWORD, "media-default", nullptr,
                 defaults.media.c_str());
  }
  PaperFields paper;
  int groups = 0;
  ForEachGroup(message, IPP_TAG_PRINTER, [&](const AttributeGroup& group) {
    paper = DefaultPaperFrom(group);
    ++groups;
  });
  EXPECT_EQ(groups, 1);
  ippDelete(message);
  return paper;
}

TEST(CupsMediaTest, DefaultPaperInTenthsOfAMillimetre) {
  struct Case {
    const char* what;
    Defaults defaults;
    PaperFields paper;
  } cases[] = {
      {"a 4 by 6 inch collection", {std::pair{10160, 15240}, ""}, {true, 1016, true, 1524}},
      {"the collection wins over the name",
       {std::pair{5080, 2540}, "na_letter_8.5x11in"},
       {true, 508, true, 254}},
      {"halves round up", {std::pair{3815, 2544}, ""}, {true, 382, true, 254}},
      {"a self-describing label name",
       {std::nullopt, "oe_2x1-label_2x1in"},
       {true, 508, true, 254}},
      {"a legacy name", {std::nullopt, "Letter"}, {true, 2159, true, 2794}},
      {"a name no table knows", {std::nullopt, "roll-of-tape"}, {}},
      {"neither", {std::nullopt, ""}, {}},
  };
  for (const Case& c : cases) EXPECT_EQ(PaperOf(c.defaults), c.paper) << c.what;
}

}  // namespace
}  // namespace vantrel::platform::cups
