// The test label as a one-page PDF of the label's size, for spoolers that
// take documents rather than a device context (Linux). The later step sends
// the bytes as the job "Printer Test" through the raw-file path.
#pragma once

#include <string>

#include "platform/win32_errors.h"
#include "printers/test_label.h"

namespace vantrel {

// Draws the test label of `kind` for a label of `paper` in dots of
// `resolution` and puts the document in `pdf`. On failure a Windows error
// number (kErrorInvalidParameter for a label or resolution that is not
// positive) and `pdf` unchanged. Does not block; any thread. Linux only.
platform::PlatformResult RenderTestLabelPdf(TestLabelKind kind, const LabelPaper& paper,
                                            const DeviceResolution& resolution, std::string* pdf);

}  // namespace vantrel
