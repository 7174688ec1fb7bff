// The test labels on Linux: a one-page PDF of the queue's default paper,
// submitted as the job "Printer Test"; a queue that cannot take it is logged.
// (The blank label and a real scheduler: tests/python/test_command_cli.py.)
#include <gtest/gtest.h>

#include "unit/pdf_facts.h"
#include "unit/printer_command_test_support.h"

namespace vantrel::testing {
namespace {

constexpr double kPointsPerTenthMm = 72 / 254.0;

class TestLabelJobTest : public PrinterCommandTest {
 protected:
  // Runs the command with no parameters object (it executes) and returns the
  // one job it left on the printer.
  platform::JobInfo2 Run(PrinterCommand code, std::string* document) {
    auto printer = Initialized(kAdvancedPrinter);
    EXPECT_EQ(printer->Command(code, MissingArgument()), S_OK);
    std::unique_ptr<platform::SpoolerPrinter> handle;
    EXPECT_EQ(spooler_.Open(kAdvancedPrinter, platform::kPrinterAccessUse, &handle), 0);
    std::vector<platform::JobInfo2> jobs;
    EXPECT_EQ(handle->EnumJobs(0, 10, &jobs), 0);
    EXPECT_EQ(jobs.size(), 1u);
    if (jobs.empty()) return {};
    *document = spooler_.DocumentBytes(jobs[0].job_id);
    return jobs[0];
  }
};

// A 4 by 6 inch label: 6 mm of margin off the width, the design drawn at
// full size.
TEST_F(TestLabelJobTest, TheStandardLabelIsAPdfJobOfTheQueuesPaper) {
  spooler_.SetDefaultPaper(kAdvancedPrinter, {true, 1016, true, 1524});
  std::string pdf;
  const platform::JobInfo2 job = Run(PC_TestStandard, &pdf);
  EXPECT_EQ(job.document, "Printer Test");
  EXPECT_EQ(job.datatype, "application/pdf");
  const PdfFacts facts = ReadPdfFacts(pdf);
  ExpectOnePageOfPoints(facts, (1016 - 60) * kPointsPerTenthMm, 1524 * kPointsPerTenthMm);
  EXPECT_EQ(facts.rectangles.size(), 21u);
  EXPECT_TRUE(NewLogLines().empty());
}

TEST_F(TestLabelJobTest, AQueueThatCannotTakeTheLabelIsLoggedAndTheCommandSucceeds) {
  auto printer = Initialized(kAdvancedPrinter);
  spooler_.RemovePrinter(kAdvancedPrinter);  // the label opens a handle of its own
  EXPECT_EQ(printer->Command(PC_TestStandard, MissingArgument()), S_OK);
  const std::vector<std::string> lines = NewLogLines();
  ASSERT_EQ(lines.size(), 1u);
  ParsedLine line;
  ASSERT_TRUE(ParseLine(lines[0], &line)) << lines[0];
  EXPECT_EQ(line.level, "Errors");
  EXPECT_EQ(line.message.rfind("[PrinterDiagnostics::PrintTest] Unable to print the test label on "
                               "printer: Kesto Labels (error ",
                               0),
            0u)
      << line.message;
}

}  // namespace
}  // namespace vantrel::testing
