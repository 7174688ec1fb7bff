#include "platform/cups/cups_mapping_posix.h"

#include <cups/cups.h>

#include <cstdio>
#include <cstring>
#include <ctime>
#include <string_view>

#include "platform/win32_errors.h"

namespace vantrel::platform::cups {

const char* const kPrinter2Attributes[] = {
    "printer-name",           "printer-info",          "printer-location", "device-uri",
    "printer-make-and-model", "printer-is-shared",     "printer-type",     "job-priority-default",
    "printer-state",          "printer-state-reasons", "queued-job-count"};
const int kPrinter2AttributeCount = sizeof(kPrinter2Attributes) / sizeof(char*);
const char* const kPrinter4Attributes[] = {"printer-name", "printer-type", "printer-is-shared",
                                           "printer-make-and-model"};
const int kPrinter4AttributeCount = sizeof(kPrinter4Attributes) / sizeof(char*);
const char* const kPrinter5Attributes[] = {"printer-name", "device-uri", "printer-type",
                                           "printer-is-shared", "printer-make-and-model"};
const int kPrinter5AttributeCount = sizeof(kPrinter5Attributes) / sizeof(char*);
const char* const kPrinter6Attributes[] = {"printer-state", "printer-state-reasons"};
const int kPrinter6AttributeCount = sizeof(kPrinter6Attributes) / sizeof(char*);
const char* const kJobAttributes[] = {"job-id",
                                      "job-printer-uri",
                                      "job-originating-host-name",
                                      "job-originating-user-name",
                                      "job-name",
                                      "document-format",
                                      "job-state",
                                      "job-state-reasons",
                                      "job-priority",
                                      "job-hold-until",
                                      "job-impressions",
                                      "job-impressions-completed",
                                      "job-k-octets",
                                      "time-at-creation",
                                      "time-at-processing",
                                      "time-at-completed",
                                      "job-printer-state-message"};
const int kJobAttributeCount = sizeof(kJobAttributes) / sizeof(char*);

namespace {

struct ReasonBits {
  const char* reason;
  uint32_t bits;
};

// printer-state-reasons keywords, without their severity suffix.
constexpr ReasonBits kPrinterReasons[] = {
    {"media-empty", kPrinterStatusPaperOut},
    {"media-needed", kPrinterStatusPaperOut},
    {"media-jam", kPrinterStatusPaperJam},
    {"input-tray-missing", kPrinterStatusPaperProblem},
    {"door-open", kPrinterStatusDoorOpen},
    {"cover-open", kPrinterStatusDoorOpen},
    {"interlock-open", kPrinterStatusDoorOpen},
    {"toner-low", kPrinterStatusTonerLow},
    {"marker-supply-low", kPrinterStatusTonerLow},
    {"toner-empty", kPrinterStatusNoToner},
    {"marker-supply-empty", kPrinterStatusNoToner},
    {"offline", kPrinterStatusOffline},
    {"timed-out", kPrinterStatusOffline},
    {"paused", kPrinterStatusPaused},
    {"moving-to-paused", kPrinterStatusPaused},
    {"output-area-full", kPrinterStatusOutputBinFull},
    {"spool-area-full", kPrinterStatusOutOfMemory},
    {"shutdown", kPrinterStatusNotAvailable},
    {"deactivated", kPrinterStatusNotAvailable},
    {"connecting-to-device", kPrinterStatusWaiting},
    {"other", kPrinterStatusError},
};

constexpr ReasonBits kJobReasons[] = {
    {"job-incoming", kJobStatusSpooling},
    {"job-data-insufficient", kJobStatusSpooling},
    {"printer-stopped", kJobStatusBlockedDevq},
    {"printer-stopped-partly", kJobStatusBlockedDevq},
    {"job-restartable", kJobStatusRestart},
    {"resources-are-not-ready", kJobStatusUserIntervention},
};

std::string_view WithoutSeverity(std::string_view reason) {
  for (std::string_view suffix : {"-error", "-warning", "-report"}) {
    if (reason.size() > suffix.size() && reason.substr(reason.size() - suffix.size()) == suffix)
      return reason.substr(0, reason.size() - suffix.size());
  }
  return reason;
}

bool EndsWith(std::string_view text, std::string_view suffix) {
  return text.size() >= suffix.size() && text.substr(text.size() - suffix.size()) == suffix;
}

std::vector<std::string> Strings(ipp_attribute_t* attribute) {
  std::vector<std::string> values;
  for (int i = 0; i < ippGetCount(attribute); ++i) {
    const char* text = ippGetString(attribute, i, nullptr);
    if (text != nullptr) values.emplace_back(text);
  }
  return values;
}

std::string Text(ipp_attribute_t* attribute) {
  const char* text = ippGetString(attribute, 0, nullptr);
  return text != nullptr ? text : "";
}

}  // namespace

uint32_t PrinterStatusFrom(int printer_state, const std::vector<std::string>& reasons) {
  uint32_t status = 0;
  if (printer_state == IPP_PSTATE_STOPPED) status |= kPrinterStatusPaused;
  if (printer_state == IPP_PSTATE_PROCESSING) status |= kPrinterStatusPrinting;
  for (const std::string& reason : reasons) {
    const std::string_view keyword = WithoutSeverity(reason);
    bool known = false;
    for (const ReasonBits& row : kPrinterReasons) {
      if (keyword == row.reason) status |= row.bits, known = true;
    }
    // An error the table does not know still tells that something is wrong.
    if (!known && keyword.size() != reason.size() && EndsWith(reason, "-error"))
      status |= kPrinterStatusError;
  }
  return status;
}

uint32_t PrinterAttributesFrom(int printer_type, bool is_shared,
                               const std::string& make_and_model) {
  uint32_t attributes = kPrinterAttributeQueued;
  attributes |=
      (printer_type & CUPS_PRINTER_REMOTE) ? kPrinterAttributeNetwork : kPrinterAttributeLocal;
  if (printer_type & CUPS_PRINTER_DEFAULT) attributes |= kPrinterAttributeDefault;
  if (is_shared && !(printer_type & CUPS_PRINTER_NOT_SHARED)) attributes |= kPrinterAttributeShared;
  if (make_and_model == kRawMakeAndModel) attributes |= kPrinterAttributeRawOnly;
  return attributes;
}

uint32_t JobStatusFrom(int job_state, const std::vector<std::string>& reasons) {
  uint32_t status = 0;
  switch (job_state) {
    case IPP_JSTATE_HELD:
      status |= kJobStatusPaused;
      break;
    case IPP_JSTATE_PROCESSING:
      status |= kJobStatusPrinting;
      break;
    case IPP_JSTATE_STOPPED:
      status |= kJobStatusPrinting | kJobStatusBlockedDevq;
      break;
    case IPP_JSTATE_CANCELED:
      status |= kJobStatusDeleted;
      break;
    case IPP_JSTATE_ABORTED:
      status |= kJobStatusError | kJobStatusDeleted;
      break;
    case IPP_JSTATE_COMPLETED:
      status |= kJobStatusPrinted | kJobStatusComplete;
      break;
    default:
      break;
  }
  for (const std::string& reason : reasons) {
    for (const ReasonBits& row : kJobReasons)
      if (reason == row.reason) status |= row.bits;
    // Finished jobs keep this reason; only a running job is being stopped.
    if (reason == "processing-to-stop-point" && job_state == IPP_JSTATE_PROCESSING)
      status |= kJobStatusDeleting;
  }
  return status;
}

ipp_attribute_t* AttributeGroup::Find(std::string_view name) const {
  for (ipp_attribute_t* a : attributes_)
    if (name == ippGetName(a)) return a;
  return nullptr;
}
std::string AttributeGroup::Text(std::string_view name) const {
  ipp_attribute_t* a = Find(name);
  return a != nullptr ? cups::Text(a) : "";
}
int AttributeGroup::Integer(std::string_view name, int otherwise) const {
  ipp_attribute_t* a = Find(name);
  return a != nullptr ? ippGetInteger(a, 0) : otherwise;
}
bool AttributeGroup::Boolean(std::string_view name) const {
  ipp_attribute_t* a = Find(name);
  return a != nullptr && ippGetBoolean(a, 0);
}
std::vector<std::string> AttributeGroup::List(std::string_view name) const {
  ipp_attribute_t* a = Find(name);
  return a != nullptr ? Strings(a) : std::vector<std::string>{};
}

void ForEachGroup(ipp_t* message, ipp_tag_t tag,
                  const std::function<void(const AttributeGroup&)>& take) {
  AttributeGroup group;
  for (ipp_attribute_t* a = ippFirstAttribute(message); a != nullptr;
       a = ippNextAttribute(message)) {
    // A separator (no name) or another group tag ends the current group.
    if (ippGetName(a) == nullptr || ippGetGroupTag(a) != tag) {
      if (!group.empty()) take(group);
      group = AttributeGroup();
      continue;
    }
    group.Add(a);
  }
  if (!group.empty()) take(group);
}

PrinterInfo2 PrinterFromGroup(const AttributeGroup& group) {
  PrinterInfo2 info;
  info.printer_name = group.Text("printer-name");
  info.comment = group.Text("printer-info");
  info.location = group.Text("printer-location");
  info.port_name = group.Text("device-uri");
  info.driver_name = group.Text("printer-make-and-model");
  info.print_processor = "winprint";
  info.datatype = "RAW";
  info.attributes = PrinterAttributesFrom(group.Integer("printer-type"),
                                          group.Boolean("printer-is-shared"), info.driver_name);
  info.default_priority = static_cast<uint32_t>(group.Integer("job-priority-default", 50));
  info.priority = 1;
  info.status = PrinterStatusFrom(group.Integer("printer-state", IPP_PSTATE_IDLE),
                                  group.List("printer-state-reasons"));
  info.jobs = static_cast<uint32_t>(group.Integer("queued-job-count"));
  return info;
}

SpoolerTime SpoolerTimeFrom(int64_t unix_seconds) {
  SpoolerTime out;
  if (unix_seconds <= 0) return out;
  const time_t t = static_cast<time_t>(unix_seconds);
  struct tm utc {};
  gmtime_r(&t, &utc);
  out.year = static_cast<uint16_t>(utc.tm_year + 1900);
  out.month = static_cast<uint16_t>(utc.tm_mon + 1);
  out.day_of_week = static_cast<uint16_t>(utc.tm_wday);
  out.day = static_cast<uint16_t>(utc.tm_mday);
  out.hour = static_cast<uint16_t>(utc.tm_hour);
  out.minute = static_cast<uint16_t>(utc.tm_min);
  out.second = static_cast<uint16_t>(utc.tm_sec);
  return out;
}

JobInfo2 JobFromGroup(const AttributeGroup& group) {
  JobInfo2 job;
  job.job_id = static_cast<uint32_t>(group.Integer("job-id"));
  job.printer_name = PrinterNameFromUri(group.Text("job-printer-uri"));
  job.machine_name = group.Text("job-originating-host-name");
  job.user_name = group.Text("job-originating-user-name");
  job.notify_name = job.user_name;
  job.document = group.Text("job-name");
  const std::string format = group.Text("document-format");
  job.datatype = format.empty() || format == "application/vnd.cups-raw" ? "RAW" : format;
  job.print_processor = "winprint";
  job.status_text = group.Text("job-printer-state-message");
  job.status = JobStatusFrom(group.Integer("job-state"), group.List("job-state-reasons"));
  job.priority = static_cast<uint32_t>(group.Integer("job-priority", 50));
  const int start = MinutesFromHoldUntil(group.Text("job-hold-until"));
  job.start_time = start < 0 ? 0 : static_cast<uint32_t>(start);
  job.total_pages = static_cast<uint32_t>(group.Integer("job-impressions"));
  job.pages_printed = static_cast<uint32_t>(group.Integer("job-impressions-completed"));
  job.size = static_cast<uint32_t>(group.Integer("job-k-octets")) * 1024u;
  const int created = group.Integer("time-at-creation");
  job.submitted = SpoolerTimeFrom(created);
  const int processing = group.Integer("time-at-processing");
  const int completed = group.Integer("time-at-completed");
  if (processing > 0) {
    const int64_t end = completed > 0 ? completed : static_cast<int64_t>(std::time(nullptr));
    job.time = end > processing ? static_cast<uint32_t>(end - processing) : 0;
  }
  return job;
}

std::string PrinterNameFromUri(const std::string& uri) {
  const size_t slash = uri.rfind('/');
  if (slash == std::string::npos) return {};
  std::string name = uri.substr(slash + 1);
  // Queue names never hold spaces or percent signs; decode the URI's escapes.
  std::string out;
  for (size_t i = 0; i < name.size(); ++i) {
    if (name[i] == '%' && i + 2 < name.size()) {
      out += static_cast<char>(std::stoi(name.substr(i + 1, 2), nullptr, 16));
      i += 2;
    } else {
      out += name[i];
    }
  }
  return out;
}

PlatformResult ErrorFromIppStatus(ipp_status_t status, bool about_printer) {
  if (status <= IPP_STATUS_OK_EVENTS_COMPLETE) return kErrorSuccess;
  switch (status) {
    case IPP_STATUS_ERROR_NOT_FOUND:
      return about_printer ? kErrorInvalidPrinterName : kErrorInvalidParameter;
    case IPP_STATUS_ERROR_FORBIDDEN:
    case IPP_STATUS_ERROR_NOT_AUTHENTICATED:
    case IPP_STATUS_ERROR_NOT_AUTHORIZED:
    case IPP_STATUS_ERROR_CUPS_AUTHENTICATION_CANCELED:
      return kErrorAccessDenied;
    case IPP_STATUS_ERROR_SERVICE_UNAVAILABLE:
    case IPP_STATUS_ERROR_INTERNAL:
    case IPP_STATUS_ERROR_DEVICE:
      return kErrorSpoolerUnavailable;
    case IPP_STATUS_ERROR_NOT_ACCEPTING_JOBS:
    case IPP_STATUS_ERROR_BUSY:
      return kErrorBusy;
    default:
      return kErrorInvalidParameter;
  }
}

std::string HoldUntilFromMinutes(uint32_t minutes) {
  char text[8];
  std::snprintf(text, sizeof text, "%02u:%02u", (minutes / 60) % 24, minutes % 60);
  return text;
}

int MinutesFromHoldUntil(const std::string& text) {
  unsigned hours = 0, minutes = 0;
  char extra = 0;
  if (std::sscanf(text.c_str(), "%2u:%2u%c", &hours, &minutes, &extra) != 2) return -1;
  if (hours > 23 || minutes > 59) return -1;
  return static_cast<int>(hours * 60 + minutes);
}

bool IsInvalidShareName(const std::string& name) {
  // Characters a network share name may not hold, and its length limit.
  return name.size() > 80 || name.find_first_of("/\\,[]:|<>+=;?*\"") != std::string::npos;
}

}  // namespace vantrel::platform::cups
