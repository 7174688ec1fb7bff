#include "reg_report.h"

#include <cctype>
#include <cstdio>

#include "platform/platform_error.h"
#include "platform/native_thread.h"
#include "platform/win32_errors.h"

namespace vantrel::tool {
namespace {

struct ErrorWording {
  long error;
  const char* text;
};

// The same words on both targets, where the system's messages differ or
// speak of files when the command means keys and values.
constexpr ErrorWording kWordings[] = {
    {platform::kErrorFileNotFound, "not found"},
    {platform::kErrorPathNotFound, "not found"},
    {platform::kErrorAccessDenied, "access denied"},
    {platform::kErrorInvalidData, "invalid data"},
    {platform::kErrorInvalidParameter, "invalid value"},
    {platform::kErrorInvalidName, "a name a .reg file cannot hold"},
    {platform::kErrorBadPathname, "invalid path"},
    {platform::kErrorBadDbFormat, "the settings store is damaged"},
};

std::string OneLine(std::string_view text) {
  std::string line;
  for (const char c : text) line += (c == '\r' || c == '\n') ? ' ' : c;
  return line;
}

}  // namespace

std::string DescribeError(long error) {
  for (const ErrorWording& wording : kWordings) {
    if (wording.error == error) return wording.text;
  }
  std::string text = OneLine(platform::PlatformErrorMessage(error));
  while (!text.empty() && (text.back() == ' ' || text.back() == '.')) text.pop_back();
  // "The data is invalid" reads better inside a sentence in lower case.
  if (text.size() > 1 && std::islower(static_cast<unsigned char>(text[1]))) {
    text[0] = static_cast<char>(std::tolower(static_cast<unsigned char>(text[0])));
  }
  return text;
}

int ReportFailure(std::string_view verb, std::string_view subject, long error,
                  std::string_view problem) {
  const std::string reason = problem.empty() ? DescribeError(error) : OneLine(problem);
  std::fprintf(stderr, "vantrel: cannot %s \"%s\": %s (error %ld)\n", OneLine(verb).c_str(),
               OneLine(subject).c_str(), reason.c_str(), error);
  return kExitFailure;
}

}  // namespace vantrel::tool
