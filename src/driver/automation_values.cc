#include "driver/automation_values.h"

#include <cstdio>
#include <string>

#include "support/exceptions.h"

namespace vantrel {

void CheckPropertyAccess(HRESULT result, const char* property) {
  if (SUCCEEDED(result)) return;
  char code[16];
  std::snprintf(code, sizeof code, "0x%08X", static_cast<unsigned>(result));
  throw OStdException(std::string("Access to ") + property + " failed with " + code,
                      VANTREL_ORIGIN);
}

}  // namespace vantrel
