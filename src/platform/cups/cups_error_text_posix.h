// What the spooler's error numbers mean on Linux, in the words of a CUPS
// administrator: the scheduler and its address, the queue, the backend.
#pragma once

#include <string>

namespace vantrel::platform::cups {

// "HOST:PORT" or the socket path of the scheduler this thread's requests go
// to by default (CUPS_SERVER, client.conf, else the local one). Any thread.
std::string DefaultSchedulerAddress();

// The text for a spooler error number (1722 scheduler unreachable, 1801 no
// such queue, 1796 unknown device URI scheme, 1215 bad share name); empty for
// any other number. Any thread.
std::string SpoolerErrorText(long error);

}  // namespace vantrel::platform::cups
