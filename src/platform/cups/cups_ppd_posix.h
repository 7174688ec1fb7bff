// The PPD a CUPS queue's driver is, as the scheduler serves it: the version it
// names and when it last changed. A raw queue has none.
#pragma once

#include <string>
#include <string_view>

#include "platform/cups/cups_connection_posix.h"
#include "platform/spooler.h"

namespace vantrel::platform::cups {

// GET /printers/QUEUE.ppd on a pooled connection: `file` gets the PPD's
// *FileVersion and Last-Modified time (module_path stays empty).
// kErrorFileNotFound for a queue without a PPD, kErrorSpoolerUnavailable when
// the scheduler cannot be reached, kErrorAccessDenied when it refuses. Blocks
// on the scheduler; any thread.
PlatformResult FetchPpdFile(ConnectionPool& pool, const std::string& queue, DriverFile* file);

// The value of the "*FileVersion" keyword in the PPD text, without its quotes
// and blanks; empty when the text names none. Pure.
std::string PpdFileVersion(std::string_view ppd);

}  // namespace vantrel::platform::cups
