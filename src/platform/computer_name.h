// The names this computer goes by on the network.
#pragma once

#include <string>
#include <vector>

namespace vantrel::platform {

// Every name another machine may use for this one as a print server: on
// Windows the NetBIOS name, the DNS host name and the fully qualified DNS
// name; on Linux the host name and its first label. Distinct entries, the
// short name first; empty when the platform cannot tell. Does no network
// lookup; any thread.
std::vector<std::string> LocalComputerNames();

}  // namespace vantrel::platform
