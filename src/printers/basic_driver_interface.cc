#include "printers/basic_driver_interface.h"

#include "platform/spooler.h"

namespace vantrel::printers {

using platform::kErrorSuccess;

void BasicDriverInterface::Attach(platform::SpoolerPrinter* printer,
                                  const std::string& printer_name) {
  printer_ = printer;
  printer_name_ = printer_name;
}

uint32_t BasicDriverInterface::GetStatusWord() {
  platform::PrinterInfo6 record;
  if (printer_ == nullptr || printer_->GetInfo6(&record) != kErrorSuccess) return 0;
  return record.status;
}

void BasicDriverInterface::RunCommand(int32_t, CommandRequest* request) {
  request->is_supported = false;
  request->has_user_interface = false;
  request->requires_bidirectional_port = false;
  request->requires_management_rights = false;
}

RawFileOutcome BasicDriverInterface::SendFile(const std::string& file_name,
                                              const std::string& job_name) {
  if (printer_ == nullptr) return {false, platform::kErrorInvalidHandle, 0};
  return SendRawFile(*printer_, file_name, job_name);
}

}  // namespace vantrel::printers
