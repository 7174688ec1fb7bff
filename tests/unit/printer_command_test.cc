// Printer.Command over the fake spooler: the argument rules, the answers a
// printer without a reachable driver module gives, and the test labels,
// which the library carries out itself.
#include "unit/printer_command_test_support.h"

#include <gtest/gtest.h>

#include <string>
#include <vector>

#include "unit/frame_test_support.h"

namespace vantrel::testing {
namespace {

// What a parameters object holds after a call: the four answers in the
// order Command writes them.
std::vector<bool> AnswersOf(ICommandParameters* parameters) {
  VARIANT_BOOL values[4] = {};
  parameters->get_IsSupported(&values[0]);
  parameters->get_HasUserInterface(&values[1]);
  parameters->get_RequiresBidirectionalPort(&values[2]);
  parameters->get_RequiresManagementRights(&values[3]);
  return {values[0] != 0, values[1] != 0, values[2] != 0, values[3] != 0};
}

const std::vector<bool> kNothing{false, false, false, false};
const std::vector<bool> kOnlySupported{true, false, false, false};

// Answers left true by an earlier call, so that a call that clears them shows.
void PresetAnswers(ICommandParameters* parameters) {
  parameters->put_IsSupported(VARIANT_TRUE);
  parameters->put_HasUserInterface(VARIANT_TRUE);
  parameters->put_RequiresBidirectionalPort(VARIANT_TRUE);
  parameters->put_RequiresManagementRights(VARIANT_TRUE);
}

// A printer without the vendor's interface value supports nothing, not even
// the test labels. An advanced printer whose module cannot be had answers
// nothing to driver commands and looks for the module again on each call.
// Either way the answers of an earlier call are cleared.
TEST_F(PrinterCommandTest, WithoutADriverModuleNothingIsSupported) {
  struct Case {
    const char* printer;
    PrinterCommand code;
  };
  const Case cases[] = {{kBasicPrinter, PC_Cut},          {kBasicPrinter, PC_TestStandard},
                        {kBasicPrinter, PC_TestBlank},    {kAdvancedPrinter, PC_Cut},
                        {kAdvancedPrinter, PC_Calibrate}, {kAdvancedPrinter, PrinterCommand(31)}};
  auto parameters = NewParameters();
  for (const Case& c : cases) {
    SCOPED_TRACE(::testing::Message() << c.printer << " " << c.code);
    auto printer = Initialized(c.printer);
    PresetAnswers(parameters.Get());
    const int looks_before = spooler_.Calls("GetData");
    EXPECT_EQ(printer->Command(c.code, ObjectArgument(parameters.Get())), S_OK);
    EXPECT_EQ(AnswersOf(parameters.Get()), kNothing);
    if (c.printer == kAdvancedPrinter) {
      EXPECT_GT(spooler_.Calls("GetData"), looks_before);
    }
  }
  EXPECT_EQ(spooler_.Calls("StartDoc"), 0);
}

TEST_F(PrinterCommandTest, TestLabelsAreSupportedWithoutTheDriverAndPrintOnlyWhenExecuted) {
  auto printer = Initialized(kAdvancedPrinter);
  auto parameters = NewParameters();
  parameters->put_Execute(VARIANT_FALSE);
  for (PrinterCommand code : {PC_TestStandard, PC_TestBlank}) {
    PresetAnswers(parameters.Get());
    EXPECT_EQ(printer->Command(code, ObjectArgument(parameters.Get())), S_OK) << code;
    EXPECT_EQ(AnswersOf(parameters.Get()), kOnlySupported) << code;
  }
  EXPECT_EQ(spooler_.Calls("GetData"), data_reads_after_initialize_) << "the driver was asked";
  EXPECT_EQ(spooler_.Calls("StartDoc"), 0);
  EXPECT_TRUE(NewLogLines().empty());
}

// Absent arguments run the command as a parameters object left as created
// would; anything else that is not a parameters object is refused before
// the driver is asked.
TEST_F(PrinterCommandTest, TheOptionalArgumentIsAParametersObjectOrNothing) {
  auto printer = Initialized(kAdvancedPrinter);
  auto parameters = NewParameters();
  auto other_object = NewPrinter();

  struct Case {
    const char* what;
    VARIANT argument;
    HRESULT result;
  };
  VARIANT by_reference = ObjectArgument(parameters.Get());
  const Case cases[] = {
      {"missing", MissingArgument(), S_OK},
      {"empty", TypedArgument(VT_EMPTY), S_OK},
      {"null", TypedArgument(VT_NULL), S_OK},
      {"Nothing", ObjectArgument(nullptr), S_OK},
      {"by reference", ReferenceTo(&by_reference), S_OK},
      {"a number", NumberArgument(1), kInvalidArgument},
      {"another error", ErrorArgument(E_FAIL), kInvalidArgument},
      {"another object", ObjectArgument(other_object.Get()), kInvalidArgument},
  };
  for (const Case& c : cases) {
    const int looks_before = spooler_.Calls("GetData");
    EXPECT_EQ(printer->Command(PC_Cut, c.argument), c.result) << c.what;
    const bool asked = spooler_.Calls("GetData") > looks_before;
    EXPECT_EQ(asked, c.result == S_OK) << c.what;
    if (c.result != S_OK) {
      EXPECT_EQ(TakeClientError().description, "Invalid argument") << c.what;
    }
  }
}

}  // namespace
}  // namespace vantrel::testing
