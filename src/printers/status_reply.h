// The driver service's answers to the state requests of a status reading,
// and the request texts themselves.
//
// A reply lists the asked states' values in the order asked, separated by
// ";": first "Monitoring Supported" (non-zero when the device reports its
// condition), then the states asked for, the last being "Status Severity".
// Numbers are unsigned decimal: digits only, no sign, no blanks, within 32
// bits. Any reply that does not read completely is refused as a whole
// (nothing is taken from a readable prefix), and so is a severity other than
// 1, 2 or 3; the caller then falls back to the spooler. NUL bytes, line ends
// and blanks closing the reply are ignored.
#pragma once

#include <cstdint>
#include <optional>
#include <string>
#include <string_view>

namespace vantrel::printers {

// The three state lists a status reading sends, and the job request.
extern const char kSeverityStateRequest[];
extern const char kFlagsStateRequest[];
extern const char kTextStateRequest[];
std::string JobStateRequest(uint32_t job_id);

// A whole unsigned decimal number of at most 32 bits; nothing for anything
// else ("", "+1", "1 ", "0x10", "4294967296").
std::optional<uint32_t> ParseStateNumber(std::string_view field);

// "Status Flags 2" with the severity bits added, and the severity.
struct DeviceFlags {
  uint32_t word2 = 0;
  uint32_t severity = 1;
};
// From "SUPPORTED;FLAGS;SEVERITY" (further fields are ignored).
std::optional<DeviceFlags> ParseFlagsReply(std::string_view reply);

// From "SUPPORTED;SEVERITY".
std::optional<uint32_t> ParseSeverityReply(std::string_view reply);

// The driver's "Status" text, which may itself hold ";" (it is everything
// between the first and the last separator), and the severity.
struct DeviceText {
  std::string text;
  uint32_t severity = 1;
};
// From "SUPPORTED;TEXT;SEVERITY".
std::optional<DeviceText> ParseTextReply(std::string_view reply);

}  // namespace vantrel::printers
