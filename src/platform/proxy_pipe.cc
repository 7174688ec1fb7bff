#include "platform/proxy_pipe.h"

namespace vantrel::platform {

std::string ProxyPipeName(uint64_t instance) {
  static constexpr char kHex[] = "0123456789ABCDEF";
  std::string name = "\\\\.\\pipe\\Marlock-DriverDLLProxy-";
  for (int i = 0; i < 8; ++i) {
    const unsigned byte = (instance >> (8 * i)) & 0xFF;
    name += kHex[byte >> 4];
    name += kHex[byte & 0xF];
  }
  return name;
}

}  // namespace vantrel::platform
