#include <memory>
#include <string>

#include "platform/spooler.h"
#include "printers/test_label_pdf.h"
#include "printers/test_label_printing.h"

namespace vantrel {
namespace {

// The PDF is drawn in whole dots of this resolution, the common one of label
// printers; the scheduler's filters render it at the printer's own.
constexpr DeviceResolution kPdfResolution{300, 300};
constexpr char kPdfDatatype[] = "application/pdf";

// Writes every byte; a spooler that takes nothing ends it with kErrorCantWrite.
long WriteDocument(platform::SpoolerPrinter& printer, const std::string& bytes) {
  size_t position = 0;
  while (position < bytes.size()) {
    uint32_t written = 0;
    const auto offered = static_cast<uint32_t>(bytes.size() - position);
    if (const long error = printer.Write(bytes.data() + position, offered, &written)) return error;
    if (written == 0) return platform::kErrorCantWrite;
    position += written;
  }
  return platform::kErrorSuccess;
}

// One PDF document of one page as the job "Printer Test". A document that
// started is always ended, so a half-written one is not left open.
TestLabelPrinting Submit(platform::SpoolerPrinter& printer, const std::string& pdf) {
  TestLabelPrinting outcome;
  outcome.error = printer.StartDoc(kTestLabelDocumentName, kPdfDatatype, &outcome.job_id);
  if (outcome.error) return outcome;
  outcome.error = printer.StartPage();
  if (outcome.error == platform::kErrorSuccess) {
    outcome.error = WriteDocument(printer, pdf);
    static_cast<void>(printer.EndPage());  // the page carries nothing of its own
  }
  if (const long error = printer.EndDoc(); error && outcome.error == platform::kErrorSuccess) {
    outcome.error = error;
  }
  if (outcome.error == platform::kErrorSuccess)
    outcome.result = TestLabelPrinting::Result::kPrinted;
  return outcome;
}

}  // namespace

TestLabelPrinting PrintTestLabel(const std::string& printer_name, TestLabelKind kind) {
  TestLabelPrinting outcome;
  // A handle of its own: the printer's shared one may be carrying a document.
  std::unique_ptr<platform::SpoolerPrinter> printer;
  outcome.error =
      platform::DefaultSpooler().Open(printer_name, platform::kPrinterAccessUse, &printer);
  if (outcome.error) return outcome;
  platform::PaperFields paper;
  // A queue whose paper cannot be read gets the design's own size.
  if (printer->GetDefaultPaper(&paper) != platform::kErrorSuccess) paper = {};
  std::string pdf;
  outcome.error = RenderTestLabelPdf(kind, LabelPaperOf(paper), kPdfResolution, &pdf);
  if (outcome.error) return outcome;
  return Submit(*printer, pdf);
}

}  // namespace vantrel
