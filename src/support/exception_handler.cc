#include "support/exception_handler.h"

#include <cstdio>
#include <cstdlib>
#include <new>
#include <string_view>

#include "platform/folders.h"
#include "platform/system_log.h"
#include "platform/win32_errors.h"
#include "support/event_log.h"

namespace vantrel {
namespace {

constexpr size_t kLongestModuleName = 260;
constexpr char kUnspecifiedError[] = "Unspecified error";

std::string_view Trimmed(std::string_view text) {
  constexpr std::string_view kBlanks = " \t\r\n";
  const size_t first = text.find_first_not_of(kBlanks);
  if (first == std::string_view::npos) return {};
  return text.substr(first, text.find_last_not_of(kBlanks) - first + 1);
}

// The report's message for a platform failure: the library's text, the error
// number and the system's wording of it.
std::string DescribePlatformFailure(const OException& e) {
  std::string message = e.text();
  if (e.error() != 0) message += " (error " + std::to_string(e.error()) + ")";
  if (!e.message().empty()) message += ": " + std::string(Trimmed(e.message()));
  return message;
}

void WriteReport(const std::string& report) {
  if (const auto log = OEventLog::ProcessIfCreated()) {
    log->Write(kLogErrors, report);
  } else {
    platform::DebugOutput(report);
  }
  if (std::getenv("VANTREL_REPORT_STDERR") != nullptr) {
    std::fprintf(stderr, "%s\n", report.c_str());
  }
}

}  // namespace

ResultCode ResultFromWin32(long error) {
  if (error == 0) return kResultOk;
  return ToResultCode(0x80070000u | (static_cast<uint32_t>(error) & 0xFFFFu));
}

ResultCode OExceptionHandler::Run(const std::function<void()>& body) {
  ResultCode result = kResultFail;
  std::string text;
  try {
    try {
      body();
      return kResultOk;
    } catch (const OException& e) {
      Report(e);
      result = ResultFromWin32(e.error() < 1 ? platform::kErrorInternalError : e.error());
      text = e.message().empty() ? kUnspecifiedError : e.message();
    } catch (const std::bad_alloc&) {
      result = kResultOutOfMemory;
      text = "Out of memory";
    } catch (const KestoException& e) {
      result = e.code();
      text = e.text() != nullptr ? e.text() : "";
    } catch (const OStdException& e) {
      Report(e);
      result = kResultFail;
      text = e.message();
    } catch (...) {
      result = kResultFail;
      text = kUnspecifiedError;
    }
    OnFailure(result, text);
  } catch (...) {
    // Building the text or publishing it failed (no memory): the result stands.
  }
  return result;
}

void OExceptionHandler::Report(const OException& e) const {
  try {
    WriteReport(ComposeReport("OException", DescribePlatformFailure(e), e.origin()));
  } catch (...) {
    // A report that cannot be written is dropped; the frame's result stands.
  }
}

void OExceptionHandler::Report(const OStdException& e) const {
  try {
    WriteReport(ComposeReport("OStdException", e.message(), e.origin()));
  } catch (...) {
    // As above.
  }
}

std::string OExceptionHandler::ComposeReport(const char* kind, const std::string& message,
                                             const ExceptionOrigin& origin) const {
  std::string report = platform::ProcessModuleName().substr(0, kLongestModuleName);
  report += "\n+++ ";
  report += kind;
  report += " exception: ";
  report += Trimmed(message);
  if (origin.function != nullptr) {
    report += "\nFunction: ";
    report += origin.function;
    report += " in ";
    report += origin.file != nullptr ? origin.file : "?";
    report += " (" + std::to_string(origin.line) + ")";
  }
  report += "\nCaught in [";
  report += source_;
  report += "]";
  return report;
}

}  // namespace vantrel
