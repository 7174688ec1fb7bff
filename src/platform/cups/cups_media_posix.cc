#include "platform/cups/cups_media_posix.h"

#include <cups/cups.h>

#include <string>

namespace vantrel::platform::cups {

const char* const kPaperAttributes[] = {"media-col-default", "media-default"};
const int kPaperAttributeCount = 2;

namespace {

int32_t TenthsOfMillimetre(int hundredths) { return (hundredths + 5) / 10; }

PaperFields PaperOfSize(int width_hundredths, int length_hundredths) {
  PaperFields paper;
  paper.has_width = width_hundredths > 0;
  paper.paper_width = paper.has_width ? TenthsOfMillimetre(width_hundredths) : 0;
  paper.has_length = length_hundredths > 0;
  paper.paper_length = paper.has_length ? TenthsOfMillimetre(length_hundredths) : 0;
  return paper;
}

// The integer member `name` of a collection; 0 when it has none.
int MemberInteger(ipp_t* collection, const char* name) {
  ipp_attribute_t* member = ippFindAttribute(collection, name, IPP_TAG_INTEGER);
  return member != nullptr ? ippGetInteger(member, 0) : 0;
}

bool PaperFromCollection(ipp_attribute_t* media_col, PaperFields* paper) {
  if (media_col == nullptr || ippGetValueTag(media_col) != IPP_TAG_BEGIN_COLLECTION) return false;
  ipp_t* size = nullptr;
  ipp_attribute_t* member =
      ippFindAttribute(ippGetCollection(media_col, 0), "media-size", IPP_TAG_BEGIN_COLLECTION);
  if (member != nullptr) size = ippGetCollection(member, 0);
  if (size == nullptr) return false;
  *paper = PaperOfSize(MemberInteger(size, "x-dimension"), MemberInteger(size, "y-dimension"));
  return paper->has_width || paper->has_length;
}

bool PaperFromName(const std::string& name, PaperFields* paper) {
  if (name.empty()) return false;
  pwg_media_t* media = pwgMediaForPWG(name.c_str());
  if (media == nullptr) media = pwgMediaForLegacy(name.c_str());
  if (media == nullptr) media = pwgMediaForPPD(name.c_str());
  if (media == nullptr) return false;
  *paper = PaperOfSize(media->width, media->length);
  return true;
}

}  // namespace

PaperFields DefaultPaperFrom(const AttributeGroup& group) {
  PaperFields paper;
  if (PaperFromCollection(group.Find("media-col-default"), &paper)) return paper;
  if (PaperFromName(group.Text("media-default"), &paper)) return paper;
  return {};
}

}  // namespace vantrel::platform::cups
