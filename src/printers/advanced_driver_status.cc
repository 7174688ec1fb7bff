// Status through the driver's XPML service, falling back to the spooler's
// rules whenever monitoring is off, the service is silent or fails, answers
// that it cannot monitor, or answers something that does not read.
#include "platform/spooler.h"
#include "printers/advanced_driver_interface.h"
#include "printers/status_exchanges.h"
#include "printers/status_reply.h"
#include "printers/status_rules.h"

namespace vantrel::printers {
namespace {

// Who the driver's service should answer for: a connection to another
// server's printer reads that server's settings and takes no local route.
XpmlPrinterContext XpmlContextOf(platform::SpoolerPrinter* printer, const std::string& name) {
  XpmlPrinterContext context{name, "", false, printer};
  platform::PrinterInfo4 record;
  if (printer != nullptr && printer->GetInfo4(&record) == platform::kErrorSuccess) {
    context.server = record.server_name;
    context.network_printer = (record.attributes & platform::kPrinterAttributeNetwork) != 0;
  }
  return context;
}

}  // namespace

void AdvancedDriverInterface::Attach(platform::SpoolerPrinter* printer,
                                     const std::string& printer_name) {
  BasicDriverInterface::Attach(printer, printer_name);
  status_->SetPrinter(XpmlContextOf(printer, printer_name));
}

bool AdvancedDriverInterface::IsMonitoringOn() { return status_->IsMonitoringOn(); }

std::string AdvancedDriverInterface::GetStatusText() {
  const std::optional<std::string> reply = status_->Ask(kTextStateRequest);
  const std::optional<DeviceText> device = reply ? ParseTextReply(*reply) : std::nullopt;
  return JoinStatusTexts(device ? device->text : "", GetStatusWord(), SystemStatusTexts());
}

bool AdvancedDriverInterface::GetStatusFlag(int32_t code) {
  if (code <= 200) return BasicDriverInterface::GetStatusFlag(code);
  // Word 2 is asked for only for a code that names one of its bits.
  if (BitOfStatusCode(code).word != 2) return false;
  return TestStatusCode(code, 0, GetStatusWord2());
}

uint32_t AdvancedDriverInterface::GetSeverity() {
  const std::optional<std::string> reply = status_->Ask(kSeverityStateRequest);
  if (const auto severity = reply ? ParseSeverityReply(*reply) : std::nullopt) return *severity;
  return BasicDriverInterface::GetSeverity();
}

uint32_t AdvancedDriverInterface::GetStatusWord2() {
  const std::optional<std::string> reply = status_->Ask(kFlagsStateRequest);
  if (const auto flags = reply ? ParseFlagsReply(*reply) : std::nullopt) return flags->word2;
  // The service gave nothing usable, so the severity is the spooler's: not
  // asking the service a second time keeps a silent one to one time-out.
  return BasicDriverInterface::GetStatusWord2();
}

StatusReading AdvancedDriverInterface::ReadStatus() {
  const std::optional<std::string> reply = status_->Ask(kFlagsStateRequest);
  const std::optional<DeviceFlags> flags = reply ? ParseFlagsReply(*reply) : std::nullopt;
  if (!flags) return BasicDriverInterface::ReadStatus();
  StatusReading reading;
  reading.word1 = GetStatusWord();
  reading.word2 = flags->word2;
  reading.severity = flags->severity;
  reading.source = StatusSource::kDevice;
  // The service answered the first exchange, so the text is worth the
  // second; monitoring was checked a moment ago.
  const std::optional<std::string> text_reply = status_->Send(kTextStateRequest);
  const std::optional<DeviceText> device = text_reply ? ParseTextReply(*text_reply) : std::nullopt;
  reading.text = JoinStatusTexts(device ? device->text : "", reading.word1, SystemStatusTexts());
  return reading;
}

std::string AdvancedDriverInterface::QueryJob(uint32_t job_id) {
  return status_->Send(JobStateRequest(job_id)).value_or("");
}

}  // namespace vantrel::printers
