// The test labels on Windows: without a device context for the printer (the
// fake spooler's printers have none) the command logs it and still succeeds.
#include <gtest/gtest.h>

#include "unit/printer_command_test_support.h"

namespace vantrel::testing {
namespace {

TEST_F(PrinterCommandTest, WithoutADeviceContextTheTestLabelIsLoggedAndTheCommandSucceeds) {
  auto printer = Initialized(kAdvancedPrinter);
  for (PrinterCommand code : {PC_TestStandard, PC_TestBlank}) {
    EXPECT_EQ(printer->Command(code, MissingArgument()), S_OK) << code;
  }
  const std::vector<std::string> lines = NewLogLines();
  ASSERT_EQ(lines.size(), 2u);
  for (const std::string& text : lines) {
    ParsedLine line;
    ASSERT_TRUE(ParseLine(text, &line)) << text;
    EXPECT_EQ(line.level, "Errors");
    EXPECT_EQ(line.message,
              "[PrinterDiagnostics::PrintTest] Unable to open device context for printer: "
              "Kesto Labels");
  }
  EXPECT_EQ(spooler_.Calls("StartDoc"), 0);
}

}  // namespace
}  // namespace vantrel::testing
