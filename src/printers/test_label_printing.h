// Prints the library's own test label on a printer, the platform's way:
// Linux renders it as a one-page PDF of the label's size and submits that to
// the queue as a job; Windows draws it on the printer's device context.
#pragma once

#include <cstdint>
#include <string>

#include "platform/spooler.h"
#include "printers/test_label.h"

namespace vantrel {

// The document (job) name of every test label.
inline constexpr char kTestLabelDocumentName[] = "Printer Test";

struct TestLabelPrinting {
  enum class Result {
    kPrinted,          // the label went to the spooler
    kNoDeviceContext,  // Windows: no device context could be made for the printer
    kFailed,           // anything else; `error` says what
  };
  Result result = Result::kFailed;
  long error = 0;       // a Windows error number when not printed
  uint32_t job_id = 0;  // Linux: the job that holds the label
};

// Prints the test label of `kind` on the printer named `printer_name`. The
// label's size is the printer's default paper (the design's own 2 by 1 inch
// when it has none). Blocks on the spooler; any thread, holding no lock of
// ours. Never throws for a spooler or device refusal.
TestLabelPrinting PrintTestLabel(const std::string& printer_name, TestLabelKind kind);

// The drawing fields of a device mode's paper.
inline LabelPaper LabelPaperOf(const platform::PaperFields& paper) {
  return {paper.has_width, paper.paper_width, paper.has_length, paper.paper_length};
}

}  // namespace vantrel
