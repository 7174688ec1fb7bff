#include "platform/computer_name.h"

#include <limits.h>
#include <unistd.h>

namespace vantrel::platform {

std::vector<std::string> LocalComputerNames() {
  char buffer[HOST_NAME_MAX + 1] = {};
  if (gethostname(buffer, sizeof(buffer) - 1) != 0 || buffer[0] == '\0') return {};
  const std::string host = buffer;
  std::vector<std::string> names{host.substr(0, host.find('.'))};
  if (names.front() != host) names.push_back(host);
  return names;
}

}  // namespace vantrel::platform
