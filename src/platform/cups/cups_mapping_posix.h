// Translation between CUPS (IPP attributes) and the spooler's records: the
// tables of docs/cups-mapping.md. Pure functions over IPP messages, so they
// are tested on messages built in memory.
#pragma once

#include <cups/ipp.h>

#include <cstdint>
#include <functional>
#include <string>
#include <string_view>
#include <vector>

#include "platform/spooler.h"
#include "platform/win32_errors.h"

namespace vantrel::platform::cups {

// The attributes each request asks for.
extern const char* const kPrinter2Attributes[];
extern const int kPrinter2AttributeCount;
extern const char* const kPrinter4Attributes[];
extern const int kPrinter4AttributeCount;
extern const char* const kPrinter5Attributes[];
extern const int kPrinter5AttributeCount;
extern const char* const kPrinter6Attributes[];
extern const int kPrinter6AttributeCount;
extern const char* const kJobAttributes[];
extern const int kJobAttributeCount;

// The make-and-model CUPS gives every queue without a driver.
inline constexpr char kRawMakeAndModel[] = "Local Raw Printer";

// printer-state (3 idle, 4 processing, 5 stopped) and printer-state-reasons
// (with or without their -error, -warning, -report suffix) as a status word.
uint32_t PrinterStatusFrom(int printer_state, const std::vector<std::string>& reasons);
// printer-type bits, printer-is-shared and the make-and-model as attributes.
uint32_t PrinterAttributesFrom(int printer_type, bool is_shared, const std::string& make_and_model);
// job-state (3 pending .. 9 completed) and job-state-reasons as a job status.
uint32_t JobStatusFrom(int job_state, const std::vector<std::string>& reasons);

// The attributes of one group of a message (one printer, one job, one event).
class AttributeGroup {
 public:
  void Add(ipp_attribute_t* attribute) { attributes_.push_back(attribute); }
  bool empty() const { return attributes_.empty(); }
  ipp_attribute_t* Find(std::string_view name) const;
  std::string Text(std::string_view name) const;  // "" when missing
  int Integer(std::string_view name, int otherwise = 0) const;
  bool Boolean(std::string_view name) const;
  std::vector<std::string> List(std::string_view name) const;

 private:
  std::vector<ipp_attribute_t*> attributes_;
};

// Calls `take` with each group tagged `tag` in `message`, in order. The
// groups' attributes live as long as the message.
void ForEachGroup(ipp_t* message, ipp_tag_t tag,
                  const std::function<void(const AttributeGroup&)>& take);

// A printer's fields from one printer group. Fields CUPS does not keep (share
// name, start and until time) are left empty; the caller fills them from the
// settings store.
PrinterInfo2 PrinterFromGroup(const AttributeGroup& group);
// A job's fields from one job group; `position` is left to the caller.
JobInfo2 JobFromGroup(const AttributeGroup& group);
// Seconds since 1970 (UTC) as a SYSTEMTIME-like record.
SpoolerTime SpoolerTimeFrom(int64_t unix_seconds);

// The queue's name from a printer or job URI (".../printers/NAME").
std::string PrinterNameFromUri(const std::string& uri);

// A Windows error number for an IPP status. `about_printer` chooses between
// "no such printer" (1801) and "invalid parameter" (87) for not-found.
PlatformResult ErrorFromIppStatus(ipp_status_t status, bool about_printer);

// Job-hold-until "HH:MM" (UTC) for minutes after midnight, and back; -1 when
// the text is no time of day.
std::string HoldUntilFromMinutes(uint32_t minutes);
int MinutesFromHoldUntil(const std::string& text);

// Whether a share name is one the spooler would refuse.
bool IsInvalidShareName(const std::string& name);

}  // namespace vantrel::platform::cups
