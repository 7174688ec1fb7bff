// A queue's default paper from its IPP attributes: the media size of
// media-col-default, else the size a media-default name stands for (a PWG
// self-describing name such as "oe_4x6-label_4x6in", or a legacy or PPD
// name such as "Letter"). Pure functions over IPP messages.
#pragma once

#include "platform/cups/cups_mapping_posix.h"
#include "platform/spooler.h"

namespace vantrel::platform::cups {

// The attributes a default-paper request asks for.
extern const char* const kPaperAttributes[];
extern const int kPaperAttributeCount;

// The paper in tenths of a millimetre (IPP gives hundredths; halves round
// up). A queue with neither attribute, or a name no table knows, has both
// flags false.
PaperFields DefaultPaperFrom(const AttributeGroup& group);

}  // namespace vantrel::platform::cups
