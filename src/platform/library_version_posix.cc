#include "platform/library_version.h"

namespace vantrel::platform {

std::string LibraryVersionText(std::string_view key) {
  if (key == "ProductVersion") return VANTREL_VERSION;
  if (key == "Platform") return VANTREL_PROCESSOR;
  return {};
}

}  // namespace vantrel::platform
