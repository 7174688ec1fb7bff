#include "support/exception_handler.h"

#include <gtest/gtest.h>

#include <new>
#include <sstream>
#include <stdexcept>
#include <vector>

#include "platform/folders.h"

namespace vantrel {
namespace {

// Records what the frame hands to the client.
class RecordingHandler : public OExceptionHandler {
 public:
  RecordingHandler() : OExceptionHandler("Printers::get_Item", kReportLevelMethod) {}
  int failures = 0;
  ResultCode result = 0;
  std::string text;

 protected:
  void OnFailure(ResultCode failed, const std::string& client_text) override {
    ++failures;
    result = failed;
    text = client_text;
  }
};

struct FailureCase {
  const char* what;
  std::function<void()> body;
  uint32_t result;
  const char* text;
};

TEST(ExceptionHandlerTest, EachKindOfFailureGivesItsResultAndClientText) {
  const std::vector<FailureCase> cases = {
      {"platform error", [] { throw OException("OpenPrinter", 5, "Access is denied.\r\n"); },
       0x80070005, "Access is denied.\r\n"},
      {"platform error 0", [] { throw OException("x", 0); }, 0x8007054F, "Unspecified error"},
      {"negative platform error", [] { throw OException("x", -7, "m"); }, 0x8007054F, "m"},
      {"platform error above 16 bits", [] { throw OException("x", 0x12345, "m"); }, 0x80072345,
       "m"},
      {"no memory", [] { throw std::bad_alloc(); }, 0x8007000E, "Out of memory"},
      {"library error",
       [] { throw KestoException(ToResultCode(0x80042001), "Printer not recognized"); }, 0x80042001,
       "Printer not recognized"},
      {"general failure", [] { throw OStdException("Bad record"); }, 0x80004005, "Bad record"},
      {"standard exception", [] { throw std::runtime_error("lost"); }, 0x80004005,
       "Unspecified error"},
      {"anything", [] { throw 42; }, 0x80004005, "Unspecified error"},
  };
  for (const FailureCase& failure : cases) {
    SCOPED_TRACE(failure.what);
    RecordingHandler handler;
    EXPECT_EQ(handler.Run(failure.body), ToResultCode(failure.result));
    EXPECT_EQ(handler.failures, 1);
    EXPECT_EQ(handler.result, ToResultCode(failure.result));
    EXPECT_EQ(handler.text, failure.text);
  }
}

TEST(ExceptionHandlerTest, BodyThatReturnsLeavesTheClientAlone) {
  RecordingHandler handler;
  bool ran = false;
  EXPECT_EQ(handler.Run([&] { ran = true; }), kResultOk);
  EXPECT_TRUE(ran);
  EXPECT_EQ(handler.failures, 0);
}

TEST(ExceptionHandlerTest, FailureWhilePublishingTheErrorDoesNotEscape) {
  class ThrowingHandler : public OExceptionHandler {
   public:
    ThrowingHandler() : OExceptionHandler("X::Y", kReportLevelMethod) {}

   protected:
    void OnFailure(ResultCode, const std::string&) override { throw std::bad_alloc(); }
  } handler;
  EXPECT_EQ(handler.Run([] { throw OStdException("first"); }), kResultFail);
}

std::vector<std::string> Lines(const std::string& text) {
  std::vector<std::string> lines;
  std::istringstream stream(text);
  for (std::string line; std::getline(stream, line);) lines.push_back(line);
  return lines;
}

TEST(ExceptionHandlerTest, ReportNamesModuleFailureOriginAndFrameInThatOrder) {
  const OExceptionHandler handler("OThread::ThreadProc", kReportLevelThread);
  const ExceptionOrigin origin{"ReadRecord", "src/jobs/job_table.cc", 42};
  EXPECT_EQ(Lines(handler.ComposeReport("OStdException", " \t\r\nBad record\r\n \t", origin)),
            (std::vector<std::string>{platform::ProcessModuleName(),
                                      "+++ OStdException exception: Bad record",
                                      "Function: ReadRecord in src/jobs/job_table.cc (42)",
                                      "Caught in [OThread::ThreadProc]"}));
  EXPECT_EQ(Lines(handler.ComposeReport("OException", "Access is denied.", {})),
            (std::vector<std::string>{platform::ProcessModuleName(),
                                      "+++ OException exception: Access is denied.",
                                      "Caught in [OThread::ThreadProc]"}))
      << "no origin line when the thrower did not record one";
}

}  // namespace
}  // namespace vantrel
