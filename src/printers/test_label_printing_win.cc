#include <memory>
#include <string>

#include "platform/printer_device_context.h"
#include "printers/test_label_printing.h"

namespace vantrel {
namespace {

// The label drawn on the printer's device context: the page is the document
// "Printer Test"; the context's resolution places the rectangles.
class DeviceContextCanvas final : public TestLabelCanvas {
 public:
  explicit DeviceContextCanvas(platform::PrinterDeviceContext& context) : context_(context) {}

  DeviceResolution Resolution() const override {
    return {context_.DotsPerInchX(), context_.DotsPerInchY()};
  }
  // The device context has its paper already: the size only scales the design.
  platform::PlatformResult BeginPage(const LabelSize&) override {
    return context_.StartDocument(kTestLabelDocumentName);
  }
  void FillBlack(const DeviceRect& rect) override {
    context_.FillBlack(rect.left, rect.top, rect.right, rect.bottom);
  }
  platform::PlatformResult EndPage() override { return context_.EndDocument(); }

 private:
  platform::PrinterDeviceContext& context_;
};

// A driver that prints test labels itself gets the kind and its device mode
// inside a document of its own, and nothing is drawn.
long HandToDriver(platform::PrinterDeviceContext& context, TestLabelKind kind) {
  // A document that began but failed on its page is ended by the context.
  if (const long error = context.StartDocument(kTestLabelDocumentName)) return error;
  const long error = context.HandTestLabelToDriver(static_cast<uint32_t>(kind));
  const long ended = context.EndDocument();
  return error != platform::kErrorSuccess ? error : ended;
}

}  // namespace

TestLabelPrinting PrintTestLabel(const std::string& printer_name, TestLabelKind kind) {
  TestLabelPrinting outcome;
  std::unique_ptr<platform::PrinterDeviceContext> context;
  outcome.error = platform::OpenPrinterDeviceContext(printer_name, &context);
  if (outcome.error) {
    outcome.result = TestLabelPrinting::Result::kNoDeviceContext;
    return outcome;
  }
  if (context->Escapes().prints_test_labels) {
    outcome.error = HandToDriver(*context, kind);
  } else {
    DeviceContextCanvas canvas(*context);
    outcome.error = DrawTestLabel(canvas, kind, LabelPaperOf(context->Paper()));
  }
  if (outcome.error == platform::kErrorSuccess)
    outcome.result = TestLabelPrinting::Result::kPrinted;
  return outcome;
}

}  // namespace vantrel
