#include "platform/cups/cups_error_text_posix.h"

#include <cups/cups.h>

#include "platform/spooler.h"

namespace vantrel::platform::cups {

std::string DefaultSchedulerAddress() {
  const char* server = cupsServer();
  std::string address = server != nullptr ? server : "";
  if (address.empty()) address = "localhost";
  if (address[0] == '/') return address;  // a domain socket
  const size_t colon = address.rfind(':');
  const bool has_port = colon != std::string::npos && address.find(']', colon) == std::string::npos;
  return has_port ? address : address + ":" + std::to_string(ippPort());
}

std::string SpoolerErrorText(long error) {
  switch (error) {
    case kErrorSpoolerUnavailable:
      return "the print scheduler at " + DefaultSchedulerAddress() + " is not running";
    case kErrorInvalidPrinterName:
      return "the print scheduler at " + DefaultSchedulerAddress() + " has no such queue";
    case kErrorUnknownPort:
      return "the print scheduler has no backend for that device URI";
    case kErrorInvalidShareName:
      return "a share name may not hold / \\ , [ ] : | < > + = ; ? * or \" and has at most 80 "
             "characters";
    default:
      return {};
  }
}

}  // namespace vantrel::platform::cups
