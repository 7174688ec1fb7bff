// Feeds arbitrary bytes, read as an IPP reply of the scheduler, to the
// readers that turn its printer, job and paper attributes into the spooler's
// records. Beyond not crashing: a paper dimension is set only with its flag,
// and a set one is positive.
#include <cups/cups.h>

#include <cstddef>
#include <cstdint>
#include <cstdlib>
#include <cstring>

#include "platform/cups/cups_mapping_posix.h"
#include "platform/cups/cups_media_posix.h"

namespace {

using namespace vantrel::platform;

void Check(bool condition) {
  if (!condition) std::abort();
}

struct Source {
  const uint8_t* data;
  size_t left;
};

ssize_t ReadBytes(void* context, ipp_uchar_t* buffer, size_t wanted) {
  auto* source = static_cast<Source*>(context);
  const size_t count = wanted < source->left ? wanted : source->left;
  std::memcpy(buffer, source->data, count);
  source->data += count;
  source->left -= count;
  return static_cast<ssize_t>(count);
}

void CheckPaper(const PaperFields& paper) {
  Check(paper.has_width ? paper.paper_width > 0 : paper.paper_width == 0);
  Check(paper.has_length ? paper.paper_length > 0 : paper.paper_length == 0);
}

}  // namespace

extern "C" int LLVMFuzzerTestOneInput(const uint8_t* data, size_t size) {
  Source source{data, size};
  ipp_t* message = ippNew();
  if (ippReadIO(&source, ReadBytes, 1, nullptr, message) == IPP_STATE_DATA) {
    cups::ForEachGroup(message, IPP_TAG_PRINTER, [](const cups::AttributeGroup& group) {
      static_cast<void>(cups::PrinterFromGroup(group));
      CheckPaper(cups::DefaultPaperFrom(group));
    });
    cups::ForEachGroup(message, IPP_TAG_JOB, [](const cups::AttributeGroup& group) {
      static_cast<void>(cups::JobFromGroup(group));
    });
  }
  ippDelete(message);
  return 0;
}
