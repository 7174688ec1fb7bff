#include "platform/system_strings.h"

namespace vantrel::platform {

// Linux has no resource libraries; every caller has its English text.
std::string LoadSystemLibraryString(const char*, uint32_t) { return {}; }

}  // namespace vantrel::platform
