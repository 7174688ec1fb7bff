#include "support/exceptions.h"

#include "platform/platform_error.h"
#include "platform/native_thread.h"

namespace vantrel {

OException::OException(std::string text, long error, std::string message, ExceptionOrigin origin)
    : text_(std::move(text)), error_(error), message_(std::move(message)), origin_(origin) {}

OException OException::FromLastError(std::string text, ExceptionOrigin origin) {
  const long error = platform::LastPlatformError();
  return OException(std::move(text), error, platform::PlatformErrorMessage(error), origin);
}

}  // namespace vantrel
